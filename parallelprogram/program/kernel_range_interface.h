// KernelRangeInterface: an optional second interface of kernel objects that run many invocations per call.
//
// A program asks for it once, when the kernel is added or copied. A class that has it gives the same results and stops
// at the same error as calls of KernelInterface::Kernel; classes made from kernel files have it by themselves.
#pragma once

#include "ostra/core/atomic.h"
#include "ostra/math/vector.h"
#include "ostra/object/interface.h"

namespace ostra {

// A run of consecutive invocations of one dispatch.
struct KernelRange {
  // Invocations of the whole dispatch per axis. Linear index = (z * extent.y + y) * extent.x + x.
  Vec3<UInt32> extent;
  // The run: linear indices first .. first + count - 1.
  UInt32 first = 0;
  UInt32 count = 0;
  // True: one after the other in ascending order. False: the invocations are independent of each other.
  Bool isOrdered = false;
  // Non-zero once an invocation anywhere has failed: a kernel that can fail reads it (relaxed) before each invocation
  // and returns when it is set. Never null.
  const Atomic<Byte>* stop = nullptr;
};

class KernelRangeInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.kernelrangeinterface"_id;

  // Runs the invocations of `range`, which lies within the extent. Returns the first error. Called from many threads
  // at once for different runs. Exceptions become errors, as those of KernelInterface::Kernel.
  virtual Result<void> RunRange(const KernelRange& range) = 0;

  // Invocations that a range computes at once; fewer take as long, so that long ones are shared in ranges of so many.
  // 1: they run one after the other. 0, for classes that do not say: no range is shorter than the granularity, however
  // long it takes; other classes may get shorter ones.
  virtual UInt32 GetLaneCount() const { return 0; }
};

}  // namespace ostra
