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

std::atomic<bool> g_isHandling{false};

extern "C" void HandleInterrupt(int number) {
  if (g_isHandling.exchange(true)) return;  // the former handler calls the one before, which is this
  g_isInterrupted.store(true);
  if (DispatchStopInterface* const running = g_running.load()) running->RequestStop();
  g_former.sa_handler(number);
  g_isHandling.store(false);
}

// Python's handler, or the application's, is called from this one, which stays in front of it. Signals that are ignored
// or end the process do so.
void InstallInterruptHandler() {
  struct sigaction known = {};
  if (sigaction(SIGINT, nullptr, &known) != 0 || known.sa_handler == HandleInterrupt) return;
  const bool isFunction = known.sa_handler != SIG_DFL && known.sa_handler != SIG_IGN;
  if (!isFunction || (known.sa_flags & SA_SIGINFO) != 0) return;
  g_former = known;
  known.sa_handler = HandleInterrupt;
  static_cast<void>(sigaction(SIGINT, &known, nullptr));  // without it a call is not stopped
}

bool IsMainThread() {
  thread_local const bool isMain = syscall(SYS_gettid) == getpid();
  return isMain;
}

// Whether SIGINT raises KeyboardInterrupt and does nothing else. Asked by every call: the module "signal" would look
// for a name of the handler, which takes longer than a small call.
bool HasOwnHandler() {
  static const auto& ask = *new py::object(py::module_::import("_signal").attr("getsignal"));
  static const auto& own = *new py::object(py::module_::import("_signal").attr("default_int_handler"));
  return ask(static_cast<int>(SIGINT)).is(own);
}

}  // namespace

void EngineCall::CheckInterpreter() {
  if (!g_isClosed.load()) return;
  throw Exception(
      Error::Make(kIllegalStateError, "The interpreter ends: no kernel runs any more.", "python", __LINE__));
}

EngineCall::EngineCall(Engine& engine) : _engine(engine), _isInterruptible(IsMainThread() && HasOwnHandler()) {
  OrThrow(engine.CheckProcess());
  g_runningCalls.fetch_add(1);
  if (!g_isClosed.load()) return;
  g_runningCalls.fetch_sub(1);
  CheckInterpreter();
}

EngineCall::~EngineCall() { g_runningCalls.fetch_sub(1); }

bool EngineCall::Begin() {
  if (_isInterruptible) {
    InstallInterruptHandler();
    g_isInterrupted.store(false);
  }
  _hasLock = _engine.GetMutex().try_lock();
  while (!_hasLock && !IsInterrupted()) _hasLock = _engine.GetMutex().try_lock_for(std::chrono::milliseconds(20));
  if (!_hasLock) return false;
  auto* const stop = FindInterface<DispatchStopInterface>(_engine.GetCpu().GetProgram());
  if (stop) stop->ForgetStop();
  if (_isInterruptible) g_running.store(stop);
  _engine.DeleteRetired();
  return !IsInterrupted();
}

bool EngineCall::IsInterrupted() const { return _isInterruptible && g_isInterrupted.load(); }

bool EngineCall::IsStopped() const { return IsInterrupted() || g_isClosed.load(); }

void EngineCall::End() {
  if (_isInterruptible) g_running.store(nullptr);
  if (_hasLock) _engine.GetMutex().unlock();
  _hasLock = false;
}

void EngineCall::ThrowSignal() const {
  if (_isInterruptible && g_isInterrupted.exchange(false) && PyErr_CheckSignals() != 0) throw py::error_already_set();
}

void EngineCall::ThrowInterrupted() {
  PyErr_SetString(PyExc_KeyboardInterrupt, "a signal has ended the wait for another call");
  throw py::error_already_set();
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
