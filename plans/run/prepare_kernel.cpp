#include "plans/run/prepare_kernel.h"

#include "ostra/io/file.h"
#include "plans/profile/profile.h"
#include "plans/run/build_messages.h"
#include "plans/run/parameter_class.h"
#include "plans/run/shader_parameters.h"

namespace ostra::plans {

using namespace kernelruntime;

namespace {

Result<OpenedKernel> OpenKernel(const RunOptions& options) {
  const ProfilePart part("front end");
  return OpenedKernel::Open({options.kernelFile, options.templateArgument});
}

KernelModuleOptions MakeModuleOptions(const RunOptions& options, const OpenedKernel& opened) {
  KernelModuleOptions module;
  module.kernelFile = options.kernelFile;
  module.cacheFolder = options.cache.path;
  module.cacheSetting = options.cache.setting;
  module.isFast = options.isFast;
  module.templateArgument = options.templateArgument;
  module.opened = &opened;
  return module;
}

// For a kernel whose parameters the GPU program cannot find in its text.
Result<PreparedKernel> PrepareByCompiler(const KernelModuleOptions& options, const OpenedKernel& opened, Host& host) {
  OSTRA_ASSIGN_OR_RETURN(ParameterClass loaded, LoadParameterClass(options, host));
  OSTRA_ASSIGN_OR_RETURN(KernelParameters parameters, KernelParameters::Read(loaded.classId));
  const Bool wasCompiled = loaded.module.wasCompiled;
  return PreparedKernel{opened, std::move(parameters), wasCompiled, std::move(loaded.module)};
}

}  // namespace

Result<TracedKernel> PrepareTracedKernel(const RunOptions& options, Host& host, WorkObserver& observer) {
  TracedKernel traced;
  traced.classId = std::string(options.kernelFile.GetName().GetView()) + ".traced";
  OSTRA_ASSIGN_OR_RETURN(const OpenedKernel opened,
                         OpenedKernel::Open({options.kernelFile, options.templateArgument, traced.classId}));
  KernelModuleOptions module = MakeModuleOptions(options, opened);
  module.classId = traced.classId;
  module.isTraced = true;
  BuildMessages messages(observer);
  module.observer = &messages;
  OSTRA_ASSIGN_OR_RETURN(traced.module, LoadKernelModule(module, host));
  return traced;
}

Result<PreparedKernel> PrepareKernel(const RunOptions& options, Host& host, WorkObserver& observer) {
  OSTRA_ASSIGN_OR_RETURN(const OpenedKernel opened, OpenKernel(options));
  if (options.backend == Backend::Gpu) {
    const ProfilePart part("front end");
    // What is wrong with the file is said in the same words for the CPU and the GPU.
    OSTRA_RETURN_IF_ERROR(opened.FindMistakes());
    OSTRA_ASSIGN_OR_RETURN(std::optional<KernelParameters> parameters,
                           ReadShaderParameters(options.kernelFile, options.templateArgument, opened));
    if (parameters) return PreparedKernel{opened, std::move(*parameters)};
  }
  KernelModuleOptions module = MakeModuleOptions(options, opened);
  module.isChecked = options.isChecked;
  module.isSilent = options.isSilent;
  module.isDebugged = options.isDebugged;
  BuildMessages messages(observer);
  module.observer = &messages;
  if (options.backend == Backend::Gpu) return PrepareByCompiler(module, opened, host);
  OSTRA_ASSIGN_OR_RETURN(KernelModule loaded, LoadKernelModule(module, host));
  OSTRA_ASSIGN_OR_RETURN(KernelParameters parameters, KernelParameters::Read(loaded.classId));
  const Bool wasCompiled = loaded.wasCompiled;
  return PreparedKernel{opened, std::move(parameters), wasCompiled, std::move(loaded)};
}

Result<void> SplitTemplateName(RunOptions& options) {
  constexpr std::string_view kMark = "_T_";
  Url location = options.kernelFile;
  const String suffix = location.GetSuffix();
  location.ClearSuffix();
  const String name = location.GetName();
  if (!name.EndsWith(kMark) || IoDetect(options.kernelFile) != IODETECT::NONE) return OK;
  const String rest = name.SubString(0, name.GetCount() - static_cast<Int>(kMark.size()));
  const Int separator = rest.FindLast("_");
  if (separator < 1) return OK;  // no base name, or no argument
  options.templateArgument = rest.SubString(separator + 1).GetView();
  OSTRA_RETURN_IF_ERROR(location.SetName(rest.SubString(0, separator)));
  OSTRA_RETURN_IF_ERROR(location.SetSuffix(suffix));
  options.kernelFile = location;
  return OK;
}

}  // namespace ostra::plans
