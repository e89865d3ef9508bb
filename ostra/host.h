// Host: starts the framework for a program and loads its modules.
//
//   int main(int argc, char** argv) {
//     auto host = ostra::Host::Create({.arguments = {argv + 1, argv + argc}});
//     if (!host) return Fail(host.GetError());
//     auto module = host->LoadModule("parallelprogram");
//     if (!module) return Fail(module.GetError());
//     ...                                   // objects of the module's classes live here
//   }                                       // modules are unloaded in reverse order, then the framework ends
//
// Configuration is read from a file (--config-file PATH, or the environment variable OSTRA_CONFIG_FILE), from the
// environment variable OSTRA_CONFIG ("a=true,b=false") and from the arguments (--config name=value), the later winning.
//
// There is one host at a time. Its functions are called by the thread that made it; objects of a module's classes and
// values of its data types must be gone before the module is unloaded or the host ends.
#pragma once

#include <span>

#include "ostra/object/module_loader.h"

namespace ostra {

struct HostOptions {
  // The program's arguments without its name. Only --config and --config-file (also in the form --config=...) are read;
  // everything else is left to the program.
  std::span<const char* const> arguments = {};
  // False: OSTRA_CONFIG and OSTRA_CONFIG_FILE are not looked at.
  Bool readsEnvironment = true;
};

class OSTRA_API Host {
 public:
  // Errors: illegal state when there is a host already; illegal argument for configuration that cannot be understood;
  // those of reading the configuration file; out of memory.
  static Result<Host> Create(const HostOptions& options = {});

  Host(Host&& other) noexcept;
  Host& operator=(Host&&) = delete;
  ~Host();

  // Loads a module. A name without a slash, such as "parallelprogram", is looked for beside the host's own library and
  // in its folder ostra/modules; anything else is the path of a file. Errors: illegal argument when it is not found,
  // with the places; those of ModuleLoader::Load.
  Result<Module&> LoadModule(std::string_view nameOrPath, const LoadOptions& options = {});
  // Registers classes that the program itself contains; see ModuleLoader::RegisterApplication.
  Result<Module&> RegisterApplication(ModuleDescriptor& descriptor, const LoadOptions& options = {});
  // Errors: illegal argument for a module that this host has not loaded; those of ModuleLoader::Unload.
  Result<void> UnloadModule(Module& module);

  // The folder of the host's own library, without a final slash. Error: out of memory.
  static Result<String> GetLibraryFolder();

 private:
  Host() = default;
  Result<Module&> Keep(Result<Module&> module);

  Bool _isRunning = false;
  BaseArray<Module*> _modules;  // in the order of loading
};

}  // namespace ostra
