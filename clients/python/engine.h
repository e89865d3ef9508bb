// Engine: the host, the sessions of CPU and GPU and the kernel runtime of the process that Python runs in.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include "clients/cpp/session.h"
#include "ostra/core/format.h"
#include "parallelprogram/kernelruntime/kernel_runtime.h"

namespace ostra::python {

// A buffer or texture of a program under a name of its own.
struct ProgramResource {
  Backend backend = Backend::kCpu;
  InternedId name;
  bool isTexture = false;
};

// A dispatch that was measured.
struct EngineTime {
  std::string kernel;
  Backend backend = Backend::kCpu;
  Int invocations = 0;
  Int nanoseconds = 0;
};

// An optional interface of a program. Error: illegal state if the program does not have it.
template <class Interface>
Result<Interface&> GetInterface(ParallelProgramInterface& program) {
  if (auto* const found = FindInterface<Interface>(program)) return *found;
  return MakeError(kIllegalStateError, "python", __LINE__, "The program does not have the interface @.",
                   Interface::kInterfaceId);
}

// Everything is used under its mutex, which is locked without the interpreter lock: calls of several threads run one
// after the other (EngineCall).
class Engine {
 public:
  // That of the process, made by the first call. Errors: those of sessions; illegal state in a process that was forked
  // after the first call. With the interpreter lock.
  static Result<std::shared_ptr<Engine>> Get();
  // Stops what runs, waits for it, and releases the reference that Get keeps: the engine ends with its last kernel.
  // Later calls fail. With the interpreter lock.
  static void Close();

  Engine(Session cpu, KernelRuntime runtime);

  std::timed_mutex& GetMutex() { return _mutex; }
  // The rest under the mutex.
  Result<void> CheckProcess() const;
  // `isChecked`: that of kernels whose indices, divisors and loops are checked. Error: out of memory.
  Result<KernelRuntime&> GetRuntime(bool isChecked);
  Session& GetCpu() { return _cpu; }
  // Error: there is no device.
  Result<Session&> GetGpu();
  bool HasStartedGpu() const { return _gpu.has_value(); }
  // That of the GPU must have been started.
  Session& GetSession(Backend backend) { return backend == Backend::kGpu ? *_gpu : _cpu; }
  Result<InternedId> MakeName(const char* kind);
  // The counter of this name of a program, with a value. Programs keep counters: there is one for each name.
  Result<void> SetCounter(Backend backend, InternedId name, UInt32 value);
  // From now on a kernel of a program is called `name` in times.
  void NameKernel(InternedId kernel, const std::string& name) { _kernelNames[kernel.GetHashCode()] = name; }
  // Measures the dispatches of both programs, or no more. Errors: those of DispatchTimesInterface.
  Result<void> MeasureDispatches(bool isOn);
  // Those that were measured since the last call: of the CPU, then of the GPU.
  Result<std::vector<EngineTime>> TakeTimes();
  // Deletes what was retired.
  void DeleteRetired();

  // Deletes a resource with the next call; in a process that was forked it does nothing. Without the mutex, from any
  // thread.
  void Retire(const ProgramResource& resource);

 private:
  std::timed_mutex _mutex;
  const int _process;
  Session _cpu;
  std::optional<Session> _gpu;
  KernelRuntime _runtime;
  std::optional<KernelRuntime> _checkedRuntime;
  Int _nameCount = 0;
  std::set<std::string> _counters;
  std::map<UInt64, std::string> _kernelNames;
  bool _isMeasuring = false;
  std::mutex _retiredMutex;
  std::vector<ProgramResource> _retired;  // guarded by _retiredMutex
};

}  // namespace ostra::python
