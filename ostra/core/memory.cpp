#include "ostra/core/memory.h"

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "ostra/core/memory_limit.h"
#include "ostra/core/zero_memory.h"

namespace ostra {
namespace {

constexpr std::size_t kAlignment = 32;

std::atomic<Int> g_allocationCount{0};
std::atomic<Int> g_liveCount{0};
// Number of the allocation that is to fail; 0 when none is.
std::atomic<Int> g_failingAllocation{0};
std::atomic<bool> g_faultFired{false};

std::atomic<Int> g_memoryLimit{std::numeric_limits<Int>::max()};
std::atomic<Int> g_largeBytes{0};
std::atomic<Int> g_refusedBytes{0};
constexpr Int kLargeArea = Int(1) << 20;

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
// alignment in front, at least half of it, and its size stands in the word before the memory, with that of the area.
// Not where a sanitizer looks at the end of each area.
static_assert(alignof(std::max_align_t) == kAlignment / 2);
constexpr int kDistanceBits = 8;

struct AreaWord {
  std::uint64_t word;
  AreaWord(std::size_t distance, Int bytes) : word((static_cast<std::uint64_t>(bytes) << kDistanceBits) | distance) {}
  explicit AreaWord(const void* memory) {
    std::memcpy(&word, static_cast<const Byte*>(memory) - sizeof(word), sizeof(word));
  }
  std::size_t GetDistance() const { return word & ((1U << kDistanceBits) - 1); }
  Int GetSize() const { return static_cast<Int>(word >> kDistanceBits); }
};

// Bytes that an area counts with.
Int GetLargeSize(void* memory) {
  if constexpr (kFindsOverruns) return static_cast<Int>(malloc_usable_size(memory));
  return AreaWord(memory).GetSize();
}

void* AllocAligned(Int bytes) {
  const std::size_t size = bytes > 0 ? static_cast<std::size_t>(bytes) : 1;
  if constexpr (kFindsOverruns) return ::operator new(size, std::align_val_t(kAlignment), std::nothrow);
  auto* const base = static_cast<Byte*>(std::malloc(size + kAlignment));
  if (!base) return nullptr;
  const std::size_t distance = kAlignment - reinterpret_cast<std::uintptr_t>(base) % kAlignment;
  Byte* const memory = base + distance;
  const AreaWord area(distance, bytes);
  std::memcpy(memory - sizeof(area.word), &area.word, sizeof(area.word));
  return memory;
}

void FreeAligned(void* memory) {
  if constexpr (kFindsOverruns) return ::operator delete(memory, std::align_val_t(kAlignment));
  std::free(static_cast<Byte*>(memory) - AreaWord(memory).GetDistance());
}

}  // namespace

void* AllocMem(Int bytes) {
  if (ShallFail() || bytes < 0) return nullptr;
  const Bool isLarge = bytes >= kLargeArea;
  if (isLarge && !ReserveMemory(bytes)) return nullptr;
  void* memory = AllocAligned(bytes);
  if (isLarge && !memory) ReturnMemory(bytes);
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
  if (const Int size = GetLargeSize(memory); size >= kLargeArea) ReturnMemory(size);
  FreeAligned(memory);
}

void* AllocForever(Int bytes) { return ShallFail() || bytes < 0 ? nullptr : AllocAligned(bytes); }

void SetMemoryLimit(Int bytes) { g_memoryLimit.store(bytes, std::memory_order_relaxed); }

MemoryUse GetMemoryUse() {
  return {g_memoryLimit.load(std::memory_order_relaxed), g_largeBytes.load(std::memory_order_relaxed),
          g_refusedBytes.load(std::memory_order_relaxed)};
}

Bool ReserveMemory(Int bytes) {
  const Int before = g_largeBytes.fetch_add(bytes, std::memory_order_relaxed);
  if (bytes <= g_memoryLimit.load(std::memory_order_relaxed) - before) return true;
  g_largeBytes.fetch_sub(bytes, std::memory_order_relaxed);
  g_refusedBytes.store(bytes, std::memory_order_relaxed);
  return false;
}

void ReturnMemory(Int bytes) { g_largeBytes.fetch_sub(bytes, std::memory_order_relaxed); }

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
