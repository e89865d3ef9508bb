#include "plans/scene/scene_kernels.h"

#include "ostra/core/format.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "plans/names/nearest_name.h"
#include "plans/run/prepare_kernel.h"
#include "plans/scene/stage_files.h"

OSTRA_UNIT("scene_kernels");

namespace ostra::plans {

using namespace kernelruntime;

namespace {

Bool IsGenerated(std::string_view source) { return source.starts_with("zeros:") || source.starts_with("ones:"); }

std::string MakeZeros(const Extents& size) {
  return "zeros:" + std::to_string(size.width) + "x" + std::to_string(size.height) + "x" + std::to_string(size.depth);
}

// Of a kernel in a scene file.
constexpr SettingNames kKernelKeys = {
    .input = "\"in\"", .output = "", .value = "\"set\"", .swap = "\"swap\"", .size = "\"size\""};

// The kernel as a run.
Result<void> AddOptions(const SceneKernel& kernel, const Url& folder, const KernelParameters& parameters,
                        RunOptions& options) {
  options.size = kernel.size;
  options.iterationCount = kernel.iterationCount;
  options.swaps = kernel.swaps;
  for (const auto& [name, value] : kernel.settings) options.settings.emplace_back(name, value);
  for (const auto& [name, source] : kernel.inputs) {
    OSTRA_ASSIGN_OR_RETURN(const Url url, FindSceneFile(folder, source));
    options.inputs.emplace_back(name, IsGenerated(source) ? std::string_view(source) : url.GetView());
  }
  // What is given nothing starts as zeros, one for each invocation.
  for (const Parameter& parameter : parameters.GetAll())
    if (parameter.kind == ParameterKind::Buffer && !kernel.inputs.contains(parameter.name) && kernel.size.IsKnown())
      options.inputs.emplace_back(parameter.name, MakeZeros(kernel.size));
  return OK;
}

}  // namespace

Result<SceneKernels> SceneKernels::Run(const Scene& scene, const Url& folder, const KernelCacheFolder& cache,
                                       Host& host, const DrawportContextRef& context, WorkObserver& observer) {
  SceneKernels kernels(scene);
  for (const auto& [name, kernel] : scene.kernels)
    OSTRA_RETURN_IF_ERROR(kernels.RunKernel(name, kernel, folder, cache, host, context, observer));
  return kernels;
}

Result<void> SceneKernels::RunKernel(const std::string& name, const SceneKernel& kernel, const Url& folder,
                                     const KernelCacheFolder& cache, Host& host, const DrawportContextRef& context,
                                     WorkObserver& observer) {
  const auto fail = [&](const Error& error) {
    return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _scene->file, kernel.path, error);
  };
  OSTRA_ASSIGN_OR_RETURN(const Url file, FindSceneFile(folder, kernel.file));
  RunOptions options;
  options.kernelFile = file;
  options.cache = cache;
  options.names = kKernelKeys;
  options.backend = Backend::Gpu;
  OSTRA_RETURN_IF_ERROR(SplitTemplateName(options));
  if (const auto source = ReadSourceBytes(options.kernelFile); !source) return fail(source.GetError());
  OSTRA_ASSIGN_OR_RETURN(const PreparedKernel prepared, PrepareKernel(options, host, observer));
  OSTRA_RETURN_IF_ERROR(AddOptions(kernel, folder, prepared.parameters, options));
  auto plan = MakeRunPlan(options, prepared.opened, prepared.parameters);
  if (!plan) return fail(plan.GetError());
  auto made = std::make_unique<Kernel>();
  made->plan = std::move(*plan);
  OSTRA_ASSIGN_OR_RETURN(ProgramRun run, ProgramRun::Create(made->plan, kGpuProgramClass,
                                                            {.kernelFile = options.kernelFile,
                                                             .templateArgument = options.templateArgument,
                                                             .observer = &observer},
                                                            &context));
  made->run.emplace(std::move(run));
  const auto progress = observer.Begin("running " + name, kernel.iterationCount, "dispatches");
  OSTRA_RETURN_IF_ERROR(made->run->Run(kernel.iterationCount, *progress));
  _kernels[name] = std::move(made);
  return OK;
}

Result<SceneKernels::Buffer> SceneKernels::GetBuffer(const SceneKernelBuffer& source, const ScenePath& path) const {
  const Kernel& kernel = *_kernels.find(source.kernel)->second;
  std::vector<std::string> names;
  for (const PlannedBuffer& buffer : kernel.plan.buffers) {
    names.emplace_back(buffer.name.GetView());
    if (buffer.name.GetView() != source.buffer) continue;
    OSTRA_ASSIGN_OR_RETURN(Data link, kernel.run->GetBufferLink(buffer.name));
    return Buffer{std::move(link), buffer.elementType, buffer.count};
  }
  return OSTRA_ILLEGAL_ARGUMENT("@: @.buffer: the kernel \"@\" has no buffer \"@\"@", _scene->file, path, source.kernel,
                                source.buffer, SuggestName(source.buffer, names));
}

}  // namespace ostra::plans
