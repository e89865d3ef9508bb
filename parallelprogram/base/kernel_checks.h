// What checked kernels say when an index is wrong; they end the process then.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "ostra/core/types.h"

// Builds for debugging stop at an index outside a buffer and say where; others do not look.
#if !defined(NDEBUG) && !defined(OSTRA_CHECK_KERNEL_INDICES)
#define OSTRA_CHECK_KERNEL_INDICES
#endif

namespace ostra::kernel {

// Waits for ever in all threads but the first, which may say its line and end the process.
inline void BeginFailure() {
  static bool isSaid = false;
  while (__atomic_test_and_set(&isSaid, __ATOMIC_ACQ_REL)) {
  }  // until the first thread ends the process
}

[[noreturn]] inline void FailBufferIndex(const char* buffer, const char* file, int line, Int index, Int count) {
  BeginFailure();
  std::fprintf(stderr, "%s:%d: error: index %lld is outside the %lld elements of the buffer \"%s\"\n", file, line,
               static_cast<long long>(index), static_cast<long long>(count), buffer);
  std::abort();
}

[[noreturn]] inline void FailTextureLayer(const char* texture, const char* file, int line, UInt32 layer, Int count) {
  BeginFailure();
  std::fprintf(stderr, "%s:%d: error: layer %u is outside the %lld layers of the texture \"%s\"\n", file, line, layer,
               static_cast<long long>(count), texture);
  std::abort();
}

}  // namespace ostra::kernel

// For compilers that are told to check the indices of arrays (-fsanitize=bounds, without going on): what they call, in
// place of their run-time library.
#ifdef OSTRA_CHECK_KERNEL_ARRAYS
extern "C" [[noreturn, gnu::used, gnu::visibility("hidden")]] inline void __ubsan_handle_out_of_bounds_abort(
    void* data, void* index) {
  struct Place {
    const char* file;
    ostra::UInt32 line, column;
  };
  const auto& place = *static_cast<const Place*>(data);
  ostra::kernel::BeginFailure();
  // Arrays of kernels are small: what looks larger than any is below 0.
  std::fprintf(stderr, "%s:%u: error: index %d is outside of the array\n", place.file, place.line,
               static_cast<ostra::Int32>(reinterpret_cast<std::size_t>(index)));
  std::abort();
}
#endif
