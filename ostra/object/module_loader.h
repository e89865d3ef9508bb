// Loads modules: shared objects that export a ModuleDescriptor as `g_ostra`.
//
//   OSTRA_ASSIGN_OR_RETURN(Module & module, ModuleLoader::Load("/opt/example/lib/filters.so"));
//   ...
//   OSTRA_RETURN_IF_ERROR(ModuleLoader::Unload(module));
//
// Loading checks the descriptor and the frameworks that the module needs, fills its interface references, runs its
// registrations and its start-up entries, and publishes its framework. What fails is undone in reverse order, and the
// error says at which step. Unloading does all of it backwards. A module may be loaded again afterwards.
//
// Objects of a module's classes, and values of its data types (in a Data, say), must be gone before the module is
// unloaded.
// One thread loads and unloads; GetModules may be called from any thread.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/object/module_descriptor.h"

namespace ostra {

struct LoadOptions {
  // False: the module's configuration variables keep their defaults and are not known to the configuration service.
  Bool takesPartInConfiguration = true;
};

// A loaded module or a registered application. Lives until it is unloaded.
class OSTRA_API Module {
 public:
  virtual const Id& GetId() const = 0;
  virtual const String& GetVersion() const = 0;
  // The file it was loaded from; empty for an application.
  virtual const String& GetPath() const = 0;

 protected:
  virtual ~Module() = default;
};

struct ModuleInformation {
  Id id;
  String version;
  String path;
};

namespace ModuleLoader {

// Errors: illegal argument when there is no such file, it cannot be loaded, it has no descriptor or one of another
// version; illegal state when the module is loaded already or a framework is missing; the error of an entry that
// failed, with its name; out of memory.
OSTRA_API Result<Module&> Load(std::string_view path, const LoadOptions& options = {});

// Does the same with a descriptor of the running program, which must live until it is unloaded.
OSTRA_API Result<Module&> RegisterApplication(ModuleDescriptor& descriptor, const LoadOptions& options = {});

// Error: illegal state when another loaded module needs the framework of this one.
OSTRA_API Result<void> Unload(Module& module);

// In the order of loading. Error: out of memory.
OSTRA_API Result<BaseArray<ModuleInformation>> GetModules();

}  // namespace ModuleLoader

}  // namespace ostra
