#include "clients/python/parity.h"

#include <algorithm>
#include <vector>

#include "clients/python/arguments.h"
#include "clients/python/engine_call.h"
#include "conformance/kernel_folder.h"
#include "conformance/suite.h"
#include "ostra/core/silent_diagnostics.h"
#include "ostra/drawport/device_list.h"
#include "ostra/drawport/settings.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

namespace {

using conformance::ConformanceCase;
using conformance::ConformanceRow;

const std::vector<ConformanceCase>& GetGroups() {
  static const auto groups = conformance::GetAllConformanceCases();
  return groups;
}

Result<std::vector<ConformanceRow>> Run(Engine& engine, const ConformanceCase& group, const std::string& language) {
  OSTRA_RETURN_IF_ERROR(engine.GetGpu());
  OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create(language));
  SetDrawportShadingLanguage(id);
  static bool isRegistered = false;  // under the engine's mutex
  if (!isRegistered) OSTRA_RETURN_IF_ERROR(conformance::RegisterConformanceKernels());
  isRegistered = true;
  OSTRA_ASSIGN_OR_RETURN(const conformance::KernelFolder kernels, conformance::KernelFolder::Create());
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<DrawportDeviceInformation> devices, GetDrawportDevices());
  if (devices.IsEmpty()) return OSTRA_ILLEGAL_STATE("There is no GPU device.");
  const SilentDiagnosticStream silence;  // scenarios do some things wrong on purpose
  return group.run({kernels.GetUrl(), devices[0].filterWeightBits});
}

py::dict Describe(const ConformanceRow& row) {
  py::dict description;
  description["group"] = row.group;
  description["what"] = row.what;
  description["promised"] = row.promised;
  description["reached"] = row.reached;
  description["held"] = bool(row.isHeld);
  return description;
}

}  // namespace

py::list ListParityGroups() {
  py::list names;
  for (const ConformanceCase& group : GetGroups()) names.append(group.name);
  return names;
}

py::list RunParityGroup(const std::string& name, const std::string& language) {
  const std::vector<ConformanceCase>& groups = GetGroups();
  const auto group =
      std::find_if(groups.begin(), groups.end(), [&name](const ConformanceCase& each) { return each.name == name; });
  if (group == groups.end()) throw py::value_error("parity has no group " + Quote(name));
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  const auto rows = OrThrow(call.Run([&] { return Run(*engine, *group, language); }));
  py::list list;
  for (const ConformanceRow& row : rows) list.append(Describe(row));
  return list;
}

}  // namespace ostra::python
