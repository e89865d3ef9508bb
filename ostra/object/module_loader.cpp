#include "ostra/object/module_loader.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/object/loaded_module.h"

OSTRA_UNIT("moduleloader");

namespace ostra {
namespace {

// The modules in the order of loading. The lock covers the list only: modules run their entries without it.
struct ModuleList {
  std::mutex mutex;
  BaseArray<LoadedModule*> modules;

  static ModuleList& Get() {
    static auto* list = new ModuleList;
    return *list;
  }

  Result<void> Add(LoadedModule& module) {
    const std::scoped_lock lock(mutex);
    for (const LoadedModule* other : modules) {
      if (other->GetId() == module.GetId())
        return OSTRA_ILLEGAL_STATE("The module \"@\" is already loaded.", module.GetId());
    }
    OSTRA_RETURN_IF_ERROR(modules.Append(&module));
    return OK;
  }

  void Remove(const LoadedModule& module) {
    const std::scoped_lock lock(mutex);
    const auto end = std::remove(modules.begin(), modules.end(), &module);
    modules.Shorten(end - modules.begin());
    if (modules.IsEmpty()) modules = BaseArray<LoadedModule*>();
  }

  const LoadedModule* FindDependent(const LoadedModule& module) {
    const std::scoped_lock lock(mutex);
    for (const LoadedModule* other : modules) {
      if (other != &module && other->Needs(module.GetDescriptor().publishedFramework)) return other;
    }
    return nullptr;
  }
};

// Takes over the module; destroys it when starting fails.
Result<Module&> Start(std::unique_ptr<LoadedModule, DeleteLoadedModule> module) {
  OSTRA_RETURN_IF_ERROR(ModuleList::Get().Add(*module));
  if (auto started = module->Start(); !started) {
    ModuleList::Get().Remove(*module);
    return started.TakeError();
  }
  return *module.release();
}

}  // namespace

Result<Module&> ModuleLoader::Load(std::string_view path, const LoadOptions& options) {
  OSTRA_ASSIGN_OR_RETURN(Library library, Library::Open(path));
  OSTRA_ASSIGN_OR_RETURN(ModuleDescriptor & descriptor, library.FindDescriptor());
  OSTRA_ASSIGN_OR_RETURN(auto module, LoadedModule::Create(descriptor, options, std::move(library)));
  return Start(std::move(module));
}

Result<Module&> ModuleLoader::RegisterApplication(ModuleDescriptor& descriptor, const LoadOptions& options) {
  OSTRA_ASSIGN_OR_RETURN(auto module, LoadedModule::Create(descriptor, options, Library()));
  return Start(std::move(module));
}

Result<void> ModuleLoader::Unload(Module& module) {
  auto& loaded = static_cast<LoadedModule&>(module);
  if (const LoadedModule* other = ModuleList::Get().FindDependent(loaded)) {
    return OSTRA_ILLEGAL_STATE("The module \"@\" cannot be unloaded: the module \"@\" needs its framework \"@\".",
                               loaded.GetId(), other->GetId(), loaded.GetDescriptor().publishedFramework);
  }
  loaded.Stop();
  loaded.KeepCodeOfLivingObjects();
  ModuleList::Get().Remove(loaded);
  DeleteLoadedModule()(&loaded);
  return OK;
}

Result<BaseArray<ModuleInformation>> ModuleLoader::GetModules() {
  ModuleList& list = ModuleList::Get();
  const std::scoped_lock lock(list.mutex);
  BaseArray<ModuleInformation> result;
  for (const LoadedModule* module : list.modules)
    OSTRA_RETURN_IF_ERROR(result.Append(ModuleInformation{module->GetId(), module->GetVersion(), module->GetPath()}));
  return result;
}

}  // namespace ostra
