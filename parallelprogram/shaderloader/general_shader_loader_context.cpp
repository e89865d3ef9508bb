// The shader loader's context, and what comes and goes with it.
#include "ostra/core/diagnostics.h"
#include "parallelprogram/shaderloader/general_shader_loader.h"
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {
namespace {

ParserCache g_stageParsers;
constinit AtomicInt32 g_stageParserLock{0};

}  // namespace

Result<ClassRef> CreateGeneralShaderLoaderClass() {
  return Class::Create<GeneralShaderLoaderImpl>(kGeneralShaderLoaderClass);
}

ParserCache& GetStageParsers() { return g_stageParsers; }
AtomicInt32& GetStageParserLock() { return g_stageParserLock; }
void ResetStageParserCache() { g_stageParsers.Reset(); }
Int GetCachedStageParserCount() { return g_stageParsers.GetCount(); }

GeneralShaderLoaderImpl::GeneralShaderLoaderImpl() : _identity(TakeDeviceOwnerIdentity()) {
  Handle* handle = NewObj<Handle>();
  if (!handle) return;
  handle->loader = this;
  _handle = StrongRef<Handle>::Adopt(handle);
}

GeneralShaderLoaderImpl::~GeneralShaderLoaderImpl() {
  if (_handle) _handle->loader = nullptr;
}

Result<void> GeneralShaderLoaderImpl::Init(const Url& resourcePath, const DrawportContextRef* context) {
  _resourcePath = resourcePath;
  if (!_data.context && context) UpdateContext(*context);
  OSTRA_ASSIGN_OR_RETURN(GradientRef gradient, CreateObject<GradientInterface>(kGradientClass));
  for (const Float32 value : {0.0f, 1.0f}) {
    GradientKnot knot;
    knot.color = Vector32(value, value, value);
    knot.intensity = 1;
    knot.position = value;
    knot.bias = 0.5f;
    knot.index = 0;
    knot.interpolation = GradientInterpolation::Smooth;
    OSTRA_RETURN_IF_ERROR(gradient->InsertKnot(knot));
  }
  OSTRA_ASSIGN_OR_RETURN(_gradientRender, gradient->InitRender());
  _gradient = std::move(gradient);
  return OK;
}

Bool GeneralShaderLoaderImpl::UpdateContext(const DrawportContextRef& newDrawportContext) {
  if (!newDrawportContext || newDrawportContext == _data.context) return false;
  if (const auto submitted = SubmitRecordedWork(_data); !submitted)
    CriticalOutput("What was recorded in the drawport context before is lost: @", submitted.GetError());
  const DrawportRef before = _data.drawport;
  _data.context = newDrawportContext;
  _data.drawport = _data.context->GetDrawport();
  _data.cache = _data.drawport ? _data.drawport->GetDrawportCache() : DrawportCacheRef();
  // Values are those of a context, programs those of a drawport. The next UpdateUniforms makes them anew.
  _programs.ForEach([&](const InternedId&, const GraphicsProgramRef& program) {
    program->ReleaseValues();
    if (_data.drawport == before) return;
    program->factory = nullptr;
    program->isOfOtherDrawport = true;
  });
  return true;
}

Result<void> GeneralShaderLoaderImpl::Execute(Bool wait) { return _data.GetCommandList().Execute(wait); }

// Counters stay, as they do in programs that compute.
Result<void> GeneralShaderLoaderImpl::Reset() {
  WaitForProgramCompile();
  OSTRA_RETURN_IF_ERROR(SubmitRecordedWork(_data));
  _activeProgram = nullptr;
  _activeProgramId = InternedId();
  _programs.Reset();
  _buffers.Reset();
  _textures.Reset();
  _data = GpuContextData();
  return OK;
}

}  // namespace ostra
