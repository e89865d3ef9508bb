#include "apps/ostra/start_host.h"

#include <string>
#include <vector>

#include "apps/ostra/names/nearest_name.h"
#include "apps/ostra/tool_error.h"
#include "ostra/config/configuration.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/device_list.h"

OSTRA_UNIT("start_host");

namespace ostra::tool {

namespace {

// Once all modules that a command always has are loaded.
Result<void> CheckConfigurationNames() {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<String> unknown, Configuration::GetUnknownNames());
  if (unknown.IsEmpty()) return OK;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<ConfigurationInformation> variables, Configuration::GetVariables());
  std::vector<std::string> names;
  for (const ConfigurationInformation& variable : variables) names.emplace_back(variable.name.GetView());
  return OSTRA_USAGE_ERROR("there is no configuration variable \"@\"@", unknown[0], SuggestName(unknown[0], names));
}

}  // namespace

Result<Host> StartHost(std::span<const char* const> arguments) {
  HostOptions options;
  options.arguments = arguments;
  OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create(options));
  OSTRA_RETURN_IF_ERROR(host.LoadModule("parallelprogram"));
  OSTRA_RETURN_IF_ERROR(CheckConfigurationNames());
  return host;
}

Result<void> StartGpu(Host& host, std::string_view hint) {
  if (auto loaded = host.LoadModule("drawport_vulkan"); !loaded)
    return OSTRA_ILLEGAL_STATE("there is no GPU backend (@): @", hint, loaded.GetError());
  OSTRA_ASSIGN_OR_RETURN(const DrawportCacheRef cache, GetDefaultDrawportCache());
  if (!cache->GetCacheType().IsEmpty()) return OK;
  const auto devices = GetDrawportDevices();  // says why
  if (devices) return OSTRA_ILLEGAL_STATE("there is no GPU device (@)", hint);
  return OSTRA_ILLEGAL_STATE("there is no GPU device (@): @", hint, devices.GetError());
}

}  // namespace ostra::tool
