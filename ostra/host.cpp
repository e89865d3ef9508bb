#include "ostra/host.h"

#include <atomic>

#include <dlfcn.h>
#include <unistd.h>

#include "ostra/config/configuration.h"
#include "ostra/core/diagnostics.h"
#include "ostra/host_classes.h"
#include "ostra/host_configuration.h"
#include "ostra/object/framework.h"
#include "ostra/object/machine_info.h"

OSTRA_UNIT("host");

namespace ostra {
namespace {

constinit std::atomic<bool> g_isRunning{false};

Result<void> StartServices() {
  OSTRA_RETURN_IF_ERROR(RegisterHostClasses());
  OSTRA_RETURN_IF_ERROR(Frameworks::PublishHostFrameworks());
  Result<void> result = MachineInfo::PublishInterface();
  if (result) {
    result = Configuration::Start();
    if (!result) MachineInfo::WithdrawInterface();
  }
  if (!result) Frameworks::WithdrawHostFrameworks();
  return result;
}

void StopServices() {
  Configuration::Stop();
  Configuration::ForgetValues();
  MachineInfo::WithdrawInterface();
  Frameworks::WithdrawHostFrameworks();
}

Result<String> FindModuleFile(std::string_view name) {
  OSTRA_ASSIGN_OR_RETURN(String folder, Host::GetLibraryFolder());
  for (const char* place : {"", "/ostra/modules"}) {
    OSTRA_ASSIGN_OR_RETURN(String file, Format("@@/@.so", folder, place, name));
    OSTRA_ASSIGN_OR_RETURN(CString path, CString::Create(file));
    if (::access(path.GetCString(), F_OK) == 0) return file;
  }
  return OSTRA_ILLEGAL_ARGUMENT("There is no module \"@\": neither in @ nor in @/ostra/modules.", name, folder, folder);
}

}  // namespace

Result<String> Host::GetLibraryFolder() {
  Dl_info information;
  if (!::dladdr(reinterpret_cast<void*>(&StartServices), &information) || !information.dli_fname) return "."_s;
  const std::string_view file = information.dli_fname;
  const std::size_t slash = file.rfind('/');
  return slash == std::string_view::npos ? String::Create(".") : String::Create(file.substr(0, slash));
}

Result<Host> Host::Create(const HostOptions& options) {
  if (g_isRunning.exchange(true)) return OSTRA_ILLEGAL_STATE("There is a host in this program already.");
  Result<void> started = StartServices();
  if (!started) {
    g_isRunning = false;
    return started.TakeError();
  }
  Host host;
  host._isRunning = true;  // from here on its destructor stops the services
  OSTRA_RETURN_IF_ERROR(ReadConfigurationSources(options.arguments, options.readsEnvironment));
  return host;
}

Host::Host(Host&& other) noexcept
    : _isRunning(std::exchange(other._isRunning, false)), _modules(std::move(other._modules)) {}

Host::~Host() {
  if (!_isRunning) return;
  // In reverse order nothing that is still loaded needs what goes, unless it was loaded elsewhere.
  while (_modules.IsPopulated()) {
    Module* last = _modules.GetLast();
    if (auto unloaded = ModuleLoader::Unload(*last); !unloaded) CriticalOutput("@", unloaded.GetError());
    _modules.RemoveLast();
  }
  StopServices();
  g_isRunning = false;
}

Result<Module&> Host::Keep(Result<Module&> module) {
  if (module)
    _modules.GetLast() = &*module;
  else
    _modules.RemoveLast();
  return module;
}

Result<Module&> Host::LoadModule(std::string_view nameOrPath, const LoadOptions& options) {
  const Bool isPath = nameOrPath.find('/') != std::string_view::npos;
  OSTRA_ASSIGN_OR_RETURN(String file, isPath ? String::Create(nameOrPath) : FindModuleFile(nameOrPath));
  OSTRA_RETURN_IF_ERROR(_modules.Append(nullptr));  // before loading, so that nothing loaded is ever lost
  return Keep(ModuleLoader::Load(file, options));
}

Result<Module&> Host::RegisterApplication(ModuleDescriptor& descriptor, const LoadOptions& options) {
  OSTRA_RETURN_IF_ERROR(_modules.Append(nullptr));
  return Keep(ModuleLoader::RegisterApplication(descriptor, options));
}

Result<void> Host::UnloadModule(Module& module) {
  Int index = 0;
  while (index < _modules.GetCount() && _modules[index] != &module) ++index;
  if (index == _modules.GetCount()) return OSTRA_ILLEGAL_ARGUMENT("The module is not one that this host has loaded.");
  OSTRA_RETURN_IF_ERROR(ModuleLoader::Unload(module));
  _modules.Remove(index);
  return OK;
}

}  // namespace ostra
