// Switches that the host shares with its modules. Set by the configuration service before modules are used, then read
// without locks from any thread.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

extern OSTRA_API Bool g_trackSpinlocks;
extern OSTRA_API Bool g_trackCpuYield;
extern OSTRA_API Bool g_enableDebugBreak;
// True while the host writes a crash report: spin locks are then skipped, so that the report cannot deadlock.
extern OSTRA_API Bool g_inCrashhandler;
extern OSTRA_API Bool g_metalPointCircleAAWorkaround;

}  // namespace ostra
