#include "apps/ostra/run/lane_report.h"

#include <algorithm>

#include "ostra/object/class.h"
#include "parallelprogram/program/kernel_group_interface.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_range_interface.h"

namespace ostra::tool {

using namespace kernelruntime;

Result<LaneReport> MakeLaneReport(const Url& kernelFile, const OpenedKernel& opened) {
  OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create(kernelFile.GetName().GetView()));
  OSTRA_ASSIGN_OR_RETURN(const ClassRegistry& classes, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, classes.FindEntryValue(id));
  OSTRA_ASSIGN_OR_RETURN(const StrongRef<KernelInterface> kernel, kernelClass->CreateObject<KernelInterface>());
  const auto* const range = FindInterface<KernelRangeInterface>(*kernel);
  const auto* const groups = FindInterface<KernelGroupInterface>(*kernel);
  LaneReport report;
  if (range) report.count = std::max(Int{range->GetLaneCount()}, Int{1});
  if (groups) report.count = std::max(Int{groups->GetLaneCount()}, Int{1});
  // Of a kernel that runs groups, parts may run one invocation after the other.
  if (report.count > 1 && !groups) return report;
  OSTRA_ASSIGN_OR_RETURN(report.reason, opened.ExplainLanes());
  if (report.reason.empty() && report.count == 1)
    report.reason = std::string(kernelFile.GetView()) + ": note: the kernel has a wide form, which is left out here";
  return report;
}

std::string FormatLaneReport(const LaneReport& report) {
  return (report.count == 1 ? "one" : std::to_string(report.count)) + " at a time";
}

}  // namespace ostra::tool
