#include "apps/ostra/start_host.h"

#include <string>
#include <vector>

#include "apps/ostra/tool_error.h"
#include "ostra/config/configuration.h"
#include "plans/names/nearest_name.h"

OSTRA_UNIT("start_host");

namespace ostra::tool {

using namespace plans;

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

}  // namespace ostra::tool
