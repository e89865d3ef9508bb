#include "apps/ostra/info/info_command.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/output/table.h"
#include "apps/ostra/start_host.h"
#include "ostra/config/configuration.h"
#include "ostra/drawport/device_list.h"
#include "ostra/jobs/worker_threads.h"
#include "ostra/object/class.h"
#include "ostra/object/registration.h"
#include "parallelprogram/program/kernel_interface.h"
#include "plans/values/text.h"

namespace ostra::tool {

using namespace plans;

namespace {

using Json = nlohmann::ordered_json;
using Rows = std::vector<std::vector<std::string>>;

struct Information {
  BaseArray<ModuleInformation> modules;
  BaseArray<Id> classes;
  BaseArray<Id> kernelClasses;
  BaseArray<Id> interfaces;
  BaseArray<ConfigurationInformation> variables;
  Int threadCount = 0;
  BaseArray<DrawportDeviceInformation> devices;
  std::string noDevice;  // why there is none
};

// A machine without a GPU is no failure: the reason is what the user wants to know.
void CollectDevices(Host& host, Information& information) {
  auto loaded = host.LoadModule("drawport_vulkan");
  auto devices = loaded ? GetDrawportDevices() : Result<BaseArray<DrawportDeviceInformation>>(loaded.TakeError());
  if (devices)
    information.devices = std::move(devices).GetValue();
  else
    information.noDevice = TextOf(devices.GetError().GetMessage().GetView());
}

Result<Information> Collect(Host& host) {
  Information information;
  CollectDevices(host, information);
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

std::string FormatSize(Int64 bytes) {
  return bytes < 0 ? std::string("unknown") : std::to_string(bytes >> 20) + " MiB";
}

std::string ListFeatures(const DrawportDeviceInformation& device) {
  std::string text;
  for (const DrawportFeature feature : device.features)
    text += (text.empty() ? "" : ", ") + TextOf(GetDrawportFeatureText(feature));
  return text.empty() ? "none" : text;
}

std::string ListMissing(const DrawportDeviceInformation& device) {
  std::string text;
  for (const String& name : device.missing) text += (text.empty() ? "" : ", ") + TextOf(name);
  if (!device.canDraw) text += (text.empty() ? "" : ", ") + std::string("drawing");
  return text.empty() ? "nothing that programs can ask for" : text;
}

std::string FormatFormats(const DrawportFormatCounts& formats) {
  return std::to_string(formats.sampled) + " of " + std::to_string(kPixelFormatCount) + " sampled, " +
         std::to_string(formats.filtered) + " filtered, " + std::to_string(formats.shaderReadWrite) +
         " read and written by kernels";
}

std::string FormatTables(const Information& information) {
  std::string text = "threads  " + std::to_string(information.threadCount) + "\n\nmodules\n";
  Rows modules, variables;
  for (const ModuleInformation& module : information.modules)
    modules.push_back({"  " + TextOf(module.id.GetView()), TextOf(module.version), TextOf(module.path)});
  text += FormatTable(modules);
  text += FormatIds("classes", information.classes) + FormatIds("kernel classes", information.kernelClasses) +
          FormatIds("interfaces", information.interfaces);
  text += FormatDevices(information.devices, information.noDevice);
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

Json ListDevices(const BaseArray<DrawportDeviceInformation>& devices) {
  Json list = Json::array();
  for (const DrawportDeviceInformation& device : devices) {
    Json features = Json::array();
    for (const DrawportFeature feature : device.features) features.push_back(TextOf(GetDrawportFeatureText(feature)));
    Json missing = Json::array();
    for (const String& name : device.missing) missing.push_back(TextOf(name));
    list.push_back({{"name", TextOf(device.name)},
                    {"kind", TextOf(device.kind)},
                    {"backend", TextOf(device.backend.GetView())},
                    {"apiVersion", TextOf(device.apiVersion)},
                    {"memory", {{"total", device.memory.total}, {"available", device.memory.available}}},
                    {"usable", device.isUsable},
                    {"problem", TextOf(device.problem)},
                    {"canDraw", device.canDraw},
                    {"features", features},
                    {"missing", missing},
                    {"formats",
                     {{"sampled", device.formats.sampled},
                      {"filtered", device.formats.filtered},
                      {"shaderReadWrite", device.formats.shaderReadWrite}}},
                    {"filterWeightBits", device.filterWeightBits}});
  }
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
                     {"devices", ListDevices(information.devices)},
                     {"noDevice", information.noDevice},
                     {"modules", modules},
                     {"classes", ListIds(information.classes)},
                     {"kernelClasses", ListIds(information.kernelClasses)},
                     {"interfaces", ListIds(information.interfaces)},
                     {"configuration", variables}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string FormatDevices(const BaseArray<DrawportDeviceInformation>& devices, const std::string& noDevice) {
  std::string text = "\nGPU devices\n";
  if (devices.IsEmpty()) return text + "  no device: " + noDevice + "\n";
  for (Int i = 0; i < devices.GetCount(); ++i) {
    const DrawportDeviceInformation& device = devices[i];
    text += "  " + (device.isUsable ? std::to_string(i) : "-") + "  " + TextOf(device.name) + "\n";
    if (!device.isUsable) {
      text += "     cannot be used: " + TextOf(device.problem) + "\n";
      continue;
    }
    if (device.problem.IsPopulated()) {
      text += "     does not start: " + TextOf(device.problem) + "\n";
      continue;
    }
    text += FormatTable(
        {{"     kind", TextOf(device.kind) + ", " + TextOf(device.backend.GetView()) + " " + TextOf(device.apiVersion)},
         {"     memory", FormatSize(device.memory.total) + ", " + FormatSize(device.memory.available) + " available"},
         {"     features", ListFeatures(device) + (device.canDraw ? ", drawing" : "")},
         {"     lacks", ListMissing(device)},
         {"     formats", FormatFormats(device.formats)}});
  }
  return text;
}

Result<void> ShowInfo(Bool isJson, std::span<const char* const> arguments) {
  OSTRA_ASSIGN_OR_RETURN(Host host, StartHost(arguments));
  OSTRA_ASSIGN_OR_RETURN(const Information information, Collect(host));
  return WriteOutput(isJson ? FormatJson(information) : FormatTables(information));
}

}  // namespace ostra::tool
