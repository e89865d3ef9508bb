#include "plans/run/parameter_class.h"

#include <algorithm>
#include <map>

#include "ostra/object/class.h"
#include "parallelprogram/kernelruntime/opened_kernel.h"
#include "parallelprogram/program/kernel_interface.h"

namespace ostra::plans {

using namespace kernelruntime;

namespace {

// A class that is registered, unless its host has ended.
struct LoadedClass {
  std::string classId;
  const Class* registered = nullptr;
};

// By file and C++ source.
std::map<std::string, LoadedClass>& GetLoadedClasses() {
  static auto* const classes = new std::map<std::string, LoadedClass>;
  return *classes;
}

const Class* FindClass(const ClassRegistry& registry, const std::string& classId) {
  const auto id = Id::Create(classId);
  if (!id) return nullptr;
  const auto found = registry.FindEntryValue(*id);
  return found ? found->GetPointer() : nullptr;
}

std::string ChooseClassId(const ClassRegistry& registry, const std::string& name) {
  const std::size_t dot = std::min(name.rfind('.'), name.size());
  std::string candidate = name;
  for (Int number = 2; FindClass(registry, candidate); ++number) {
    candidate = name;
    candidate.insert(dot, std::to_string(-number));  // "-2"
  }
  return candidate;
}

}  // namespace

Result<ParameterClass> LoadParameterClass(KernelModuleOptions options, Host& host) {
  OSTRA_ASSIGN_OR_RETURN(const ClassRegistry& registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const KernelSource source, options.opened->MakeSource());
  const std::string version = std::string(options.kernelFile.GetView()) + "\n" + std::string(source.text.GetView());
  LoadedClass& loaded = GetLoadedClasses()[version];
  if (loaded.registered && FindClass(registry, loaded.classId) == loaded.registered)
    return ParameterClass{loaded.classId};
  options.classId = ChooseClassId(registry, std::string(options.kernelFile.GetName().GetView()));
  // The source names the class.
  OSTRA_ASSIGN_OR_RETURN(const OpenedKernel opened,
                         OpenedKernel::Open({options.kernelFile, options.templateArgument, options.classId}));
  options.opened = &opened;
  OSTRA_ASSIGN_OR_RETURN(KernelModule module, LoadKernelModule(options, host));
  loaded = {options.classId, FindClass(registry, options.classId)};
  return ParameterClass{options.classId, std::move(module)};
}

}  // namespace ostra::plans
