#include "clients/python/engine.h"

#include <unistd.h>

OSTRA_UNIT("python");

namespace ostra::python {

namespace {

std::mutex g_engineMutex;
std::shared_ptr<Engine> g_engine;  // guarded by g_engineMutex

Result<std::shared_ptr<Engine>> MakeEngine() {
  OSTRA_ASSIGN_OR_RETURN(Session cpu, Session::TryCreate());
  OSTRA_ASSIGN_OR_RETURN(KernelRuntime runtime, KernelRuntime::Create(cpu.GetHost()));
  return std::make_shared<Engine>(std::move(cpu), std::move(runtime));
}

}  // namespace

Result<std::shared_ptr<Engine>> Engine::Get() {
  const std::lock_guard lock(g_engineMutex);
  if (!g_engine) {
    OSTRA_ASSIGN_OR_RETURN(g_engine, MakeEngine());
  }
  OSTRA_RETURN_IF_ERROR(g_engine->CheckProcess());
  return g_engine;
}

void Engine::Release() {
  const std::lock_guard lock(g_engineMutex);
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

Result<Session&> Engine::GetGpu() {
  if (!_gpu) {
    OSTRA_ASSIGN_OR_RETURN(Session gpu, Session::TryCreate({.backend = Backend::kGpu}));
    _gpu.emplace(std::move(gpu));
  }
  return *_gpu;
}

Result<InternedId> Engine::MakeKernelName() {
  return InternedId::Create("python.kernel" + std::to_string(++_kernelCount));
}

}  // namespace ostra::python
