// Classes of the host itself, which no module registers: see ostra/host_classes.h. Only for the files of the host.
#pragma once

#include "ostra/object/class.h"

namespace ostra {

// Declares a registry unless that is done. Error: out of memory.
inline Result<ClassRegistry&> FindOrDeclareRegistry(const Id& registryId) {
  if (auto known = ClassRegistry::Find(registryId)) return known;
  OSTRA_RETURN_IF_ERROR(ClassRegistry::Declare(registryId));
  return ClassRegistry::Find(registryId);
}

// Inserts a class unless its ID is there. Error: out of memory.
inline Result<void> InsertOnce(ClassRegistry& registry, const ClassRef& entry) {
  if (registry.FindEntryValue(entry->GetId())) return OK;
  return registry.Insert(entry);
}

}  // namespace ostra
