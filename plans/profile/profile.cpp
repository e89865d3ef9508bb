#include "plans/profile/profile.h"

#include <algorithm>

#include "parallelprogram/program/dispatch_times_interface.h"

namespace ostra::plans {

namespace {

using Clock = std::chrono::steady_clock;

Int GetNanoseconds(Clock::duration duration) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
}

struct Running {
  ProfileReport report;
  Clock::time_point begin = Clock::now();
};
std::optional<Running> g_running;

void AddPart(std::string_view name, Int nanoseconds, Int bytes) {
  std::vector<ProfileTime>& parts = g_running->report.parts;
  auto found = std::find_if(parts.begin(), parts.end(), [&](const ProfileTime& part) { return part.name == name; });
  if (found == parts.end()) found = parts.insert(found, ProfileTime{std::string(name)});
  ++found->count;
  found->nanoseconds += nanoseconds;
  found->bytes += bytes;
}

ProfileKernel& FindKernel(std::string_view name, Bool isOnGpu) {
  std::vector<ProfileKernel>& kernels = g_running->report.kernels;
  for (ProfileKernel& kernel : kernels)
    if (kernel.time.name == name && kernel.isOnGpu == isOnGpu) return kernel;
  kernels.push_back({{std::string(name)}, isOnGpu});
  return kernels.back();
}

void AddWork(std::string_view name, Bool isOnGpu, DrawportWorkTime time, Int invocations, Int bytes) {
  ProfileKernel& kernel = FindKernel(name, isOnGpu);
  kernel.shortest = kernel.time.count == 0 ? time.duration : std::min(kernel.shortest, time.duration);
  kernel.longest = std::max(kernel.longest, time.duration);
  ++kernel.time.count;
  kernel.time.nanoseconds += time.duration;
  kernel.time.bytes += bytes;
  kernel.invocations += invocations;
  if (isOnGpu) MonitorAddDeviceScope(name, time.begin, time.duration);
}

void AddNote(const Error& error) {
  std::vector<std::string>& notes = g_running->report.notes;
  std::string note(error.GetMessage().GetView());
  if (std::find(notes.begin(), notes.end(), note) == notes.end()) notes.push_back(std::move(note));
}

}  // namespace

ProfilePart::ProfilePart(const MonitorName& name) : _scope(name), _name(name.text), _begin(Clock::now()) {}

ProfilePart::~ProfilePart() {
  if (g_running) AddPart(_name, GetNanoseconds(Clock::now() - _begin), _bytes);
}

void Profile::Start(const std::string& traceFile) {
  g_running.emplace();
  g_running->report.traceFile = traceFile;
  if (!traceFile.empty()) static_cast<void>(MonitorStart());  // fails only where one runs
}

Bool Profile::IsRunning() { return g_running.has_value(); }

void Profile::Measure(ParallelProgramInterface& program) {
  auto* const times = g_running ? FindInterface<DispatchTimesInterface>(program) : nullptr;
  if (!times) return;
  if (const auto started = times->MeasureDispatches(true); !started) AddNote(started.GetError());
}

Result<void> Profile::Take(ParallelProgramInterface& program, Bool isOnGpu, Int bytes) {
  auto* const times = g_running ? FindInterface<DispatchTimesInterface>(program) : nullptr;
  if (!times) return OK;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<DispatchTime> taken, times->TakeDispatchTimes());
  for (const DispatchTime& dispatch : taken) {
    const auto& sides = dispatch.invocations;
    AddWork(dispatch.kernel.GetView(), isOnGpu, {dispatch.begin, dispatch.duration},
            Int{sides.x} * std::max<Int>(sides.y, 1) * std::max<Int>(sides.z, 1), bytes);
  }
  return OK;
}

std::optional<UInt64> Profile::BeginWork(DrawportCommandList& list) {
  if (!g_running) return std::nullopt;
  const auto number = list.BeginTimedWork();
  if (number) return *number;
  AddNote(number.GetError());
  return std::nullopt;
}

Result<void> Profile::EndWork(DrawportCommandList& list, std::optional<UInt64> number) {
  return number ? list.EndTimedWork(*number) : Result<void>(OK);
}

Result<void> Profile::TakeWork(DrawportCommandList& list, std::optional<UInt64> number, std::string_view name,
                               Int invocations) {
  if (!number) return OK;
  OSTRA_ASSIGN_OR_RETURN(const DrawportWorkTime time, list.TakeWorkTime(*number));
  AddWork(name, true, time, invocations, 0);
  return OK;
}

Result<ProfileReport> Profile::Finish() {
  ProfileReport report = std::move(g_running->report);
  report.nanoseconds = GetNanoseconds(Clock::now() - g_running->begin);
  g_running.reset();
  if (!report.traceFile.empty()) OSTRA_RETURN_IF_ERROR(MonitorStop(report.traceFile));
  return report;
}

}  // namespace ostra::plans
