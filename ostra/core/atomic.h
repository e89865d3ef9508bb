// Atomic values with the size and alignment of the plain ones, so that kernels and the GPU see the same bytes.
//
// The compiler's own operations do the work: every kernel includes this header, and the standard's brings in strings,
// threads and clocks.
#pragma once

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

  T Load() const { return __atomic_load_n(&_value, __ATOMIC_ACQUIRE); }
  T LoadRelaxed() const { return __atomic_load_n(&_value, __ATOMIC_RELAXED); }
  void Store(T value) { __atomic_store_n(&_value, value, __ATOMIC_RELEASE); }
  // Returns the value before.
  T Exchange(T value) { return __atomic_exchange_n(&_value, value, __ATOMIC_ACQ_REL); }
  // Returns the value before; relaxed order, as counters need no more.
  T Add(T amount) { return __atomic_fetch_add(&_value, amount, __ATOMIC_RELAXED); }
  // Stores `desired` when the value is `expected`; otherwise puts the value into `expected` and returns false.
  Bool CompareExchange(T& expected, T desired) {
    return __atomic_compare_exchange_n(&_value, &expected, desired, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
  }

 private:
  static_assert(__atomic_always_lock_free(sizeof(T), nullptr));
  alignas(sizeof(T)) T _value{};
};

using AtomicUInt32 = Atomic<UInt32>;
using AtomicInt32 = Atomic<Int32>;
template <class T>
using AtomicPtr = Atomic<T*>;

static_assert(sizeof(AtomicUInt32) == 4 && alignof(AtomicUInt32) == 4);

// The number of references to a shared object, which begins with one.
class ReferenceCount {
 public:
  void Add() { __atomic_fetch_add(&_count, 1, __ATOMIC_RELAXED); }
  // True for the last reference: what other threads did with the object is then visible to this one.
  [[nodiscard]] Bool Drop() { return __atomic_fetch_sub(&_count, 1, __ATOMIC_ACQ_REL) == 1; }
  Bool IsOne() const { return __atomic_load_n(&_count, __ATOMIC_ACQUIRE) == 1; }

 private:
  Int32 _count = 1;
};

}  // namespace ostra
