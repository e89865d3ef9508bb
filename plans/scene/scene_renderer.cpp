#include "plans/scene/scene_renderer.h"

#include <chrono>

#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "ostra/object/class.h"
#include "parallelprogram/textures/texture_bind_data.h"
#include "plans/profile/profile.h"
#include "plans/scene/vertex_data.h"
#include "plans/stopped_work.h"

OSTRA_UNIT("scene_renderer");

namespace ostra::plans {

namespace {

Result<DataDictionary> MakePassParameters(const SceneState& state, Int sampleCount) {
  DataDictionary parameters;
  if (state.depthTest) OSTRA_RETURN_IF_ERROR(parameters.Set("depthTest"_iid, Int32{*state.depthTest}));
  if (state.cullMode) OSTRA_RETURN_IF_ERROR(parameters.Set("cullMode"_iid, Int32{*state.cullMode}));
  if (state.frontFace) OSTRA_RETURN_IF_ERROR(parameters.Set("frontFace"_iid, Int32{*state.frontFace}));
  if (state.useAlphaBlending)
    OSTRA_RETURN_IF_ERROR(parameters.Set("useAlphaBlending"_iid, Bool{*state.useAlphaBlending}));
  OSTRA_RETURN_IF_ERROR(parameters.Set("multiSampling"_iid, static_cast<Int32>(sampleCount)));
  return parameters;
}

// An error with the place in the scene that it comes from, unless it names one.
Result<void> AddPlace(const Scene& scene, const ScenePath& path, const Result<void>& result) {
  if (result) return OK;
  std::string_view message = result.GetError().GetMessage().GetView();
  if (message.starts_with(scene.file + ":") || !GetSourceMessages(result.GetError()).empty()) return result.GetError();
  // Programs have the name of their draw.
  if (message.starts_with(path + ": ")) message.remove_prefix(path.size() + 2);
  return OSTRA_ILLEGAL_STATE("@: @: @", scene.file, path, message);
}

}  // namespace

SceneRenderer::SceneRenderer(const Scene& scene, const RenderPlan& plan, const SceneKernels& kernels,
                             const DrawportContextRef& context, WorkObserver& observer)
    : _scene(scene), _plan(plan), _kernels(kernels), _observer(observer), _renderer(context) {}

Result<RenderedScene> SceneRenderer::Render() {
  OSTRA_ASSIGN_OR_RETURN(_loader, CreateObject<GeneralShaderLoaderInterface>(kGeneralShaderLoaderClass));
  OSTRA_RETURN_IF_ERROR(_loader->Init(Url(), &_renderer.GetContext()));
  OSTRA_RETURN_IF_ERROR(StoreTextures());
  const auto start = std::chrono::steady_clock::now();
  Int steps = static_cast<Int>(_plan.passes.size());
  for (const PlannedPass& pass : _plan.passes) steps += static_cast<Int>(pass.draws.size());
  const auto progress = _observer.Begin("drawing", steps, "");
  for (const PlannedPass& pass : _plan.passes) {
    {
      const ProfilePart part("build");
      OSTRA_RETURN_IF_ERROR(AddPlace(_scene, pass.scene->path, MakeTarget(pass)));
      for (const PlannedDraw& draw : pass.draws) {
        OSTRA_RETURN_IF_ERROR(CheckStopped(&_observer));
        OSTRA_RETURN_IF_ERROR(AddPlace(_scene, draw.scene->path, PrepareDraw(draw, *pass.scene)));
        progress->Advance();
      }
    }
    OSTRA_RETURN_IF_ERROR(CheckStopped(&_observer));
    const ProfilePart part("draw");
    OSTRA_RETURN_IF_ERROR(AddPlace(_scene, pass.scene->path, MeasurePass(pass)));
    // A pass that is only recorded takes no time yet.
    if (progress->IsOn()) OSTRA_RETURN_IF_ERROR(_renderer.Execute(true));
    progress->Advance();
  }
  RenderedScene rendered;
  {
    const ProfilePart part("read back");
    OSTRA_ASSIGN_OR_RETURN(rendered.image, _renderer.ReadImage(*GetTarget(), 0));
  }
  OSTRA_RETURN_IF_ERROR(TakePassTimes());
  for (const auto& [draw, count] : _vertexCounts) rendered.vertexCount += count;
  rendered.milliseconds = std::chrono::duration<Float64, std::milli>(std::chrono::steady_clock::now() - start).count();
  return rendered;
}

Result<void> SceneRenderer::StoreTextures() {
  for (const PlannedFileTexture& texture : _plan.textures) {
    TextureBindData description = texture.description;
    description._data = texture.contents.texels.GetFirst();
    OSTRA_RETURN_IF_ERROR(_loader->StoreTextureBindData(texture.name, description, false));
  }
  return OK;
}

Result<void> SceneRenderer::MakeTarget(const PlannedPass& pass) {
  DrawportRenderTargetDescription description;
  description.width = pass.size.width;
  description.height = pass.size.height;
  for (std::size_t i = 0; i < pass.scene->colorFormats.size(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(const Id format, Id::Create("net.ostra.image.pixelformat." + pass.scene->colorFormats[i]));
    OSTRA_ASSIGN_OR_RETURN(description.colorFormats[i], GetPixelFormat(format));
  }
  if (pass.scene->hasDepth) description.depthFormat = DrawportDepthFormat::Float32;
  description.sampleCount = static_cast<Int32>(pass.scene->sampleCount);
  OSTRA_ASSIGN_OR_RETURN(DrawportRenderTargetRef target, _renderer.CreateTarget(description));
  _targets.push_back(std::move(target));
  return OK;
}

Result<void> SceneRenderer::PrepareDraw(const PlannedDraw& draw, const ScenePass& pass) {
  BaseArray<Url> files;
  for (const StageFile& stage : draw.stages) OSTRA_RETURN_IF_ERROR(files.Append(stage.file));
  OSTRA_ASSIGN_OR_RETURN(const DataDictionary parameters, MakePassParameters(draw.scene->state, pass.sampleCount));
  OSTRA_RETURN_IF_ERROR(_loader->AddShaders(draw.program, files, 0, GetTarget(), parameters, true));
  OSTRA_RETURN_IF_ERROR(LinkVertices(draw));
  OSTRA_RETURN_IF_ERROR(LinkParameters(draw));
  return _loader->UpdateUniforms(GetTarget());
}

// The buffer of a kernel is drawn from where it is.
Result<void> SceneRenderer::LinkVertices(const PlannedDraw& draw) {
  const SceneVertices& vertices = draw.scene->vertices;
  Int count = draw.vertexCount;
  if (vertices.kernelBuffer) {
    OSTRA_ASSIGN_OR_RETURN(const SceneKernels::Buffer buffer,
                           _kernels.GetBuffer(*vertices.kernelBuffer, vertices.path));
    const Int bytes = buffer.count * buffer.elementType.GetSize();
    if (bytes < draw.stride || bytes % draw.stride != 0 || draw.vertexCount > bytes / draw.stride)
      return OSTRA_ILLEGAL_ARGUMENT(
          "@: @: the buffer has @ bytes, and a vertex has @@", _scene.file, vertices.path, bytes, draw.stride,
          draw.vertexCount > 0 ? ", of which there should be " + std::to_string(draw.vertexCount) : "");
    if (count == 0) count = bytes / draw.stride;
    if (const std::string wrong = DescribeWrongCount(*draw.scene, count); !wrong.empty())
      return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _scene.file, vertices.path, wrong);
    OSTRA_RETURN_IF_ERROR(_loader->SetGlobalBufferLink(draw.program, buffer.link));
  } else {
    OSTRA_RETURN_IF_ERROR(_loader->StoreVertexBufferData(draw.program, draw.vertexNumbers));
  }
  _vertexCounts[&draw] = count;
  return _loader->SetVertexBufferToActiveProgramSameId(draw.program);
}

Result<void> SceneRenderer::LinkParameters(const PlannedDraw& draw) {
  for (const PlannedStageValue& uniform : draw.uniforms)
    OSTRA_RETURN_IF_ERROR(_loader->SetUniform(uniform.name, uniform.value, uniform.stage));
  for (const PlannedStageTexture& texture : draw.textures) OSTRA_RETURN_IF_ERROR(LinkTexture(texture));
  for (const PlannedStageBuffer& buffer : draw.buffers) OSTRA_RETURN_IF_ERROR(LinkBuffer(draw, buffer));
  for (const PlannedStageValue& counter : draw.counters) {
    OSTRA_RETURN_IF_ERROR(_loader->AddAtomicCounter(counter.name));
    OSTRA_RETURN_IF_ERROR(_loader->SetAtomicCounterToActiveProgram(counter.name, counter.stage));
  }
  return OK;
}

Result<void> SceneRenderer::LinkTexture(const PlannedStageTexture& texture) {
  if (texture.pass >= 0) {
    const DrawportRenderTarget& source = *_targets[static_cast<std::size_t>(texture.pass)];
    using namespace DrawportSamplerKey;
    const UInt8 filter = texture.isLinear ? kLinear : UInt8(0);
    OSTRA_ASSIGN_OR_RETURN(DrawportTextureSampler* const sampler,
                           _renderer.GetSampler(static_cast<UInt8>(filter | kClampX | kClampY | kClampZ)));
    DrawportTexture* drawn = texture.isDepth ? source.GetDepthTexture() : source.GetColorTexture(texture.target);
    if (texture.hasSamples) drawn = texture.isDepth ? source.GetDepthSamples() : source.GetColorSamples(texture.target);
    OSTRA_RETURN_IF_ERROR(_loader->SetSamplerAndTextureHandle(texture.source, drawn, sampler, {}, {}));
  }
  return _loader->SetTextureToActiveProgram(texture.source, texture.name, texture.stage);
}

Result<void> SceneRenderer::LinkBuffer(const PlannedDraw& draw, const PlannedStageBuffer& buffer) {
  if (buffer.kernelBuffer) {
    const ScenePath& path = draw.scene->buffers.at(std::string(buffer.name.GetView())).path;
    OSTRA_ASSIGN_OR_RETURN(const SceneKernels::Buffer source, _kernels.GetBuffer(*buffer.kernelBuffer, path));
    OSTRA_RETURN_IF_ERROR(_loader->SetGlobalBufferLink(buffer.source, source.link));
  } else {
    OSTRA_ASSIGN_OR_RETURN(GenericBaseArray copy,
                           GenericBaseArray::CreateCopy(buffer.elementType, buffer.elements->GetBlock()));
    OSTRA_ASSIGN_OR_RETURN(Array<Generic> elements, NewBaseArray(std::move(copy)));
    OSTRA_RETURN_IF_ERROR(_loader->StoreUniformBufferData(buffer.source, std::move(elements)));
  }
  return _loader->SetBufferToActiveProgram(buffer.source, buffer.name, buffer.stage);
}

Result<void> SceneRenderer::MeasurePass(const PlannedPass& pass) {
  DrawportCommandList& list = _renderer.GetContext()->GetCommandList();
  const auto number = Profile::BeginWork(list);
  OSTRA_RETURN_IF_ERROR(DrawPass(pass));
  _passTimes.push_back(number);
  return Profile::EndWork(list, number);
}

Result<void> SceneRenderer::TakePassTimes() {
  DrawportCommandList& list = _renderer.GetContext()->GetCommandList();
  for (std::size_t i = 0; i < _passTimes.size(); ++i)
    OSTRA_RETURN_IF_ERROR(
        Profile::TakeWork(list, _passTimes[i], _plan.passes[i].scene->path, _plan.passes[i].size.GetCount()));
  return OK;
}

Result<void> SceneRenderer::DrawPass(const PlannedPass& pass) {
  DrawportClearValues clear;
  for (std::size_t i = 0; i < pass.scene->clearColors.size(); ++i) {
    const std::vector<Float64>& color = pass.scene->clearColors[i];
    clear.colors[i] = Vector4d32(static_cast<Float32>(color[0]), static_cast<Float32>(color[1]),
                                 static_cast<Float32>(color[2]), static_cast<Float32>(color[3]));
  }
  clear.depth = static_cast<Float32>(pass.scene->clearDepth);
  OSTRA_RETURN_IF_ERROR(_renderer.Begin(_targets.back(), clear));
  for (const PlannedDraw& draw : pass.draws) {
    auto drawn = Draw(draw);
    if (!drawn) return OSTRA_ILLEGAL_STATE("@: @: @", _scene.file, draw.scene->path, drawn.GetError());
  }
  return _renderer.End();
}

Result<void> SceneRenderer::Draw(const PlannedDraw& draw) {
  _loader->SetActiveProgram(draw.program);
  DrawportDrawCall call;
  OSTRA_ASSIGN_OR_RETURN(call.program, _loader->GetActiveProgramFactory());
  OSTRA_ASSIGN_OR_RETURN(call.values, _loader->GetActiveValueSet());
  OSTRA_ASSIGN_OR_RETURN(call.state, _loader->GetActiveStateObject());
  OSTRA_ASSIGN_OR_RETURN(call.attributes, _loader->GetActiveAttributeSet());
  OSTRA_ASSIGN_OR_RETURN(call.vertices, _loader->GetActiveAttributeBuffer());
  call.count = _vertexCounts[&draw];
  // The scene's topologies have the layer's numbers.
  call.topology = static_cast<DrawportTopology>(draw.scene->topology);
  call.patchSize = draw.scene->patchSize;
  return _renderer.Draw(call);
}

}  // namespace ostra::plans
