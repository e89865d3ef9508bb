#include "parallelprogram/kernelruntime/kernel_runtime.h"

#include <algorithm>
#include <map>
#include <optional>

#include "ostra/core/catch_exceptions.h"
#include "ostra/object/class.h"
#include "parallelprogram/kernelruntime/kernel_cache.h"
#include "parallelprogram/kernelruntime/opened_kernel.h"
#include "parallelprogram/kernelruntime/position_axes.h"
#include "parallelprogram/program/kernel_interface.h"

OSTRA_UNIT("kernel_runtime");

namespace ostra {

namespace {

constexpr std::string_view kFailure = "The kernel cannot be loaded";

}  // namespace

class KernelRuntime::Implementation {
 public:
  Implementation(Host& host, KernelRuntimeSettings settings) : _host(host), _settings(std::move(settings)) {}

  Result<LoadedKernel> Load(kernelruntime::KernelFile kernel) {
    OSTRA_ASSIGN_OR_RETURN(const kernelruntime::OpenedKernel opened, kernelruntime::OpenedKernel::Open(kernel));
    OSTRA_ASSIGN_OR_RETURN(const std::string version, MakeVersion(kernel, opened));
    if (const auto loaded = _loaded.find(version); loaded != _loaded.end()) return loaded->second;
    if (_settings.isOfLanguageAlone) OSTRA_RETURN_IF_ERROR(opened.CheckLanguage({.isChecked = _settings.isChecked}));
    OSTRA_ASSIGN_OR_RETURN(auto traits, MakeTraits(opened));
    OSTRA_ASSIGN_OR_RETURN(kernel.classId, ChooseClassId(kernel.file));
    kernelruntime::KernelModuleOptions options;
    options.kernelFile = kernel.file;
    options.classId = kernel.classId;
    options.text = std::move(kernel.text);
    options.cacheFolder = _settings.cacheFolder;
    options.isFast = _settings.isFast;
    options.isChecked = _settings.isChecked;
    options.templateArgument = kernel.templateArgument;
    options.observer = _settings.observer;
    OSTRA_ASSIGN_OR_RETURN(String classId, String::Create(kernel.classId));
    OSTRA_ASSIGN_OR_RETURN(const kernelruntime::KernelModule module, LoadKernelModule(options, _host));
    const LoadedKernel loaded(std::move(classId), std::move(traits), module.wasCompiled);
    _loaded.emplace(version, LoadedKernel(loaded._classId, loaded._traits, false));
    return loaded;
  }

 private:
  // The C++ source of a kernel, as if it were the first one of its name: it differs when a class would differ.
  Result<std::string> MakeVersion(const kernelruntime::KernelFile& kernel,
                                  const kernelruntime::OpenedKernel& opened) const {
    if (_settings.observer) _settings.observer->Begin(KernelBuildStep::kFrontEnd, kernel.file);
    const auto source = opened.MakeSource();
    if (_settings.observer) _settings.observer->End(KernelBuildStep::kFrontEnd);
    OSTRA_RETURN_IF_ERROR(source);
    return std::string(kernel.file.GetView()) + "\n" + std::string(source->text.GetView());
  }

  static Result<std::shared_ptr<const LoadedKernel::Traits>> MakeTraits(const kernelruntime::OpenedKernel& opened) {
    auto traits = std::make_shared<LoadedKernel::Traits>();
    // Reports ask for positions of their own.
    OSTRA_ASSIGN_OR_RETURN(const kernelruntime::KernelSource silent, opened.MakeSource({.isSilent = true}));
    traits->axisCount = kernelruntime::CountPositionAxes(silent.text.GetView());
    OSTRA_ASSIGN_OR_RETURN(const auto parameters, opened.ListParameters());
    for (const KernelParameterText& parameter : parameters)
      if (parameter.type.starts_with("Block<") || parameter.type.starts_with("BaseArray<"))
        traits->writable.push_back(parameter.name);
    return std::shared_ptr<const LoadedKernel::Traits>(std::move(traits));
  }

  // "net.example.blur.krn", or the first of "net.example.blur-2.krn" and so on that no class has.
  static Result<std::string> ChooseClassId(const Url& file) {
    OSTRA_ASSIGN_OR_RETURN(const ClassRegistry& registry, ClassRegistry::Find(kKernelClassRegistry));
    const std::string name(file.GetName().GetView());
    const std::size_t dot = std::min(name.rfind('.'), name.size());
    for (Int number = 1;; ++number) {
      std::string candidate = name;
      if (number > 1) candidate.insert(dot, std::to_string(-number));  // "-2"
      OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create(candidate));
      if (!registry.FindEntryValue(id)) return candidate;
    }
  }

  Host& _host;
  const KernelRuntimeSettings _settings;
  std::map<std::string, LoadedKernel> _loaded;  // by version
};

KernelRuntime::KernelRuntime(std::unique_ptr<Implementation> implementation)
    : _implementation(std::move(implementation)) {}
KernelRuntime::KernelRuntime(KernelRuntime&&) noexcept = default;
KernelRuntime& KernelRuntime::operator=(KernelRuntime&&) noexcept = default;
KernelRuntime::~KernelRuntime() = default;

Result<KernelRuntime> KernelRuntime::Create(Host& host, KernelRuntimeSettings settings) {
  return CatchExceptions(kOstraUnit, __LINE__, kFailure, [&]() -> Result<KernelRuntime> {
    if (!ClassRegistry::Find(kKernelClassRegistry))
      return OSTRA_ILLEGAL_STATE(
          "There is no registry of kernel classes: load the module \"parallelprogram\" before kernels.");
    return KernelRuntime(std::make_unique<Implementation>(host, std::move(settings)));
  });
}

Result<LoadedKernel> KernelRuntime::Load(const Url& file, std::string_view templateArgument) {
  return CatchExceptions(kOstraUnit, __LINE__, kFailure, [&] {
    return _implementation->Load({.file = file, .templateArgument = std::string(templateArgument)});
  });
}

Result<LoadedKernel> KernelRuntime::LoadText(std::string_view name, std::string_view text,
                                             std::string_view templateArgument) {
  return CatchExceptions(kOstraUnit, __LINE__, kFailure, [&]() -> Result<LoadedKernel> {
    OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(name));
    return _implementation->Load(
        {.file = file, .templateArgument = std::string(templateArgument), .text = std::string(text)});
  });
}

}  // namespace ostra
