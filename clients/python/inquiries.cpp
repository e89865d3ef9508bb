#include "clients/python/inquiries.h"

#include <algorithm>

#include "clients/python/engine_call.h"
#include "clients/python/python_buffer.h"
#include "ostra/config/configuration.h"
#include "ostra/core/nearest_word.h"
#include "ostra/drawport/device_list.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

namespace {

std::string Copy(const String& text) { return std::string(text.GetView()); }

py::dict DescribeDevice(const DrawportDeviceInformation& device) {
  py::list features;
  for (const DrawportFeature feature : device.features) features.append(std::string(GetDrawportFeatureText(feature)));
  py::dict description;
  description["name"] = Copy(device.name);
  description["kind"] = Copy(device.kind);
  description["backend"] = std::string(device.backend.GetView());
  description["api_version"] = Copy(device.apiVersion);
  description["memory"] = device.memory.total;
  description["available_memory"] = device.memory.available;
  description["features"] = features;
  description["usable"] = device.isUsable && !device.problem.IsPopulated();
  description["problem"] = Copy(device.problem);
  return description;
}

}  // namespace

py::list ListDevices() {
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  BaseArray<DrawportDeviceInformation> devices;
  OrThrow(call.Run([&]() -> Result<void> {
    static_cast<void>(engine->GetGpu());  // loads the backend; without a device the list says so
    auto found = GetDrawportDevices();
    if (found) devices = std::move(found).GetValue();
    return OK;
  }));
  py::list list;
  for (const DrawportDeviceInformation& device : devices) list.append(DescribeDevice(device));
  return list;
}

py::dict ListConfiguration() {
  const auto engine = OrThrow(Engine::Get());
  py::dict variables;
  for (const ConfigurationInformation& variable : OrThrow(Configuration::GetVariables())) {
    py::dict description;
    description["value"] = variable.value;
    description["configured"] = variable.state == ConfigState::Configured;
    description["help"] = Copy(variable.help);
    variables[py::str(Copy(variable.name))] = description;
  }
  return variables;
}

void Configure(const std::string& name, bool value) {
  const auto engine = OrThrow(Engine::Get());
  NearestWord nearest(name, 6);
  const BaseArray<ConfigurationInformation> variables = OrThrow(Configuration::GetVariables());
  const auto isNamed = [&](const ConfigurationInformation& variable) { return variable.name.GetView() == name; };
  if (std::none_of(variables.begin(), variables.end(), isNamed)) {
    for (const ConfigurationInformation& variable : variables) nearest.Try(variable.name.GetView());
    throw py::value_error("there is no configuration variable \"" + name + "\"" +
                          (nearest.Get().empty() ? std::string("; ostra.configuration() lists them")
                                                 : "; did you mean \"" + std::string(nearest.Get()) + "\"?"));
  }
  EngineCall call(*engine);
  OrThrow(call.Run([&] { return Configuration::SetValue(name, value ? "true" : "false", "ostra.configure"); }));
}

py::tuple GetDeviceMemory() {
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  std::pair<Int64, Int64> memory;
  OrThrow(call.Run([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(Session & gpu, engine->GetGpu());
    memory = gpu.GetProgram().GetAvailableAndTotalVRAMBudget();
    return OK;
  }));
  return py::make_tuple(memory.first, memory.second);
}

void MeasureDispatches(bool isOn) {
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  OrThrow(call.Run([&] { return engine->MeasureDispatches(isOn); }));
}

py::list TakeDispatchTimes() {
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  std::vector<EngineTime> times;
  OrThrow(call.Run([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(times, engine->TakeTimes());
    return OK;
  }));
  py::list list;
  for (const EngineTime& time : times)
    list.append(py::make_tuple(time.kernel, GetBackendName(time.backend), time.invocations, time.nanoseconds));
  return list;
}

}  // namespace ostra::python
