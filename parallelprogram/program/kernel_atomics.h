// Atomic operations of kernel bodies, on counters and on elements of buffers.
//
//   uint old;
//   AtomicAdd(GetAtomicCounter(hits), 1u, old);                     // old: the value before
//   AtomicMax(UNIFORM_BUFFER(highest)[bin], value, old);
//
// Relaxed order: a dispatch makes nothing else visible between its invocations.
#pragma once

#include "ostra/core/atomic.h"

namespace ostra::kernel {

// The counter of an AtomicUInt32 parameter.
inline AtomicUInt32& GetAtomicCounter(AtomicUInt32* counter) { return *counter; }

// A counter is operated on by its value, any other place as it is.
inline UInt32& GetAtomicPlace(AtomicUInt32& counter) { return reinterpret_cast<UInt32&>(counter); }
inline Int32& GetAtomicPlace(AtomicInt32& counter) { return reinterpret_cast<Int32&>(counter); }
inline UInt32& GetAtomicPlace(UInt32& place) { return place; }
inline Int32& GetAtomicPlace(Int32& place) { return place; }

#define OSTRA_ATOMIC_OPERATION(name, builtin)                                       \
  template <class Place, class T>                                                   \
  void name(Place& place, T value, T& old) {                                        \
    old = static_cast<T>(builtin(&GetAtomicPlace(place), value, __ATOMIC_RELAXED)); \
  }
OSTRA_ATOMIC_OPERATION(AtomicAdd, __atomic_fetch_add)
OSTRA_ATOMIC_OPERATION(AtomicSub, __atomic_fetch_sub)
OSTRA_ATOMIC_OPERATION(AtomicAnd, __atomic_fetch_and)
OSTRA_ATOMIC_OPERATION(AtomicOr, __atomic_fetch_or)
OSTRA_ATOMIC_OPERATION(AtomicXor, __atomic_fetch_xor)
OSTRA_ATOMIC_OPERATION(AtomicExchange, __atomic_exchange_n)
#undef OSTRA_ATOMIC_OPERATION

// Stores what `choose` makes of the value there and `value`, as one step.
template <class Place, class T, class Choose>
void AtomicUpdate(Place& place, T value, T& old, Choose&& choose) {
  auto& target = GetAtomicPlace(place);
  auto known = __atomic_load_n(&target, __ATOMIC_RELAXED);
  while (
      !__atomic_compare_exchange_n(&target, &known, choose(known, value), true, __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {
  }
  old = static_cast<T>(known);
}

template <class Place, class T>
void AtomicMin(Place& place, T value, T& old) {
  AtomicUpdate(place, value, old, [](T known, T other) { return other < known ? other : known; });
}
template <class Place, class T>
void AtomicMax(Place& place, T value, T& old) {
  AtomicUpdate(place, value, old, [](T known, T other) { return known < other ? other : known; });
}

// Stores `value` when `expected` is there; `old` is what was there.
template <class Place, class T>
void AtomicCompareExchange(Place& place, T expected, T value, T& old) {
  old = expected;
  __atomic_compare_exchange_n(&GetAtomicPlace(place), &old, value, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
}

}  // namespace ostra::kernel
