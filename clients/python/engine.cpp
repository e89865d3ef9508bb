#include "clients/python/engine.h"

#include <pybind11/pybind11.h>
#include <unistd.h>

#include <algorithm>

#include "clients/python/engine_call.h"
#include "parallelprogram/device/step_limit.h"
#include "parallelprogram/program/dispatch_times_interface.h"
#include "parallelprogram/program/kernel_report_interface.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace {

std::shared_ptr<Engine> g_engine;  // guarded by the interpreter lock

Result<std::shared_ptr<Engine>> MakeEngine() {
  OSTRA_ASSIGN_OR_RETURN(Session cpu, Session::TryCreate());
  OSTRA_ASSIGN_OR_RETURN(KernelRuntime runtime, KernelRuntime::Create(cpu.GetHost()));
  // A forked child has none of the threads that the end of an engine waits for: there it stays as it is.
  const auto end = [](Engine* engine) {
    if (engine->CheckProcess()) delete engine;
  };
  return std::shared_ptr<Engine>(new Engine(std::move(cpu), std::move(runtime)), end);
}

}  // namespace

Result<std::shared_ptr<Engine>> Engine::Get() {
  if (!g_engine) {
    OSTRA_ASSIGN_OR_RETURN(g_engine, MakeEngine());
  }
  OSTRA_RETURN_IF_ERROR(g_engine->CheckProcess());
  return g_engine;
}

void Engine::Close() {
  if (!g_engine || !g_engine->CheckProcess()) return;
  EngineCall::CloseAll([engine = g_engine] {
    if (auto* const stop = FindInterface<DispatchStopInterface>(engine->_cpu.GetProgram())) stop->RequestStop();
  });
  g_engine = nullptr;
}

Engine::Engine(Session cpu, KernelRuntime runtime)
    : _process(getpid()), _cpu(std::move(cpu)), _runtime(std::move(runtime)) {}

Result<void> Engine::CheckProcess() const {
  if (getpid() == _process) return OK;
  return OSTRA_ILLEGAL_STATE(
      "This process was forked after ostra had started, and its threads are not here: use the start method \"spawn\" "
      "of multiprocessing, or make the first kernel after the fork.");
}

Result<KernelRuntime&> Engine::GetRuntime(bool isChecked) {
  if (!isChecked) return _runtime;
  if (!_checkedRuntime) {
    // The compiler's checks would end the process.
    const KernelRuntimeSettings settings = {.isChecked = true, .isOfLanguageAlone = true};
    OSTRA_ASSIGN_OR_RETURN(KernelRuntime runtime, KernelRuntime::Create(_cpu.GetHost(), settings));
    _checkedRuntime.emplace(std::move(runtime));
  }
  return *_checkedRuntime;
}

Result<Session&> Engine::GetGpu() {
  if (!_gpu) {
    OSTRA_ASSIGN_OR_RETURN(Session gpu, Session::TryCreate({.backend = Backend::kGpu}));
    OSTRA_ASSIGN_OR_RETURN(auto& reports, GetInterface<KernelReportInterface>(gpu.GetProgram()));
    reports.SetStepLimit(GetDefaultStepLimit());
    OSTRA_ASSIGN_OR_RETURN(auto& times, GetInterface<DispatchTimesInterface>(gpu.GetProgram()));
    if (_isMeasuring) OSTRA_RETURN_IF_ERROR(times.MeasureDispatches(true));
    _gpu.emplace(std::move(gpu));
  }
  return *_gpu;
}

Result<InternedId> Engine::MakeName(const char* kind) {
  return InternedId::Create("python." + std::string(kind) + std::to_string(++_nameCount));
}

Result<void> Engine::SetCounter(Backend backend, InternedId name, UInt32 value) {
  ParallelProgramInterface& program = GetSession(backend).GetProgram();
  const std::string key = (backend == Backend::kGpu ? "gpu " : "cpu ") + std::string(name.GetView());
  if (_counters.count(key) == 0) {
    OSTRA_RETURN_IF_ERROR(program.AddAtomicCounter(name, UInt32(0)));
    _counters.insert(key);
  }
  return program.SetAtomicCounter(name, value);
}

Result<void> Engine::MeasureDispatches(bool isOn) {
  _isMeasuring = isOn;
  OSTRA_ASSIGN_OR_RETURN(auto& times, GetInterface<DispatchTimesInterface>(_cpu.GetProgram()));
  OSTRA_RETURN_IF_ERROR(times.MeasureDispatches(isOn));
  if (!_gpu) return OK;
  OSTRA_ASSIGN_OR_RETURN(auto& gpuTimes, GetInterface<DispatchTimesInterface>(_gpu->GetProgram()));
  return gpuTimes.MeasureDispatches(isOn);
}

Result<std::vector<EngineTime>> Engine::TakeTimes() {
  std::vector<EngineTime> times;
  for (const Backend backend : {Backend::kCpu, Backend::kGpu}) {
    if (backend == Backend::kGpu && !_gpu) continue;
    OSTRA_ASSIGN_OR_RETURN(auto& program, GetInterface<DispatchTimesInterface>(GetSession(backend).GetProgram()));
    OSTRA_ASSIGN_OR_RETURN(const BaseArray<DispatchTime> taken, program.TakeDispatchTimes());
    for (const DispatchTime& time : taken) {
      const auto& sides = time.invocations;
      const Int invocations = Int{sides.x} * std::max<Int>(sides.y, 1) * std::max<Int>(sides.z, 1);
      times.push_back({_kernelNames[time.kernel.GetHashCode()], backend, invocations, time.duration});
    }
  }
  return times;
}

void Engine::Retire(const ProgramResource& resource) {
  if (!CheckProcess()) return;  // in a forked child the lock may be held by a thread that is not there
  const std::lock_guard lock(_retiredMutex);
  _retired.push_back(resource);
}

// What cannot be deleted goes with the program.
void Engine::DeleteRetired() {
  std::vector<ProgramResource> retired;
  {
    const std::lock_guard lock(_retiredMutex);
    retired.swap(_retired);
  }
  for (const ProgramResource& resource : retired) {
    ParallelProgramInterface& program = GetSession(resource.backend).GetProgram();
    if (resource.isTexture)
      static_cast<void>(program.DeleteTexture(resource.name, false));
    else
      static_cast<void>(program.DeleteUniformBuffer(resource.name));
  }
}

}  // namespace ostra::python
