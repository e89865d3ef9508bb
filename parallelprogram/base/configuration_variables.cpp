#include "parallelprogram/base/configuration_variables.h"

#include "ostra/core/diagnostics.h"
#include "ostra/object/module_descriptor.h"

namespace ostra {

Bool g_checkActiveProgramForUpdatedShaders = false;
Bool g_reloadKernelsParallelProgram = false;
Bool g_32bitOnlyParallelProgram = false;
Bool g_outOfCoreParallelProgram = false;

constinit ConfigurationTable g_configurationTable;

Bool RegisterConfiguration(const char* name, Bool& variable, Bool initialValue, ConfigKind kind, const String& help) {
  if (!g_ostra.GetInitializer()) {
    DebugStop("Assertion failed: g_ostra.GetInitializer()");
    variable = initialValue;
    return initialValue;
  }
  return g_configurationTable.Register(name, variable, initialValue, kind, help);
}

}  // namespace ostra
