#include "clients/python/engine_call.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

namespace ostra::python {

namespace py = pybind11;

namespace {

std::atomic<int> g_runningCalls{0};
std::atomic<bool> g_isClosed{false};

// Of the call of the main thread.
std::atomic<bool> g_isInterrupted{false};
std::atomic<DispatchStopInterface*> g_running{nullptr};
struct sigaction g_former = {};

extern "C" void HandleInterrupt(int number) {
  g_isInterrupted.store(true);
  if (DispatchStopInterface* const running = g_running.load()) running->RequestStop();
  g_former.sa_handler(number);
}

// Python's handler, or the application's, is called from this one. Signals that are ignored or end the process do so.
class InterruptHandler {
 public:
  InterruptHandler() {
    g_isInterrupted.store(false);
    if (sigaction(SIGINT, nullptr, &g_former) != 0) return;
    const bool isFunction = g_former.sa_handler != SIG_DFL && g_former.sa_handler != SIG_IGN;
    if (!isFunction || (g_former.sa_flags & SA_SIGINFO) != 0) return;
    struct sigaction own = g_former;
    own.sa_handler = HandleInterrupt;
    _isInstalled = sigaction(SIGINT, &own, nullptr) == 0;
  }
  InterruptHandler(const InterruptHandler&) = delete;
  InterruptHandler& operator=(const InterruptHandler&) = delete;
  ~InterruptHandler() {
    if (_isInstalled) sigaction(SIGINT, &g_former, nullptr);
  }

 private:
  bool _isInstalled = false;
};

thread_local std::optional<InterruptHandler> t_handler;

}  // namespace

EngineCall::EngineCall(Engine& engine) : _engine(engine), _isMainThread(syscall(SYS_gettid) == getpid()) {
  OrThrow(engine.CheckProcess());
  g_runningCalls.fetch_add(1);
  if (!g_isClosed.load()) return;
  g_runningCalls.fetch_sub(1);
  throw Exception(
      Error::Make(kIllegalStateError, "The interpreter ends: no kernel runs any more.", "python", __LINE__));
}

EngineCall::~EngineCall() { g_runningCalls.fetch_sub(1); }

bool EngineCall::Begin() {
  if (_isMainThread) t_handler.emplace();
  const auto isInterrupted = [this] { return _isMainThread && g_isInterrupted.load(); };
  _hasLock = _engine.GetMutex().try_lock();
  while (!_hasLock && !isInterrupted()) _hasLock = _engine.GetMutex().try_lock_for(std::chrono::milliseconds(20));
  if (!_hasLock) return false;
  auto* const stop = FindInterface<DispatchStopInterface>(_engine.GetCpu().GetProgram());
  if (stop) stop->ForgetStop();
  if (_isMainThread) g_running.store(stop);
  _engine.DeleteRetired();
  return !isInterrupted();
}

void EngineCall::End() {
  if (_isMainThread) g_running.store(nullptr);
  if (_hasLock) _engine.GetMutex().unlock();
  _hasLock = false;
  if (_isMainThread) t_handler.reset();
}

void EngineCall::ThrowSignal() const {
  if (_isMainThread && g_isInterrupted.exchange(false) && PyErr_CheckSignals() != 0) throw py::error_already_set();
}

void EngineCall::CloseAll(const std::function<void()>& stop) {
  g_isClosed.store(true);
  const py::gil_scoped_release release;
  while (g_runningCalls.load() > 0) {
    stop();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace ostra::python
