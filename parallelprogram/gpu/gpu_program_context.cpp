// The GPU program's context: where it comes from, what it must be able to do, and its replacement.
#include "ostra/core/diagnostics.h"
#include "ostra/drawport/selector_test.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

struct NeededFeature {
  DrawportFeature feature;
  const char* message;
};

constexpr NeededFeature kNeededFeatures[] = {
    {DrawportFeature::AtomicOperations, "Atomic Operations not supported, please fall back to CPU mode"},
    {DrawportFeature::ComputeShader, "Compute Shaders not supported, please fall back to CPU mode"},
    {DrawportFeature::ShaderStorageBuffer, "Shader Storage Buffers not supported, please fall back to CPU mode"},
    {DrawportFeature::ImageLoadStore, "Image Load Store not supported, please fall back to CPU mode"},
    {DrawportFeature::ShaderHalfFloat, "Shader half float not supported, please fall back to CPU mode"},
};

// "directx" where it can be used, otherwise what the host thinks best.
Result<DrawportCacheRef> ChooseCache() {
  OSTRA_ASSIGN_OR_RETURN(DrawportCacheRef cache, FindSupportedCache("directx"));
  return cache ? Result<DrawportCacheRef>(std::move(cache)) : GetDefaultDrawportCache();
}

Result<DrawportRef> AllocDrawport(DrawportCacheInterface& cache) {
  const Id& type = cache.GetCacheType();
  for (const Id& known : {kDrawportTypeOpenGL, kDrawportTypeVulkan, kDrawportTypeMetal, kDrawportTypeDirectX})
    if (type == known) return cache.AllocDrawport(type, kDrawportSubtypeSystem);
  return DrawportRef();
}

Result<void> CheckFeatures(const DrawportContextRef& context) {
  for (const NeededFeature& needed : kNeededFeatures)
    if (!context || !context->IsFeatureSupported(needed.feature)) return OSTRA_ILLEGAL_STATE(needed.message);
  return OK;
}

Bool CanReadAndWrite(DrawportContextInterface& context, const Id& formatId, Bool isFloatingPoint) {
  const auto format = GetPixelFormat(formatId);
  return format && HasAccess(context.GetPixelFormatAccessFlags(*format, isFloatingPoint),
                             DrawportPixelFormatAccess::ShaderReadWrite);
}

}  // namespace

Result<ClassRef> CreateGpuProgramClass() { return Class::Create<ParallelProgramGPUImpl>(kGpuProgramClass); }

// Compile jobs use the program until they have ended.
ParallelProgramGPUImpl::~ParallelProgramGPUImpl() {
  WaitForKernelCompile();
  _recordings.ReleaseAll(_contexts.current, _contexts.number);
}

Result<void> ParallelProgramGPUImpl::Init(const Url& resourcePath, const DrawportContextRef* context, Int32 deviceIndex,
                                          Bool createOffscreenContext) {
  _resourcePath = resourcePath;
  OSTRA_RETURN_IF_ERROR(_noises.Init());
  if (_contexts.current.context) {
    _contexts.previous = _contexts.current;
    return OK;
  }

  GpuContextData data;
  NarrowTexels narrow = _textures.GetNarrow();
  if (createOffscreenContext) {
    OSTRA_RETURN_IF_ERROR(CreateOwnContext(context, deviceIndex, data, narrow));
  } else if (context && *context) {
    data.context = *context;
    data.drawport = data.context->GetDrawport();
    data.cache = data.drawport->GetDrawportCache();
    data.contextReplaceable = true;
  } else {
    data.contextReplaceable = true;  // a context may come later
  }
  if (data.context) OSTRA_RETURN_IF_ERROR(BuildCopyKernel(data));
  _textures.SetNarrow(narrow);
  _contexts.current = data;
  _contexts.previous = std::move(data);
  return OK;
}

Result<void> ParallelProgramGPUImpl::CreateOwnContext(const DrawportContextRef* context, Int32 deviceIndex,
                                                      GpuContextData& data, NarrowTexels& narrow) const {
  OSTRA_ASSIGN_OR_RETURN(data.cache, ChooseCache());
  OSTRA_ASSIGN_OR_RETURN(data.drawport, AllocDrawport(*data.cache));
  if (data.drawport) {
    OSTRA_ASSIGN_OR_RETURN(data.context, data.drawport->CreateOffscreenRenderContext(context != nullptr, deviceIndex));
    // Another device than the drawport's has a drawport and a cache of its own.
    if (data.context) data.drawport = data.context->GetDrawport();
    data.cache = data.drawport->GetDrawportCache();
  }
  // The error that follows says what a kernel would lack; the reason is this.
  if (!data.context)
    WarningOutput(
        "No GPU backend is loaded, so a GPU program has no device: load the module \"drawport_vulkan\" before the "
        "program is made.");
  OSTRA_RETURN_IF_ERROR(CheckFeatures(data.context));
  narrow.with16bit = CanReadAndWrite(*data.context, "net.ostra.image.pixelformat.dynamic.redf16"_id, true);
  narrow.with8bit = CanReadAndWrite(*data.context, "net.ostra.image.pixelformat.dynamic.redu8"_id, false);
  if (g_32bitOnlyParallelProgram) narrow = {false, false};
  data.contextReplaceable = deviceIndex == 0 && context;
  data.ownsOffscreenContext = true;
  return OK;
}

Result<void> ParallelProgramGPUImpl::BuildCopyKernel(const GpuContextData& data) {
  OSTRA_ASSIGN_OR_RETURN(const StrongRef<Job> job,
                         Job::Create([this, &data]() -> Result<void> { return _buffers.BuildCopyKernel(data); }));
  OSTRA_RETURN_IF_ERROR(_compileJobs.Add(job));
  WaitForKernelCompile();
  return job->GetResult();
}

Result<void> ParallelProgramGPUImpl::UpdateDrawportContext(const DrawportContextRef& newDrawportContext) {
  if (!_contexts.current.contextReplaceable || !newDrawportContext || newDrawportContext == _contexts.current.context)
    return OK;
  GpuContextData data = _contexts.current;
  data.context = newDrawportContext;
  data.drawport = data.context->GetDrawport();
  data.cache = data.drawport->GetDrawportCache();
  data.ownsOffscreenContext = false;
  OSTRA_RETURN_IF_ERROR(SubmitRecordedWork(_contexts.current));
  OSTRA_RETURN_IF_ERROR(BuildCopyKernel(data));  // nothing is compiled any more when this returns
  _recordings.Abandon(_contexts.current);
  _textures.SetAllWritable(false);
  if (_contexts.current.ownsOffscreenContext) _contexts.previous = _contexts.current;
  _contexts.current = std::move(data);
  ++_contexts.number;
  // Unused kernels would keep the context before.
  _kernels.ForEach(
      [](GpuKernel& kernel) { static_cast<void>(kernel.compute->UpdateUniforms(DrawportContextRef(), false)); });
  return OK;
}

// Counters, the names of noises, the order of deletion and the widths of texels stay.
Result<void> ParallelProgramGPUImpl::Reset() {
  WaitForKernelCompile();
  OSTRA_RETURN_IF_ERROR(SubmitRecordedWork(_contexts.current));
  _recordings.ReleaseAll(_contexts.current, _contexts.number);
  _textures.SetAllWritable(false);
  _kernels.Reset();
  _textures.Reset();
  _buffers.Reset();
  _contexts.previous = GpuContextData();
  _contexts.current = GpuContextData();
  return OK;
}

Bool ParallelProgramGPUImpl::GetMemoryInformation(Int64& freeMemory, Int64& totalMemory) const {
  const VideoMemoryBudget budget =
      _contexts.current.context ? _contexts.current.context->GetAvailableAndTotalVRAMBudget() : GetDefaultVRAMBudget();
  freeMemory = g_outOfCoreParallelProgram ? budget.available + budget.total / 2 : budget.available;
  totalMemory = budget.total;
  return freeMemory != -1;
}

std::pair<Int64, Int64> ParallelProgramGPUImpl::GetAvailableAndTotalVRAMBudget() const {
  const VideoMemoryBudget budget = GetMemoryBudget(_contexts.previous);
  return {budget.available, budget.total};
}

void ParallelProgramGPUImpl::GetSupportReadWritePixelFormats(Bool& readWrite16bit, Bool& readWrite8bit) const {
  readWrite16bit = _textures.GetNarrow().with16bit;
  readWrite8bit = _textures.GetNarrow().with8bit;
}

}  // namespace ostra
