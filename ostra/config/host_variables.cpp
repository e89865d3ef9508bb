// The variables of the host itself, and the service as modules see it.
#include <array>

#include "ostra/config/configuration.h"
#include "ostra/core/host_flags.h"
#include "ostra/object/interface_reference.h"

namespace ostra {
namespace {

constinit ConfigurationTable g_hostVariables;

const std::array kMethods = {MakeHostFunction<&Configuration::Register>("ConfigurationRegister"),
                             MakeHostFunction<&Configuration::Unregister>("ConfigurationUnregister")};

void FillTable() {
  constexpr String kSpinHelp = "Track usage of Spinlocks (either for performance checks or deadlock detection)"_s;
  ConfigurationTable& table = g_hostVariables;
  table.Reset();
  table.Register("g_metalPointCircleAAWorkaround", g_metalPointCircleAAWorkaround, true, ConfigKind::Bool,
                 "Set to true to enable point circle code workaround when used with MSAA."_s);
  table.Register("g_trackSpinlocks", g_trackSpinlocks, false, ConfigKind::Bool, kSpinHelp);
  // The same text: both follow the same locks.
  table.Register("g_trackCpuYield", g_trackCpuYield, false, ConfigKind::Bool, kSpinHelp);
  table.Register("g_enableDebugBreak", g_enableDebugBreak, true, ConfigKind::Bool,
                 "enable debug breaks (when debugger is attached)"_s);
  table.Register("g_inCrashhandler", g_inCrashhandler, false, ConfigKind::CrashHandlerFlag, String());
}

}  // namespace

Result<void> Configuration::Start() {
  FillTable();
  Result<void> result = HostInterfaces::Publish(kConfigurationInterface, kMethods);
  OSTRA_RETURN_IF_ERROR(result);
  for (ConfigurationEntry& entry : g_hostVariables.GetEntries()) {
    if (result) result = Register(entry);
  }
  if (!result) Stop();
  return result;
}

void Configuration::Stop() {
  for (ConfigurationEntry& entry : g_hostVariables.GetEntries()) Unregister(entry);
  FillTable();  // back to the defaults
  HostInterfaces::Withdraw(kConfigurationInterface);
}

}  // namespace ostra
