#include "apps/ostra/run/run_command.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "apps/ostra/output/shown_work.h"
#include "apps/ostra/run/compare_runs.h"
#include "apps/ostra/run/crash_guard.h"
#include "apps/ostra/run/first_difference.h"
#include "apps/ostra/run/run_report.h"
#include "apps/ostra/start_host.h"
#include "ostra/jobs/worker_threads.h"
#include "parallelprogram/device/step_limit.h"
#include "plans/profile/profile.h"
#include "plans/run/prepare_kernel.h"
#include "plans/run/program_run.h"
#include "plans/start_gpu.h"

OSTRA_UNIT("run_command");

namespace ostra::tool {

using namespace plans;

namespace {

Result<void> WriteOutputs(const RunPlan& plan, const ProgramRun& run) {
  for (const PlannedBuffer& buffer : plan.buffers) {
    if (!buffer.target) continue;
    const Int bytes = buffer.count * buffer.elementType.GetSize();
    std::optional<ProfilePart> part(std::in_place, "read back");
    part->AddBytes(bytes);
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> elements, run.GetBuffer(buffer.name));
    part.reset();
    part.emplace("write files");
    part->AddBytes(bytes);
    OSTRA_RETURN_IF_ERROR(SaveBuffer(*buffer.target, buffer.elementType, elements.GetFirstBlock(), plan.pictureSize));
  }
  return OK;
}

// What was done to the inputs is said before the work, and not among the data on standard output.
void WriteNotes(const RunPlan& plan) {
  for (const PlannedTexture& texture : plan.textures)
    for (const std::string& note : texture.contents.notes) WriteNote(note);
}

// Makes all repetitions and returns how long each took.
Result<std::vector<Float64>> Repeat(const RunOptions& options, ProgramRun& run) {
  std::vector<Float64> times;
  Progress progress("running", options.repeatCount * options.iterationCount, "dispatches");
  for (Int i = 0; i < options.repeatCount; ++i) {
    if (i > 0) OSTRA_RETURN_IF_ERROR(run.Restart());
    OSTRA_ASSIGN_OR_RETURN(const Float64 milliseconds, run.Run(options.iterationCount, progress));
    times.push_back(milliseconds);
  }
  return times;
}

Int ChooseStepLimit(const RunOptions& options, const Id& programClass) {
  if (options.stepLimit > 0) return options.stepLimit;
  if (!options.isChecked || programClass == kCpuProgramClass) return kDefaultStepLimit;
  return GetDefaultStepLimit();
}

constexpr Int kTraceRoom = Int{8} << 20;  // bytes for the values of one invocation

// Runs the kernel on the GPU as well, and compares. `run` is that of the GPU afterwards.
Result<void> RunOnGpu(const RunOptions& options, RunPlan& plan, const ProgramFile& file, ShownPrints& prints,
                      ProgramRun& run, RunReport& report) {
  ProgramFile gpuFile = file;
  gpuFile.stepLimit = ChooseStepLimit(options, kGpuProgramClass);
  OSTRA_ASSIGN_OR_RETURN(ProgramRun gpuRun, ProgramRun::Create(plan, kGpuProgramClass, gpuFile));
  gpuRun.ShowPrints(prints, "GPU");
  OSTRA_ASSIGN_OR_RETURN(report.gpuMilliseconds, Repeat(options, gpuRun));
  const ProfilePart part("compare");
  OSTRA_ASSIGN_OR_RETURN(report.difference, CompareRuns(plan, run, gpuRun));
  run = std::move(gpuRun);
  return OK;
}

Result<void> FindDifference(const RunOptions& options, RunPlan& plan, const ProgramFile& file,
                            const TracedKernel& traced, RunReport& report) {
  ProgramFile tracedFile = file;
  tracedFile.reports = {.hasReports = false, .hasChecks = false, .isTraced = true};
  tracedFile.printRoom = std::max(file.printRoom, kTraceRoom);
  tracedFile.classId = traced.classId;
  OSTRA_ASSIGN_OR_RETURN(report.firstDifference,
                         FindFirstDifference(plan, file, tracedFile, options.iterationCount, *options.differenceBound));
  return OK;
}

// Everything that needs objects of the kernel's module, which are gone when this returns.
Result<RunReport> Execute(const RunOptions& options, RunPlan& plan, const std::optional<TracedKernel>& traced,
                          WorkObserver& observer) {
  const Id& firstClass = options.backend == Backend::Gpu ? kGpuProgramClass : kCpuProgramClass;
  const ProgramFile file{options.kernelFile,
                         options.templateArgument,
                         {.hasReports = !options.isSilent, .hasChecks = options.isChecked},
                         options.printRoom,
                         ChooseStepLimit(options, firstClass),
                         {},
                         true,
                         &observer};
  OSTRA_ASSIGN_OR_RETURN(ProgramRun run, ProgramRun::Create(plan, firstClass, file));
  RunReport report;
  ShownPrints prints(options.isJson);
  const Bool isBoth = options.backend == Backend::Both;
  run.ShowPrints(prints, isBoth ? "CPU" : "");
  {
    // Drivers of GPUs are no business of the guard.
    const auto guard = options.backend == Backend::Gpu ? nullptr : std::make_unique<CrashGuard>(options.isChecked);
    OSTRA_ASSIGN_OR_RETURN(report.milliseconds, Repeat(options, run));
    if (!run.AreBufferEndsWhole()) return OSTRA_ILLEGAL_STATE("@", DescribeOutside(options.isChecked));
  }
  if (isBoth) OSTRA_RETURN_IF_ERROR(RunOnGpu(options, plan, file, prints, run, report));
  if (traced) OSTRA_RETURN_IF_ERROR(FindDifference(options, plan, file, *traced, report));
  OSTRA_RETURN_IF_ERROR(WriteOutputs(plan, run));
  for (const PlannedCounter& counter : plan.counters) {
    OSTRA_ASSIGN_OR_RETURN(const UInt32 value, run.GetCounter(counter.name));
    report.counters.emplace_back(counter.name.GetView(), value);
  }
  report.prints = prints.GetKept();
  report.lostPrints = prints.GetLostCount();
  return report;
}

}  // namespace

Result<void> Run(const RunOptions& options, std::span<const char* const> arguments) {
  if (options.isProfiled) Profile::Start(options.traceFile);
  OSTRA_ASSIGN_OR_RETURN(Host host, StartHost(arguments));
  if (options.backend != Backend::Cpu)
    OSTRA_RETURN_IF_ERROR(StartGpu(host, "--backend cpu runs the kernel without one"));
  if (options.isDebugged) SetWorkerThreadLimit(1);
  ShownWork observer;
  OSTRA_ASSIGN_OR_RETURN(const PreparedKernel kernel, PrepareKernel(options, host, observer));
  OSTRA_ASSIGN_OR_RETURN(RunPlan plan, MakeRunPlan(options, kernel.opened, kernel.parameters));
  WriteNotes(plan);
  std::optional<TracedKernel> traced;
  if (options.differenceBound) {
    OSTRA_ASSIGN_OR_RETURN(traced, PrepareTracedKernel(options, host, observer));
  }
  std::optional<LaneReport> lanes;
  if (options.isExplained) {
    OSTRA_ASSIGN_OR_RETURN(lanes, MakeLaneReport(options.kernelFile, kernel.opened));
    if (!lanes->reason.empty()) WriteReportLine(lanes->reason);
  }
  OSTRA_ASSIGN_OR_RETURN(RunReport report, Execute(options, plan, traced, observer));
  report.kernel = options.kernelFile.GetName().GetView();
  report.lanes = std::move(lanes);
  report.wasCompiled = kernel.wasCompiled;
  report.threadCount = GetWorkerThreadCount();
  if (options.isProfiled) {
    OSTRA_ASSIGN_OR_RETURN(report.profile, Profile::Finish());
  }
  const auto format = options.isJson ? FormatRunReportAsJson : FormatRunReport;
  OSTRA_ASSIGN_OR_RETURN(const std::string text, format(report, options, plan));
  return WriteReport(text);
}

}  // namespace ostra::tool
