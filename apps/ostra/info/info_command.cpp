#include "apps/ostra/info/info_command.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/output/table.h"
#include "apps/ostra/start_host.h"
#include "ostra/config/configuration.h"
#include "ostra/jobs/worker_threads.h"
#include "ostra/object/class.h"
#include "ostra/object/registration.h"
#include "parallelprogram/program/kernel_interface.h"

namespace ostra::tool {

namespace {

using Json = nlohmann::ordered_json;
using Rows = std::vector<std::vector<std::string>>;

std::string TextOf(std::string_view text) { return std::string(text); }

struct Information {
  BaseArray<ModuleInformation> modules;
  BaseArray<Id> classes;
  BaseArray<Id> kernelClasses;
  BaseArray<Id> interfaces;
  BaseArray<ConfigurationInformation> variables;
  Int threadCount = 0;
};

Result<Information> Collect() {
  Information information;
  OSTRA_ASSIGN_OR_RETURN(information.modules, ModuleLoader::GetModules());
  OSTRA_ASSIGN_OR_RETURN(information.classes, ClassRegistry::GetClasses().GetIds());
  OSTRA_ASSIGN_OR_RETURN(const ClassRegistry& kernelClasses, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(information.kernelClasses, kernelClasses.GetIds());
  OSTRA_ASSIGN_OR_RETURN(information.interfaces, InterfaceRegistry::GetIds());
  OSTRA_ASSIGN_OR_RETURN(information.variables, Configuration::GetVariables());
  information.threadCount = GetWorkerThreadCount();
  return information;
}

std::string FormatIds(const char* title, const BaseArray<Id>& ids) {
  std::string text = std::string("\n") + title + "\n";
  for (const Id& id : ids) text += "  " + TextOf(id.GetView()) + "\n";
  return text;
}

std::string FormatTables(const Information& information) {
  std::string text = "threads  " + std::to_string(information.threadCount) + "\n\nmodules\n";
  Rows modules, variables;
  for (const ModuleInformation& module : information.modules)
    modules.push_back({"  " + TextOf(module.id.GetView()), TextOf(module.version), TextOf(module.path)});
  text += FormatTable(modules);
  text += FormatIds("classes", information.classes) + FormatIds("kernel classes", information.kernelClasses) +
          FormatIds("interfaces", information.interfaces);
  text += "\nconfiguration\n";
  for (const ConfigurationInformation& variable : information.variables)
    variables.push_back({"  " + TextOf(variable.name), variable.value ? "true" : "false",
                         variable.state == ConfigState::Configured ? "configured" : "default", TextOf(variable.help)});
  return text + FormatTable(variables);
}

Json ListIds(const BaseArray<Id>& ids) {
  Json list = Json::array();
  for (const Id& id : ids) list.push_back(TextOf(id.GetView()));
  return list;
}

std::string FormatJson(const Information& information) {
  Json modules = Json::array(), variables = Json::array();
  for (const ModuleInformation& module : information.modules)
    modules.push_back(
        {{"id", TextOf(module.id.GetView())}, {"version", TextOf(module.version)}, {"path", TextOf(module.path)}});
  for (const ConfigurationInformation& variable : information.variables)
    variables.push_back({{"name", TextOf(variable.name)},
                         {"value", variable.value},
                         {"configured", variable.state == ConfigState::Configured},
                         {"help", TextOf(variable.help)}});
  const Json json = {{"threads", information.threadCount},
                     {"modules", modules},
                     {"classes", ListIds(information.classes)},
                     {"kernelClasses", ListIds(information.kernelClasses)},
                     {"interfaces", ListIds(information.interfaces)},
                     {"configuration", variables}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

Result<void> ShowInfo(Bool isJson, std::span<const char* const> arguments) {
  OSTRA_ASSIGN_OR_RETURN(const Host host, StartHost(arguments));
  OSTRA_ASSIGN_OR_RETURN(const Information information, Collect());
  return WriteOutput(isJson ? FormatJson(information) : FormatTables(information));
}

}  // namespace ostra::tool
