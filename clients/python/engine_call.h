// EngineCall: the time in which a thread of Python uses the engine, without the interpreter lock.
//
//   const auto engine = OrThrow(Engine::Get());
//   EngineCall call(*engine);
//   const Result<void> done = call.Run([&] { return program.DispatchKernel(...); });
//   // the interpreter lock is held again
#pragma once

#include <pybind11/pybind11.h>

#include <functional>
#include <optional>

#include "clients/python/engine.h"
#include "parallelprogram/program/dispatch_stop_interface.h"

namespace ostra::python {

// An interrupt (Ctrl-C) stops the dispatch on the CPU of a call that the main thread makes; one on a GPU ends first.
// What Python's own handler raises is thrown then: KeyboardInterrupt. Where the program has another handler of SIGINT,
// which need not raise, nothing is stopped: Python calls it after the call, as it does for all signals.
class EngineCall {
 public:
  // Throws Exception when the interpreter ends. Asked before arguments are looked at, as modules can no longer be
  // imported then.
  static void CheckInterpreter();

  // Throws Exception when the interpreter ends, and in a process that was forked. With the interpreter lock.
  explicit EngineCall(Engine& engine);
  EngineCall(const EngineCall&) = delete;
  EngineCall& operator=(const EngineCall&) = delete;
  ~EngineCall();

  // The result of `function`, which runs under the engine's mutex and without the interpreter lock. Throws what a
  // signal raises.
  template <class Function>
  auto Run(Function&& function) -> decltype(function()) {
    std::optional<decltype(function())> result;
    {
      const pybind11::gil_scoped_release release;
      const Section section(*this);
      if (section.isOpen) result.emplace(function());
    }
    ThrowSignal();
    if (!result) ThrowInterrupted();
    return std::move(*result);
  }

  // Whether an interrupt has come, or the interpreter ends: work of several steps asks it between them. Any thread.
  bool IsStopped() const;

  // Waits until all calls have ended, while `stop` is called again and again, and refuses others. With the interpreter
  // lock, which is released while it waits.
  static void CloseAll(const std::function<void()>& stop);

 private:
  struct Section {
    explicit Section(EngineCall& engineCall) : call(engineCall), isOpen(engineCall.Begin()) {}
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
    ~Section() { call.End(); }

    EngineCall& call;
    const bool isOpen;
  };

  // Locks the engine; false when an interrupt has come before.
  bool Begin();
  void End();
  bool IsInterrupted() const;
  void ThrowSignal() const;
  // Of an interrupt that no handler of Python's has seen. It is no result of the call.
  [[noreturn]] static void ThrowInterrupted();

  Engine& _engine;
  const bool _isInterruptible;
  bool _hasLock = false;
};

}  // namespace ostra::python
