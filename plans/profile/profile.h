// What a command of the tool took its time for: its parts, the dispatches of its kernels, and a trace of both.
//
//   Profile::Start("trace.json");
//   { const ProfilePart part("read files", bytes); ReadFiles(); }
//   OSTRA_ASSIGN_OR_RETURN(const ProfileReport report, Profile::Finish());
//
// One for the process, used by the thread of the command. Parts do not lie in each other. A part is a scope of the
// monitor, too (ostra/monitor); while no profile was started, it is that alone.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "ostra/drawport/command_list.h"
#include "ostra/monitor/monitor.h"
#include "parallelprogram/program/parallel_program.h"

namespace ostra::plans {

// How often something happened and how long it took together.
struct ProfileTime {
  std::string name;
  Int count = 0;
  Int nanoseconds = 0;
  Int bytes = 0;  // that were moved; 0 where none are counted
};

struct ProfileKernel {
  ProfileTime time;      // of its dispatches; bytes: those of its buffers and textures, once for each
  Bool isOnGpu = false;  // measured by the device's clock
  Int shortest = 0, longest = 0;
  Int invocations = 0;
};

struct ProfileReport {
  std::vector<ProfileTime> parts;  // in the order in which they came
  std::vector<ProfileKernel> kernels;
  std::vector<std::string> notes;  // what could not be measured, and why
  Int nanoseconds = 0;             // from Start to Finish
  std::string traceFile;           // empty when none was written
};

class ProfilePart {
 public:
  explicit ProfilePart(const MonitorName& name);
  ProfilePart(const ProfilePart&) = delete;
  ProfilePart& operator=(const ProfilePart&) = delete;
  ~ProfilePart();

  void AddBytes(Int bytes) { _bytes += bytes; }

 private:
  const MonitorScope _scope;
  const std::string_view _name;
  const std::chrono::steady_clock::time_point _begin;
  Int _bytes = 0;
};

namespace Profile {

// `traceFile`: where Finish writes the trace; empty for none.
void Start(const std::string& traceFile);
Bool IsRunning();

// Lets a program measure its dispatches, and takes what it has measured. `bytes`: those of one dispatch's buffers and
// textures. A device without a clock is a note of the report.
void Measure(ParallelProgramInterface& program);
Result<void> Take(ParallelProgramInterface& program, Bool isOnGpu, Int bytes);

// The same for other work of a device. Nothing when it is not measured.
std::optional<UInt64> BeginWork(DrawportCommandList& list);
Result<void> EndWork(DrawportCommandList& list, std::optional<UInt64> number);
// When the device has done it. `invocations`: how much it was.
Result<void> TakeWork(DrawportCommandList& list, std::optional<UInt64> number, std::string_view name, Int invocations);

// Ends the profile and writes the trace. Errors: those of MonitorStop.
Result<ProfileReport> Finish();

}  // namespace Profile

}  // namespace ostra::plans
