// ModuleDescriptor: the record through which the host knows a module. A plug-in exports one as `g_ostra`; an
// application that contains classes of its own hands its to ModuleLoader::RegisterApplication.
//
//   static Result<void> RegisterOwnClasses(ModuleDescriptor& module) {
//     OSTRA_ASSIGN_OR_RETURN(ClassRef counter, Class::Create<Counter>("com.example.counter"_id));
//     return RegisterClass(module, counter);                        // registration.h; taken back at unload
//   }
//   static constexpr Id kNeeds[] = {"net.ostra.core.framework"_id};
//   static constexpr ModuleEntry kUnits[] = {{"counter", &RegisterOwnClasses}};
//
//   OSTRA_MODULE_DESCRIPTOR = {
//       .id = "com.example.counters"_id, .version = "1.0", .requiredFrameworks = kNeeds, .units = kUnits};
//
// Everything a module registers is reachable from this table: nothing registers itself from a static constructor.
#pragma once

#include <span>

#include "ostra/core/id.h"
#include "ostra/core/result.h"
#include "ostra/object/interface_reference.h"

namespace ostra {

class ConfigurationTable;
class ModuleInitializer;
struct ModuleDescriptor;

// A unit's registrations, or a start-up entry. What `enter` registers through registration.h is taken back by itself;
// `leave` takes back the rest. It is called only for an entry that succeeded. Either may be null: an entry without
// `enter` keeps its place in the order.
struct ModuleEntry {
  const char* name;
  Result<void> (*enter)(ModuleDescriptor& module);
  void (*leave)(ModuleDescriptor& module) = nullptr;
};

struct ModuleDescriptor {
  static constexpr UInt64 MAGIC = 0x6172'7473'6F5F'676DULL;
  // Raised when this record, a record that it refers to, or Result and Error change their layout.
  static constexpr UInt32 API_VERSION = 2;

  // These two stay first in every version, so that a module of another version is recognised.
  UInt64 magic = MAGIC;
  UInt32 apiVersion = API_VERSION;

  Id id;
  const char* version = "";
  // Frameworks that must be published before the module is loaded. The module's own may be among them.
  std::span<const Id> requiredFrameworks = {};
  // Published when the module has started; empty for none.
  Id publishedFramework = {};
  // Filled by the host before anything of the module runs.
  std::span<InterfaceReference* const> references = {};
  // Registrations, in this order, each complete before the next; then the start-up entries.
  std::span<const ModuleEntry> units = {};
  std::span<const ModuleEntry> startupEntries = {};
  // The module's configuration variables; null for none.
  ConfigurationTable* configuration = nullptr;

  // Set by the host while the module is registered.
  ModuleInitializer* initializer = nullptr;
  ModuleInitializer* GetInitializer() const { return initializer; }
};

extern "C" {
// The descriptor of this shared object.
extern OSTRA_API ModuleDescriptor g_ostra;
}

}  // namespace ostra

// Defines the descriptor; at global scope, followed by an initializer.
#define OSTRA_MODULE_DESCRIPTOR constinit ::ostra::ModuleDescriptor ostra::g_ostra
