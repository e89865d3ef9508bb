#include "ostra/drawport_vulkan/pass_recorder.h"

#include <algorithm>
#include <limits>

#include "ostra/drawport_vulkan/image_barriers.h"
#include "ostra/drawport_vulkan/program_factory.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

Bool HasIntegers(PixelFormatRef format) {
  return format->valueClass != PixelValueClass::FloatingPoint && format->bitsPerChannel == 32;
}

// A number that is converted as far as it fits.
template <class Number>
Number Convert(Float32 value) {
  if (!(value > static_cast<Float32>(std::numeric_limits<Number>::min()))) return std::numeric_limits<Number>::min();
  if (value >= static_cast<Float32>(std::numeric_limits<Number>::max())) return std::numeric_limits<Number>::max();
  return static_cast<Number>(value);
}

VkClearColorValue MakeClearColor(PixelFormatRef format, const Vector4d32& color) {
  VkClearColorValue value = {};
  const Float32 channels[4] = {color.x, color.y, color.z, color.w};
  for (int i = 0; i < 4; ++i) {
    if (!HasIntegers(format))
      value.float32[i] = channels[i];
    else if (format->valueClass == PixelValueClass::SignedInteger)
      value.int32[i] = Convert<Int32>(channels[i]);
    else
      value.uint32[i] = Convert<UInt32>(channels[i]);
  }
  return value;
}

VkImageLayout GetAttachmentLayout(const ImageResource& image) {
  return image.IsDepth() ? VK_IMAGE_LAYOUT_DEPTH_STENCIL_ATTACHMENT_OPTIMAL : VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
}

VkRenderingAttachmentInfoKHR MakeAttachment(const RenderTarget::Attachment& attachment, Bool clears,
                                            VkResolveModeFlagBits resolveMode) {
  VkRenderingAttachmentInfoKHR info = {VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO_KHR};
  info.imageView = attachment.image->GetView(false);
  info.imageLayout = GetAttachmentLayout(*attachment.image);
  info.loadOp = clears ? VK_ATTACHMENT_LOAD_OP_CLEAR : VK_ATTACHMENT_LOAD_OP_LOAD;
  info.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
  if (attachment.resolved) {
    info.resolveMode = resolveMode;
    info.resolveImageView = attachment.resolved->GetView(false);
    info.resolveImageLayout = info.imageLayout;
  }
  return info;
}

}  // namespace

Result<void> PassRecorder::Begin(DrawportRenderTarget& renderTarget, const DrawportClearValues& clear) {
  auto& target = static_cast<RenderTarget&>(renderTarget);
  if (_target) return OSTRA_ILLEGAL_STATE("A draw pass begins inside of another one.");
  if (&target.GetDevice() != &_recorder.GetDevice())
    return OSTRA_ILLEGAL_STATE("The render target was made for another device.");
  if (_recorder.GetDevice().IsLost()) return _recorder.GetDevice().MakeLostError(__LINE__);
  if (clear.clearsDepth && target.GetDepthFormat() != DrawportDepthFormat::None &&
      !(clear.depth >= 0 && clear.depth <= 1))
    return OSTRA_ILLEGAL_ARGUMENT("A depth is between 0 and 1, not @.", Float64(clear.depth));
  _target = RenderTargetRef(&target);
  _clear = clear;
  _isCleared = false;
  _clearedBy = 0;
  return OK;
}

Result<void> PassRecorder::End() {
  if (!_target) return OSTRA_ILLEGAL_STATE("There is no draw pass.");
  // A pass without draws still clears.
  Result<void> result = _isCleared ? Result<void>(OK) : Resume();
  Suspend();
  _target = {};
  _lastPipeline = {};
  if (result && _recorder.GetDevice().IsLost()) return _recorder.GetDevice().MakeLostError(__LINE__);
  return result;
}

Result<void> PassRecorder::Resume() {
  if (_isRendering) return OK;
  OSTRA_RETURN_IF_ERROR(_recorder.BeginBatch());
  const auto prepare = [this](ImageResource& image) -> Result<void> {
    OSTRA_RETURN_IF_ERROR(Clears(image) ? _recorder.EnsureLayout(image) : _recorder.EnsureCleared(image));
    return _recorder.Keep(image);
  };
  OSTRA_RETURN_IF_ERROR(_target->ForEachImage(prepare));
  RecordLayouts(_recorder.GetBarriers().BeforePass(), true);
  BeginRendering(*_target);
  return OK;
}

Bool PassRecorder::Clears(const ImageResource& image) const {
  return !_isCleared && (image.IsDepth() ? _clear.clearsDepth : _clear.clearsColor);
}

void PassRecorder::RecordLayouts(const Barrier& barrier, Bool isBegin) {
  ImageBarriers layouts;
  const UInt64 stamp = DeviceResource::MakeStamp(_recorder.GetNumber(), _recorder.GetSerial());
  static_cast<void>(_target->ForEachImage([&](ImageResource& image) -> Result<void> {
    const VkImageLayout home = image.GetHomeLayout();
    const VkImageLayout drawn = GetAttachmentLayout(image);
    if (!isBegin) {
      layouts.Add(image.GetHandle(), image.GetAspect(), drawn, home);
      return OK;
    }
    const Bool clears = Clears(image);
    if (clears && !image.IsDefined()) image.SetAllDefined(stamp);
    layouts.Add(image.GetHandle(), image.GetAspect(), clears ? VK_IMAGE_LAYOUT_UNDEFINED : home, drawn);
    return OK;
  }));
  _recorder.RecordBarrier(barrier, layouts);
}

void PassRecorder::BeginRendering(RenderTarget& target) {
  VkRenderingAttachmentInfoKHR colors[kMaxColorTargets];
  for (Int i = 0; i < target.GetColorCount(); ++i) {
    const PixelFormatRef format = target.GetColorFormat(i);
    colors[i] = MakeAttachment(target.GetColor(i), !_isCleared && _clear.clearsColor,
                               HasIntegers(format) ? VK_RESOLVE_MODE_SAMPLE_ZERO_BIT : VK_RESOLVE_MODE_AVERAGE_BIT);
    colors[i].clearValue.color = MakeClearColor(format, _clear.colors[i]);
  }
  VkRenderingAttachmentInfoKHR depth;
  const DrawportRenderTargetDescription& description = target.GetDescription();
  VkRenderingInfoKHR info = {VK_STRUCTURE_TYPE_RENDERING_INFO_KHR};
  info.renderArea.extent = {static_cast<UInt32>(description.width), static_cast<UInt32>(description.height)};
  info.layerCount = 1;
  info.colorAttachmentCount = static_cast<UInt32>(target.GetColorCount());
  info.pColorAttachments = colors;
  if (target.GetDepth().image) {
    depth = MakeAttachment(target.GetDepth(), !_isCleared && _clear.clearsDepth, VK_RESOLVE_MODE_SAMPLE_ZERO_BIT);
    depth.clearValue.depthStencil = {_clear.depth, 0};
    info.pDepthAttachment = &depth;
  }
  _recorder.GetDevice().BeginRendering(_recorder.GetCommands(), info);
  // Row 0 is the top of the picture, y of positions grows upwards: the viewport is turned over.
  const VkViewport viewport = {0,
                               static_cast<Float32>(description.height),
                               static_cast<Float32>(description.width),
                               -static_cast<Float32>(description.height),
                               0,
                               1};
  vkCmdSetViewport(_recorder.GetCommands(), 0, 1, &viewport);
  vkCmdSetScissor(_recorder.GetCommands(), 0, 1, &info.renderArea);
  _boundVariant = VK_NULL_HANDLE;
  _boundVertices = nullptr;
  if (!_isCleared) _clearedBy = _recorder.GetSerial();
  _isCleared = true;
  _isRendering = true;
  _recorder.GetBarriers().BeginPass();
}

void PassRecorder::NoteDroppedBatch(UInt64 serial) {
  _isRendering = false;
  if (_clearedBy == serial) _isCleared = false;  // the pass clears once more
}

void PassRecorder::Suspend() {
  if (!_isRendering) return;
  _isRendering = false;
  _recorder.GetDevice().EndRendering(_recorder.GetCommands());
  RecordLayouts(_recorder.GetBarriers().BehindPass(), false);
  _recorder.GetBarriers().AddPass();
}

Result<void> PassRecorder::CheckDraw(const DrawportDrawCall& call, ProgramFactory& factory) const {
  if (&factory.GetDevice() != &_recorder.GetDevice())
    return OSTRA_ILLEGAL_STATE("The GPU program was built for another device.");
  if (!static_cast<const ValueSet&>(*call.values).IsOfProgram(factory))
    return OSTRA_ILLEGAL_ARGUMENT("The values of the draw are those of another GPU program.");
  if (!factory.GetPipeline().IsGraphics())
    return OSTRA_ILLEGAL_ARGUMENT("The GPU program has a compute stage; it does not draw.");
  if (call.count < 1 || call.first < 0 || call.instanceCount < 1)
    return OSTRA_ILLEGAL_ARGUMENT("@ vertices from @ on and @ instances cannot be drawn.", call.count, call.first,
                                  call.instanceCount);
  constexpr Int kMax = std::numeric_limits<Int32>::max();
  if (call.count > kMax || call.first > kMax - call.count || call.instanceCount > kMax)
    return OSTRA_ILLEGAL_ARGUMENT("@ vertices from @ on and @ instances are more than a draw can have.", call.count,
                                  call.first, call.instanceCount);
  if (static_cast<Int32>(call.topology) < 0 || call.topology > DrawportTopology::Patches)
    return OSTRA_ILLEGAL_ARGUMENT("@ is no topology; there are 0 to 5.", static_cast<Int32>(call.topology));
  const Bool arePatches = call.topology == DrawportTopology::Patches;
  if (arePatches != factory.HasTessellation())
    return OSTRA_ILLEGAL_ARGUMENT(arePatches ? "Patches are drawn by programs with tessellation stages only."
                                             : "A GPU program with tessellation stages draws patches only.");
  const UInt32 limit = _recorder.GetDevice().GetLimits().maxTessellationPatchSize;
  if (arePatches && (call.patchSize < 1 || call.patchSize > static_cast<Int>(limit)))
    return OSTRA_ILLEGAL_ARGUMENT("A patch of @ control points is not possible; there are 1 to @.", call.patchSize,
                                  limit);
  return factory.CheckTargets(*_target);
}

Result<BufferResource*> PassRecorder::FindVertices(const DrawportDrawCall& call, const ProgramFactory& factory) const {
  if (!factory.HasAttributes()) return nullptr;
  if (!call.attributes) return OSTRA_ILLEGAL_ARGUMENT("The GPU program reads vertices; the draw has no attributes.");
  DrawportDeviceBuffer* const buffer = call.vertices ? call.vertices : call.attributes->GetDeviceBuffer();
  if (!buffer) return OSTRA_ILLEGAL_ARGUMENT("The GPU program reads vertices; the draw has no vertex buffer.");
  auto* vertices = static_cast<BufferResource*>(buffer);
  if (&vertices->GetDevice() != &_recorder.GetDevice())
    return OSTRA_ILLEGAL_STATE("The vertex buffer belongs to another device.");
  const DrawportVertexAttributeLayout& layout = call.attributes->GetLayout();
  const Int needed = layout.IsPerInstance() ? call.instanceCount : call.first + call.count;
  if (vertices->GetSize() / layout.GetStride() < needed)
    return OSTRA_ILLEGAL_ARGUMENT("The draw needs @ vertices of @ bytes; the vertex buffer has @ bytes.", needed,
                                  layout.GetStride(), vertices->GetSize());
  return vertices;
}

Int PassRecorder::GetMostVertices(const DrawportDrawCall& call) const {
  if (call.topology != DrawportTopology::Patches || !_recorder.GetDevice().MiscountsPatches()) return call.count;
  // As many patches as cannot make more vertices than 16 bits count.
  const Int most = static_cast<Int>(_recorder.GetDevice().GetLimits().maxTessellationGenerationLevel) + 1;
  return std::max<Int>(65535 / (most * most), 1) * call.patchSize;
}

Result<void> PassRecorder::FindVariant(const DrawportDrawCall& call, ProgramFactory& factory) {
  GraphicsState state;
  if (call.state) state.state = call.state->GetDescription();
  state.topology = call.topology;
  if (call.topology == DrawportTopology::Patches) state.patchSize = static_cast<UInt32>(call.patchSize);
  state.targets = _target->GetFormats();
  factory.AddTargets(state);
  OSTRA_RETURN_IF_ERROR(factory.AddAttributes(call.attributes, state));
  Pipeline& pipeline = factory.GetPipeline();
  if (_lastPipeline.GetPointer() == &pipeline && _lastState == state) return OK;
  OSTRA_ASSIGN_OR_RETURN(_lastVariant, pipeline.GetVariant(state));
  _lastPipeline = PipelineRef(&pipeline);
  _lastState = state;
  return OK;
}

Result<void> PassRecorder::Draw(const DrawportDrawCall& call) {
  if (!_target) return OSTRA_ILLEGAL_STATE("There is no draw pass.");
  if (!call.program || !call.values) return OSTRA_ILLEGAL_ARGUMENT("A draw needs a GPU program and its values.");
  auto& factory = static_cast<ProgramFactory&>(*call.program);
  auto& values = static_cast<ValueSet&>(*call.values);
  OSTRA_RETURN_IF_ERROR(CheckDraw(call, factory));
  if (values.Reads(*_target))
    return OSTRA_ILLEGAL_STATE("The GPU program reads a texture of the target that it draws into.");

  OSTRA_RETURN_IF_ERROR(FindVariant(call, factory));
  OSTRA_ASSIGN_OR_RETURN(BufferResource* const vertices, FindVertices(call, factory));

  // All of this may record something else, or begin another batch: only then does rendering go on.
  if (vertices) OSTRA_RETURN_IF_ERROR(_recorder.EnsureZeroed(*vertices));
  OSTRA_ASSIGN_OR_RETURN(ValueSet::Binding binding, values.Prepare(_recorder));
  if (!_isRendering) {
    OSTRA_RETURN_IF_ERROR(Resume());
    // Clearing the targets may have submitted the batch that the values were prepared for.
    OSTRA_ASSIGN_OR_RETURN(binding, values.Prepare(_recorder));
  }
  Pipeline& pipeline = factory.GetPipeline();
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(pipeline));
  if (vertices) OSTRA_RETURN_IF_ERROR(_recorder.Keep(*vertices));
  BindVariant();
  binding.Record(_recorder.GetCommands(), VK_PIPELINE_BIND_POINT_GRAPHICS, pipeline.GetLayout(), _boundSet);
  BindVertices(vertices);
  RecordDraw(call);
  return OK;
}

void PassRecorder::BindVariant() {
  if (_boundVariant == _lastVariant) return;
  vkCmdBindPipeline(_recorder.GetCommands(), VK_PIPELINE_BIND_POINT_GRAPHICS, _lastVariant);
  _boundVariant = _lastVariant;
}

void PassRecorder::BindVertices(BufferResource* vertices) {
  if (!vertices || _boundVertices == vertices) return;
  const VkBuffer buffer = vertices->GetHandle();
  const VkDeviceSize offset = 0;
  vkCmdBindVertexBuffers(_recorder.GetCommands(), 0, 1, &buffer, &offset);
  _boundVertices = vertices;
}

void PassRecorder::RecordDraw(const DrawportDrawCall& call) {
  const Int most = GetMostVertices(call);
  for (Int done = 0; done < call.count; done += most)
    vkCmdDraw(_recorder.GetCommands(), static_cast<UInt32>(std::min(most, call.count - done)),
              static_cast<UInt32>(call.instanceCount), static_cast<UInt32>(call.first + done), 0);
}

}  // namespace ostra::vulkan
