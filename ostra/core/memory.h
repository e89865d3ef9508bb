// The host's allocator. Every allocation can fail, and tests can make the n-th one fail.
//
//   AllocationFaults::FailNth(3);          // the third allocation from now on, over all threads, fails
//   ... run a scenario, expect an out-of-memory error ...
//   AllocationFaults::Disable();
//
// All functions are thread-safe.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Allocates `bytes` bytes, aligned for any fundamental type and for 32-byte vectors; null on failure or when `bytes`
// is negative. Zero bytes give a valid unique address. Owner: the caller, until FreeMem.
[[nodiscard]] OSTRA_API void* AllocMem(Int bytes);

// AllocMem with all bytes zero.
[[nodiscard]] OSTRA_API void* AllocZeroed(Int bytes);

// Releases memory of AllocMem or AllocZeroed. Null is allowed.
OSTRA_API void FreeMem(void* memory);

// Memory that is never given back (interned names, type descriptions); not counted as live. Null on failure.
[[nodiscard]] OSTRA_API void* AllocForever(Int bytes);

// Creates an object in AllocMem memory; null on failure. Released with DeleteObj.
template <class T, class... Arguments>
[[nodiscard]] T* NewObj(Arguments&&... arguments) {
  static_assert(alignof(T) <= 32);
  void* memory = AllocMem(static_cast<Int>(sizeof(T)));
  return memory ? ::new (memory) T(std::forward<Arguments>(arguments)...) : nullptr;
}

// Destroys an object of NewObj. Null is allowed.
template <class T>
void DeleteObj(T* object) {
  if (!object) return;
  object->~T();
  FreeMem(const_cast<std::remove_cv_t<T>*>(object));
}

// Copies `bytes` bytes between areas that do not overlap. The caller excludes null pointers and zero sizes.
inline void MemCopy(void* target, const void* source, Int bytes) {
  std::memcpy(target, source, static_cast<std::size_t>(bytes));
}

// MemCopy for areas that may overlap.
inline void MemMove(void* target, const void* source, Int bytes) {
  std::memmove(target, source, static_cast<std::size_t>(bytes));
}

// Switch and counters for tests of memory behaviour.
namespace AllocationFaults {
// Lets the `n`-th allocation from now on fail, counted from 1 over all threads. Only that one fails.
OSTRA_API void FailNth(Int n);
OSTRA_API void Disable();
// True when the allocation chosen by FailNth was reached.
OSTRA_API Bool HasFired();
// Allocations made so far, failed ones included.
OSTRA_API Int GetCount();
// Allocations made and not yet released.
OSTRA_API Int GetLiveCount();
}  // namespace AllocationFaults

// Allocator for standard containers underneath the host's facades: throws std::bad_alloc, which the facade catches.
template <class T>
struct HostAllocator {
  using value_type = T;
  HostAllocator() = default;
  template <class Other>
  HostAllocator(const HostAllocator<Other>&) {}  // NOLINT(google-explicit-constructor): allocators rebind implicitly
  T* allocate(std::size_t count) {
    void* memory = count > PTRDIFF_MAX / sizeof(T) ? nullptr : AllocMem(static_cast<Int>(count * sizeof(T)));
    if (!memory) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t) { FreeMem(memory); }
  template <class Other>
  bool operator==(const HostAllocator<Other>&) const {
    return true;
  }
};

}  // namespace ostra
