#include "ostra/jobs/signal_stack.h"

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <cstdint>
#include <new>

namespace ostra {

namespace {

// Handlers write a line; the rest is for what the processor saves, which grows with its registers.
constexpr std::size_t kSize = 64 * 1024;
// A function that finds no room for its values may have left the pointer this far in front of the end.
constexpr std::uintptr_t kMargin = 16 * 1024;

std::atomic<bool> g_isRequested{false};
thread_local std::uintptr_t t_end = 0;

std::uintptr_t FindEndOfStack() {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
  void* end = nullptr;
  std::size_t size = 0;
  const int code = pthread_attr_getstack(&attributes, &end, &size);
  pthread_attr_destroy(&attributes);
  return code == 0 ? reinterpret_cast<std::uintptr_t>(end) : 0;
}

}  // namespace

SignalStack::SignalStack() {
  t_end = FindEndOfStack();
  stack_t known = {};
  if (sigaltstack(nullptr, &known) != 0 || (known.ss_flags & SS_DISABLE) == 0) return;
  _memory.reset(new (std::nothrow) Byte[kSize]);
  if (!_memory) return;
  stack_t added = {};
  added.ss_sp = _memory.get();
  added.ss_size = kSize;
  if (sigaltstack(&added, nullptr) != 0) _memory.reset();
}

SignalStack::~SignalStack() {
  t_end = 0;
  if (!_memory) return;
  stack_t none = {};
  none.ss_flags = SS_DISABLE;
  sigaltstack(&none, nullptr);
}

void SignalStack::RequestForWorkers() { g_isRequested.store(true); }

Bool SignalStack::IsRequestedForWorkers() { return g_isRequested.load(std::memory_order_relaxed); }

Bool SignalStack::IsUsedUp(const void* stackPointer) {
  return t_end != 0 && reinterpret_cast<std::uintptr_t>(stackPointer) < t_end + kMargin;
}

}  // namespace ostra
