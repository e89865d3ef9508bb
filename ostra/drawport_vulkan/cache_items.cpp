#include "ostra/drawport_vulkan/cache_items.h"

#include <bit>

#include "ostra/drawport/device_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// The context behind an interface, for something that is made valid or made on its device.
Result<Context*> FindWorkingContext(DrawportContextInterface& context) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindContext(context));
  if (found->GetDevice().IsLost()) return found->GetDevice().MakeLostError(__LINE__);
  return found;
}

}  // namespace

VertexBufferItem::~VertexBufferItem() { _cache->vertexBuffers.Forget(_key, this); }

Result<DrawportVertexBuffer*> VertexBufferItem::MakeValid(DrawportContextInterface& context,
                                                          const DrawportVertexBufferFill& fill) {
  OSTRA_RETURN_IF_ERROR(FindWorkingContext(context));
  if (fill) OSTRA_RETURN_IF_ERROR(fill(*this));
  return this;
}

DrawportVertexBufferSpecification VertexBufferItem::GetSpecification() const {
  DrawportVertexBufferSpecification specification;
  specification.subBufferCount = _buffers.GetCount();
  for (const BufferRef& buffer : _buffers) specification.size += buffer->GetSize();
  return specification;
}

Result<void> VertexBufferItem::SetDebugLabel(std::string_view label) {
  OSTRA_ASSIGN_OR_RETURN(_label, CString::Create(label));
  for (const BufferRef& buffer : _buffers) buffer->SetName(_label);
  return OK;
}

Result<DrawportDeviceBuffer*> VertexBufferItem::AllocSubBuffer(DrawportContextInterface& context,
                                                               DrawportSubBufferUse use, Int bytes, Int alignment) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindWorkingContext(context));
  if (use != DrawportSubBufferUse::General)
    return OSTRA_ILLEGAL_ARGUMENT("There are no sub-buffers for use @.", static_cast<Int32>(use));
  if (alignment < 1 || !std::has_single_bit(static_cast<UInt64>(alignment)))
    return OSTRA_ILLEGAL_ARGUMENT("The alignment @ is not a power of two.", alignment);
  for (const BufferRef& buffer : _buffers) {
    if (buffer->GetSize() == bytes && &buffer->GetDevice() == &found->GetDevice())
      return static_cast<DrawportDeviceBuffer*>(buffer.GetPointer());
  }
  // A sub-buffer is a buffer of its own, so that it begins where every use may begin.
  OSTRA_ASSIGN_OR_RETURN(BufferRef buffer, found->MakeWithRoom([&](MemorySpill spill) {
    return BufferResource::Create(found->GetDevice(), bytes, MemoryUse::Device, true, spill);
  }));
  buffer->SetName(_label);
  OSTRA_ASSIGN_OR_RETURN(BufferRef & added, _buffers.Append(std::move(buffer)));
  return static_cast<DrawportDeviceBuffer*>(added.GetPointer());
}

TextureItem::~TextureItem() { _cache->textures.Forget(_key, this); }

Result<DrawportTexture*> TextureItem::MakeValid(DrawportContextInterface& context, const DrawportTextureFill& fill) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindWorkingContext(context));
  Device& device = found->GetDevice();
  const auto create = [&](MemorySpill spill) { return ImageResource::Create(device, _description, spill); };
  OSTRA_ASSIGN_OR_RETURN(ImageResource * image, _images.Get(device, [&] { return found->MakeWithRoom(create); }));
  if (fill) fill(*image);
  return static_cast<DrawportTexture*>(image);
}

SamplerItem::~SamplerItem() { _cache->samplers.Forget(_key, this); }

Result<DrawportTextureSampler*> SamplerItem::MakeValid(DrawportContextInterface& context) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindWorkingContext(context));
  Device& device = found->GetDevice();
  OSTRA_ASSIGN_OR_RETURN(SamplerResource * sampler,
                         _samplers.Get(device, [&] { return SamplerResource::Create(device, _key); }));
  return static_cast<DrawportTextureSampler*>(sampler);
}

CounterItem::~CounterItem() { _cache->counters.Forget(_key, this); }

Result<DrawportAtomicCounter*> CounterItem::MakeValid(DrawportContextInterface& context) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindWorkingContext(context));
  Device& device = found->GetDevice();
  const auto create = [&](MemorySpill spill) { return CounterResource::Create(device, spill); };
  OSTRA_ASSIGN_OR_RETURN(CounterResource * counter, _counters.Get(device, [&] { return found->MakeWithRoom(create); }));
  return static_cast<DrawportAtomicCounter*>(counter);
}

ProgramItem::~ProgramItem() { _cache->programs.Forget(_key, this); }

Result<DrawportProgramFactory*> ProgramItem::MakeValid(DrawportContextInterface& context,
                                                       const DrawportVertexAttributeSet* attributes,
                                                       const DrawportFramebufferTargetSet* targets) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindWorkingContext(context));
  OSTRA_ASSIGN_OR_RETURN(ProgramFactory * factory, BuildFor(*found));
  if (attributes) OSTRA_RETURN_IF_ERROR(factory->CheckAttributes(*attributes));
  if (targets) OSTRA_RETURN_IF_ERROR(factory->CheckTargets(*targets));
  return static_cast<DrawportProgramFactory*>(factory);
}

Result<ProgramFactory*> ProgramItem::BuildFor(Context& context) {
  // Programs that share an item may come from several jobs: the first one builds.
  const std::scoped_lock lock(_mutex);
  for (ProgramFactory* known : _factories)
    if (&known->GetDevice() == &context.GetDevice()) return known;
  for (const DrawportRequiredFeature& required : _description.GetRequiredFeatures()) {
    if (!context.IsFeatureSupported(required.feature))
      return OSTRA_ILLEGAL_STATE("The GPU device does not support @, which the program requires.",
                                 GetDrawportFeatureText(required.feature));
  }
  OSTRA_ASSIGN_OR_RETURN(
      Owned<ProgramFactory> factory,
      ProgramFactory::Create(context.GetDevice(), _description, context.GetDrawport()->GetShadingLanguage()));
  return _factories.Append(std::move(factory));
}

}  // namespace ostra::vulkan
