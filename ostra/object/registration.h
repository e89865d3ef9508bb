// How a module enters what it offers. Each function belongs to the entry (unit or start-up entry) that is running and
// is undone, in reverse order, when the module is unloaded or its load fails.
//
// Called on the loading thread by entries of the module's descriptor. Calling them before the host has set up the
// descriptor writes "Assertion failed: g_ostra.GetInitializer()" and fails with illegal state; the other errors are
// those of the registry that refuses (illegal argument for an ID that is taken) and out of memory.
#pragma once

#include <span>

#include "ostra/core/data_type.h"
#include "ostra/object/class.h"
#include "ostra/object/module_descriptor.h"

namespace ostra {

struct MethodDescription;  // reflection.h

// Into the host's registry of classes; into another registry.
OSTRA_API Result<void> RegisterClass(ModuleDescriptor& module, const ClassRef& entry);
OSTRA_API Result<void> RegisterClass(ModuleDescriptor& module, const Id& registryId, const ClassRef& entry);
// A class of a table: its ID and what makes it.
struct ClassEntry {
  const char* id;
  Result<ClassRef> (*create)();
};
// All classes of a table. `contents` and `provider` are for the error of a registry that is not there: what is entered
// in it ("kernel"), and the module to load before. Errors: illegal state for that; those of RegisterClass and `create`.
OSTRA_API Result<void> RegisterClasses(ModuleDescriptor& module, const Id& registryId,
                                       std::span<const ClassEntry> entries, const char* contents, const char* provider);
// Declares a registry of classes.
OSTRA_API Result<void> RegisterRegistry(ModuleDescriptor& module, const Id& registryId);
// Makes an interface known under its C++ name; InterfaceRegistry lists them.
OSTRA_API Result<void> RegisterInterface(ModuleDescriptor& module, const Id& interfaceId, std::string_view name);
OSTRA_API Result<void> RegisterReflection(ModuleDescriptor& module, const Id& interfaceId, std::string_view name,
                                          std::span<const MethodDescription> methods);
// Enters a type that DataTypeOf<T>::Make() has described: it is erased with the module, unless it was described by
// another module before, which then keeps it. Refused (illegal argument) when a type with other properties has the ID.
OSTRA_API Result<void> RegisterDataType(ModuleDescriptor& module, const DataType& type);

// Has `undo` called for something that the module keeps itself. Called before that is done, so that it is never done
// without being undone.
OSTRA_API Result<void> RegisterUndo(ModuleDescriptor& module, void (*undo)());

// Whether the module's configuration variables are to be handed to the configuration service.
OSTRA_API Bool TakesPartInConfiguration(const ModuleDescriptor& module);

// The interfaces that the host and modules know by name. Thread-safe.
namespace InterfaceRegistry {
OSTRA_API Result<void> Insert(const Id& interfaceId, std::string_view name);
OSTRA_API Bool Erase(const Id& interfaceId);
// Error: illegal argument when there is no such interface.
OSTRA_API Result<String> FindName(const Id& interfaceId);
// Sorted by text. Error: out of memory.
OSTRA_API Result<BaseArray<Id>> GetIds();
}  // namespace InterfaceRegistry

}  // namespace ostra
