// The start-up entry "configuration".
#include <array>

#include "ostra/config/configuration.h"
#include "ostra/object/registration.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/module/startup.h"

OSTRA_UNIT("configuration");

namespace ostra {
namespace {

constinit HostMethod<Result<void>(ConfigurationEntry&)> ConfigurationRegister("ConfigurationRegister");
constinit HostMethod<void(ConfigurationEntry&)> ConfigurationUnregister("ConfigurationUnregister");
constinit std::array<HostMethodBase*, 2> g_methods = {&ConfigurationRegister, &ConfigurationUnregister};

}  // namespace

constinit InterfaceReference g_configurationReference{kConfigurationInterface, g_methods};

Result<void> StartConfiguration(ModuleDescriptor& module) {
  if (!TakesPartInConfiguration(module)) return OK;
  for (ConfigurationEntry& entry : g_configurationTable.GetEntries()) {
    auto registered = ConfigurationRegister(entry);
    if (registered) continue;
    StopConfiguration(module);
    return registered.TakeError();
  }
  return OK;
}

void StopConfiguration(ModuleDescriptor& module) {
  if (TakesPartInConfiguration(module)) {
    for (ConfigurationEntry& entry : g_configurationTable.GetEntries()) ConfigurationUnregister(entry);
  }
  g_configurationTable.DropHelp();
}

}  // namespace ostra
