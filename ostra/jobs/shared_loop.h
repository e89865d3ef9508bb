// A parallel loop that other threads can join. Internal to this folder.
//
// The calling thread opens a loop, works in it, closes it and waits until its helpers have left. Loops lie in a fixed
// table that is never released: a worker may look at one that has just been closed, it only cannot join it.
//
// Every thread has a share of the indices, the same in each loop of as many indices, so that it finds in its caches
// what it has left there. It takes pieces of its own share first, and then of those that have most left.
#pragma once

#include <array>
#include <atomic>

#include "ostra/jobs/parallel_for.h"
#include "ostra/jobs/rate.h"

namespace ostra {

class Job;

// What is to be done: [begin, count) in pieces of at least `granularity` indices.
struct LoopWork {
  PieceFunction* function;
  void* context;
  Int begin;
  Int count;
  Int granularity;
  Int threadCount;  // threads that may take part, the caller included

  // An exception ends the process: it would leave the stack that helpers work on.
  void Call(Int first, Int end) const noexcept { function(context, first, end); }
};

class alignas(64) SharedLoop {
 public:
  // Opens a loop for others; null when too many are open, and then the caller works alone. `rate` is what is known
  // about the duration of an index. Helpers begin at once, or when `helpDelay` ticks are over or the caller has
  // measured that the rest is worth their while.
  static SharedLoop* Open(const LoopWork& work, const Rate& rate, UInt64 helpDelay = 0);
  // Works until no index is left. Returns what an index has cost this thread in ticks; 0 when it came too late for any.
  Float64 Work() { return Work(_rate, 0); }
  // Closes the loop to new helpers, waits for those inside and returns the loop. After it, all effects of the helpers
  // are visible to the caller.
  void Close();

  // In the child of a fork: no helper has come along.
  static void ForgetHelpers();

  // For workers: joins one of the open loops and works in it until no index is left there.
  static Bool HasOpenLoops();
  // Whether there is a thread between Open and the end of Close.
  static Bool HasUsedLoops();
  static void HelpOne();

 private:
  static constexpr Int kMaxShareCount = 32;

  // Indices that no thread has taken yet: next .. end - 1.
  struct alignas(64) Share {
    std::atomic<Int> next{0};
    Int end = 0;
    Int GetLeft() const { return end - next.load(std::memory_order_relaxed); }
  };

  void Divide();
  Int ChooseShare();
  Float64 Work(Rate rate, Int ownShare);
  Bool Take(const Rate& rate, Int ownShare, Int& begin, Int& end);
  Bool TakeFrom(Share& share, const Rate& rate, Int divisor, Int& begin, Int& end);
  Int GetLeft() const;
  Bool Join();
  void Leave();
  void CallMore(const Rate& rate);
  void AwaitHelpTime() const;
  void Hide();
  UInt64 GetBit() const;

  // Free seats in the upper half, helpers inside in the lower half. A helper joins by taking a seat; without seats the
  // loop is closed.
  std::atomic<UInt32> _seats{0};
  LoopWork _work{};
  Rate _rate;
  std::atomic<UInt64> _helpTime{0};  // ticks before which helpers take nothing
  Job* _job = nullptr;               // the caller's job is the current job of its helpers, too
  std::atomic<UInt32> _chosen{0};    // a bit for each share that a thread has chosen
  Int _shareCount = 0;
  std::array<Share, kMaxShareCount> _shares;
};

}  // namespace ostra
