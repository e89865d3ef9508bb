#include "ostra/object/registration.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "ostra/core/hash_map.h"
#include "ostra/core/synchronized_hash_map.h"
#include "ostra/object/module_initializer.h"
#include "ostra/object/reflection.h"
#include "ostra/object/shared_object.h"

OSTRA_UNIT("registration");

namespace ostra {
namespace {

Result<ModuleInitializer&> FindInitializer(const ModuleDescriptor& module) {
  if (ModuleInitializer* initializer = module.GetInitializer()) return *initializer;
  DebugStop("Assertion failed: g_ostra.GetInitializer()");
  return OSTRA_ILLEGAL_STATE("The module \"@\" registers something before the host has set up its descriptor.",
                             module.id);
}

// The shared object of the module's entries; the descriptor itself may lie anywhere.
const void* FindCode(const ModuleDescriptor& module) {
  for (const auto entries : {module.units, module.startupEntries}) {
    for (const ModuleEntry& entry : entries) {
      if (entry.enter) return FindSharedObject(reinterpret_cast<const void*>(entry.enter));
    }
  }
  return nullptr;
}

void EraseClass(const Id& registryId, const Id& id) {
  if (auto registry = ClassRegistry::Find(registryId)) registry->Erase(id);
}

SynchronizedHashMap<Id, String>& GetInterfaces() {
  static auto* interfaces = new SynchronizedHashMap<Id, String>;
  return *interfaces;
}

}  // namespace

Result<void> RegisterClass(ModuleDescriptor& module, const ClassRef& entry) {
  return RegisterClass(module, "net.ostra.registry.classes"_id, entry);
}

Result<void> RegisterClass(ModuleDescriptor& module, const Id& registryId, const ClassRef& entry) {
  OSTRA_ASSIGN_OR_RETURN(ModuleInitializer & initializer, FindInitializer(module));
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(registryId));
  OSTRA_RETURN_IF_ERROR(initializer.Hold(entry));
  return initializer.Do([&] { return registry.Insert(entry); }, &EraseClass, registryId, entry->GetId());
}

Result<void> RegisterClasses(ModuleDescriptor& module, const Id& registryId, std::span<const ClassEntry> entries,
                             const char* contents, const char* provider) {
  if (!ClassRegistry::Find(registryId))
    return OSTRA_ILLEGAL_STATE(
        "There is no registry of @ classes: load the module \"@\" before the @s of \"@\" are registered.", contents,
        provider, contents, module.id);
  for (const ClassEntry& entry : entries) {
    OSTRA_ASSIGN_OR_RETURN(const ClassRef made, entry.create());
    OSTRA_RETURN_IF_ERROR(RegisterClass(module, registryId, made));
  }
  return OK;
}

Result<void> RegisterRegistry(ModuleDescriptor& module, const Id& registryId) {
  OSTRA_ASSIGN_OR_RETURN(ModuleInitializer & initializer, FindInitializer(module));
  return initializer.Do([&] { return ClassRegistry::Declare(registryId); },
                        [](const Id& registry, const Id&) { ClassRegistry::Withdraw(registry); }, registryId, Id());
}

Result<void> RegisterInterface(ModuleDescriptor& module, const Id& interfaceId, std::string_view name) {
  OSTRA_ASSIGN_OR_RETURN(ModuleInitializer & initializer, FindInitializer(module));
  return initializer.Do([&] { return InterfaceRegistry::Insert(interfaceId, name); },
                        [](const Id&, const Id& id) { InterfaceRegistry::Erase(id); }, Id(), interfaceId);
}

Result<void> RegisterReflection(ModuleDescriptor& module, const Id& interfaceId, std::string_view name,
                                std::span<const MethodDescription> methods) {
  OSTRA_ASSIGN_OR_RETURN(ModuleInitializer & initializer, FindInitializer(module));
  return initializer.Do([&] { return Reflection::Register(interfaceId, name, methods); },
                        [](const Id&, const Id& id) { Reflection::Erase(id); }, Id(), interfaceId);
}

Result<void> RegisterDataType(ModuleDescriptor& module, const DataType& type) {
  OSTRA_ASSIGN_OR_RETURN(ModuleInitializer & initializer, FindInitializer(module));
  auto listed = DataType::Find(type.GetId());
  if (!listed || *listed != type)
    return OSTRA_ILLEGAL_ARGUMENT("The data type \"@\" is already registered.", type.GetId());
  // A type that another module described first works with that module's code, and stays with it.
  const auto* operation = reinterpret_cast<const void*>(type.GetOperations().destruct);
  if (FindSharedObject(operation) != FindCode(module)) return OK;
  return initializer.Do([]() -> Result<void> { return OK; }, [](const Id&, const Id& id) { DataType::Erase(id); }, Id(),
                        type.GetId());
}

Result<void> RegisterUndo(ModuleDescriptor& module, void (*undo)()) {
  OSTRA_ASSIGN_OR_RETURN(ModuleInitializer & initializer, FindInitializer(module));
  return initializer.Remember(undo);
}

Bool TakesPartInConfiguration(const ModuleDescriptor& module) {
  return module.GetInitializer() && module.GetInitializer()->TakesPartInConfiguration();
}

Result<void> InterfaceRegistry::Insert(const Id& interfaceId, std::string_view name) {
  OSTRA_ASSIGN_OR_RETURN(Id ownId, Id::Create(interfaceId.GetView()));
  OSTRA_ASSIGN_OR_RETURN(String ownName, String::Create(name));
  OSTRA_ASSIGN_OR_RETURN(Bool isNew, GetInterfaces().Insert(ownId, ownName));
  if (!isNew) return OSTRA_ILLEGAL_ARGUMENT("The interface \"@\" is already registered.", interfaceId);
  return OK;
}

Bool InterfaceRegistry::Erase(const Id& interfaceId) { return GetInterfaces().Erase(interfaceId); }

Result<String> InterfaceRegistry::FindName(const Id& interfaceId) {
  String name;
  if (!GetInterfaces().Find(interfaceId, name))
    return OSTRA_ILLEGAL_ARGUMENT("There is no interface \"@\".", interfaceId);
  return name;
}

Result<BaseArray<Id>> InterfaceRegistry::GetIds() {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Id> ids, GetInterfaces().GetKeys());
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace ostra
