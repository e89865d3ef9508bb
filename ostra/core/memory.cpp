#include "ostra/core/memory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "ostra/core/zero_memory.h"

namespace ostra {
namespace {

constexpr std::size_t kAlignment = 32;

std::atomic<Int> g_allocationCount{0};
std::atomic<Int> g_liveCount{0};
// Number of the allocation that is to fail; 0 when none is.
std::atomic<Int> g_failingAllocation{0};
std::atomic<bool> g_faultFired{false};

bool ShallFail() {
  const Int number = g_allocationCount.fetch_add(1, std::memory_order_relaxed) + 1;
  if (number != g_failingAllocation.load(std::memory_order_relaxed)) return false;
  g_faultFired.store(true, std::memory_order_relaxed);
  return true;
}

#if defined(__SANITIZE_ADDRESS__)
constexpr Bool kFindsOverruns = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr Bool kFindsOverruns = true;
#else
constexpr Bool kFindsOverruns = false;
#endif
#else
constexpr Bool kFindsOverruns = false;
#endif

// Aligned allocation of the C library is several times slower than plain one. So there is room for one step of
// alignment in front, at least half of it, and its size stands in the word before the memory. Not where a sanitizer
// looks at the end of each area.
static_assert(alignof(std::max_align_t) == kAlignment / 2);
using Distance = std::uint64_t;

void* AllocAligned(Int bytes) {
  const std::size_t size = bytes > 0 ? static_cast<std::size_t>(bytes) : 1;
  if constexpr (kFindsOverruns) return ::operator new(size, std::align_val_t(kAlignment), std::nothrow);
  auto* const base = static_cast<Byte*>(std::malloc(size + kAlignment));
  if (!base) return nullptr;
  const Distance distance = kAlignment - reinterpret_cast<std::uintptr_t>(base) % kAlignment;
  Byte* const memory = base + distance;
  std::memcpy(memory - sizeof(distance), &distance, sizeof(distance));
  return memory;
}

void FreeAligned(void* memory) {
  if constexpr (kFindsOverruns) return ::operator delete(memory, std::align_val_t(kAlignment));
  auto* const bytes = static_cast<Byte*>(memory);
  Distance distance = 0;
  std::memcpy(&distance, bytes - sizeof(distance), sizeof(distance));
  std::free(bytes - distance);
}

}  // namespace

void* AllocMem(Int bytes) {
  if (ShallFail() || bytes < 0) return nullptr;
  void* memory = AllocAligned(bytes);
  if (memory) g_liveCount.fetch_add(1, std::memory_order_relaxed);
  return memory;
}

void* AllocZeroed(Int bytes) {
  void* memory = AllocMem(bytes);
  if (memory) ZeroNewMemory(memory, bytes);
  return memory;
}

void FreeMem(void* memory) {
  if (!memory) return;
  g_liveCount.fetch_sub(1, std::memory_order_relaxed);
  FreeAligned(memory);
}

void* AllocForever(Int bytes) { return ShallFail() || bytes < 0 ? nullptr : AllocAligned(bytes); }

namespace AllocationFaults {

void FailNth(Int n) {
  g_faultFired.store(false, std::memory_order_relaxed);
  g_failingAllocation.store(n > 0 ? g_allocationCount.load(std::memory_order_relaxed) + n : 0,
                            std::memory_order_relaxed);
}

void Disable() { g_failingAllocation.store(0, std::memory_order_relaxed); }
Bool HasFired() { return g_faultFired.load(std::memory_order_relaxed); }
Int GetCount() { return g_allocationCount.load(std::memory_order_relaxed); }
Int GetLiveCount() { return g_liveCount.load(std::memory_order_relaxed); }

}  // namespace AllocationFaults
}  // namespace ostra
