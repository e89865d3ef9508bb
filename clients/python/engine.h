// Engine: the host, the sessions and the kernel runtime of the process that Python runs in.
#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include "clients/cpp/session.h"
#include "parallelprogram/kernelruntime/kernel_runtime.h"

namespace ostra::python {

// Everything is used under its mutex, which is locked without the interpreter lock: calls of several threads run one
// after the other.
class Engine {
 public:
  // That of the process, made by the first call. Errors: those of sessions; illegal state in a process that was forked
  // after the first call.
  static Result<std::shared_ptr<Engine>> Get();
  // Releases the reference that Get keeps: the engine ends with its last kernel.
  static void Release();

  Engine(Session cpu, KernelRuntime runtime);

  std::mutex& GetMutex() { return _mutex; }
  // The rest under the mutex.
  Result<void> CheckProcess() const;
  KernelRuntime& GetRuntime() { return _runtime; }
  Session& GetCpu() { return _cpu; }
  // Error: there is no device.
  Result<Session&> GetGpu();
  Result<InternedId> MakeKernelName();

 private:
  std::mutex _mutex;
  const int _process;
  Session _cpu;
  std::optional<Session> _gpu;
  KernelRuntime _runtime;
  Int _kernelCount = 0;
};

}  // namespace ostra::python
