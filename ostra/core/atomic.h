// Atomic values with the size and alignment of the plain ones, so that kernels and the GPU see the same bytes.
#pragma once

#include <atomic>

#include "ostra/core/types.h"

namespace ostra {

template <class T>
class Atomic {
 public:
  constexpr Atomic() = default;
  constexpr explicit Atomic(T value) : _value(value) {}
  // A copy holds the value that the source had when it was read.
  Atomic(const Atomic& other) : _value(other.LoadRelaxed()) {}
  Atomic& operator=(const Atomic& other) {
    Store(other.LoadRelaxed());
    return *this;
  }

  T Load() const { return _value.load(std::memory_order_acquire); }
  T LoadRelaxed() const { return _value.load(std::memory_order_relaxed); }
  void Store(T value) { _value.store(value, std::memory_order_release); }
  // Returns the value before.
  T Exchange(T value) { return _value.exchange(value, std::memory_order_acq_rel); }
  // Returns the value before; relaxed order, as counters need no more.
  T Add(T amount) { return _value.fetch_add(amount, std::memory_order_relaxed); }
  // Stores `desired` when the value is `expected`; otherwise puts the value into `expected` and returns false.
  Bool CompareExchange(T& expected, T desired) {
    return _value.compare_exchange_strong(expected, desired, std::memory_order_acq_rel);
  }
  // The underlying atomic, for operations beyond these.
  std::atomic<T>& GetAtomic() { return _value; }

 private:
  std::atomic<T> _value{};
};

using AtomicUInt32 = Atomic<UInt32>;
using AtomicInt32 = Atomic<Int32>;
template <class T>
using AtomicPtr = Atomic<T*>;

static_assert(sizeof(AtomicUInt32) == 4 && alignof(AtomicUInt32) == 4);

}  // namespace ostra
