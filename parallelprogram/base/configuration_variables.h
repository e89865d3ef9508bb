// The module's configuration variables. They have their defaults from registration on, and the configured values from
// the module's start on; then they are read from any thread without locks.
#pragma once

#include "ostra/config/configuration_table.h"

namespace ostra {

extern Bool g_checkActiveProgramForUpdatedShaders;
extern Bool g_reloadKernelsParallelProgram;
extern Bool g_32bitOnlyParallelProgram;
extern Bool g_outOfCoreParallelProgram;

// Adds a variable to the module's table, gives it its default and returns that. A table that is full (256) records
// nothing. Called by the unit that owns the variable, on the loading thread; before the host has set up the module's
// descriptor this writes "Assertion failed: g_ostra.GetInitializer()" and only the default is set.
Bool RegisterConfiguration(const char* name, Bool& variable, Bool initialValue, ConfigKind kind, const String& help);

// The table behind it.
extern ConfigurationTable g_configurationTable;

}  // namespace ostra
