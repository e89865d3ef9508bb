// Counts every allocation of the process while loops run.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <new>
#include <set>
#include <thread>

#include "ostra/core/memory.h"
#include "ostra/jobs/parallel_for.h"
#include "tests/jobs/thread_limit.h"

namespace {

std::atomic<long> g_count{0};

void* Counted(std::size_t size) {
  g_count.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size ? size : 1);
}

void* CountedAligned(std::size_t size, std::size_t alignment) {
  g_count.fetch_add(1, std::memory_order_relaxed);
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

}  // namespace

// NOLINTBEGIN: replacing the allocation functions of the program is the point
void* operator new(std::size_t size) { return Counted(size); }
void* operator new[](std::size_t size) { return Counted(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Counted(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return CountedAligned(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return CountedAligned(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }

#ifndef OSTRA_SANITIZED  // the sanitizers replace malloc themselves
extern "C" {
void* __libc_malloc(std::size_t size);
void* malloc(std::size_t size) {
  g_count.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(size);
}
}
#endif
// NOLINTEND

namespace ostra {
namespace {

// Returns when four threads have taken part in one loop: no thread is created after it. All pieces but the first, in
// which the caller is alone, wait for that.
void CallAllThreads() {
  std::mutex mutex;
  std::set<std::thread::id> threads;
  const auto arrive = [&] {
    const std::scoped_lock lock(mutex);
    threads.insert(std::this_thread::get_id());
    return threads.size();
  };
  ParallelFor::Dynamic(64, [&](Int begin, Int) {
    while (arrive() < 4 && begin != 0) std::this_thread::yield();
    if (begin == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));  // longer than a caller stays alone
  });
}

// With a pause between loops workers have to be called again.
void RunLoops(int count, std::chrono::microseconds pause) {
  std::atomic<Int> sum{0};
  for (int round = 0; round < count; ++round) {
    ParallelFor::Dynamic(64, [&](Int begin, Int end) {
      sum += end - begin;
      const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(5);
      while (std::chrono::steady_clock::now() < until) {
      }
    });
    if (pause.count() > 0) std::this_thread::sleep_for(pause);
  }
  EXPECT_EQ(sum.load(), Int{count} * 64);
}

TEST(ParallelForAllocationTest, TheCountersSeeAllocations) {
  const long before = g_count.load();
  int* volatile value = new int(1);  // volatile: an allocation without effect may be left out
  EXPECT_GT(g_count.load(), before);
  delete value;
#ifndef OSTRA_SANITIZED
  const long beforeMalloc = g_count.load();
  void* volatile memory = std::malloc(10);
  EXPECT_GT(g_count.load(), beforeMalloc);
  std::free(memory);
#endif
}

TEST(ParallelForAllocationTest, ALoopAllocatesNothingOnceWarm) {
  const ThreadLimit limit(4);
  for (const auto pause : {std::chrono::microseconds(0), std::chrono::microseconds(300)}) {
    CallAllThreads();
    RunLoops(300, pause);
    const long before = g_count.load();
    const Int hostBefore = AllocationFaults::GetCount();
    RunLoops(1000, pause);
    EXPECT_EQ(g_count.load(), before) << "pause " << pause.count();
    EXPECT_EQ(AllocationFaults::GetCount(), hostBefore);
  }
}

}  // namespace
}  // namespace ostra
