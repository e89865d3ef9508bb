// What a kernel class has when debuggers step through its kernel (OSTRA_KERNEL_IS_STEPPED): the body is a function of
// its own, and its caller lies in the line of the kernel. So a debugger that leaves one invocation comes to the next
// one through lines of the kernel file only.
#pragma once

#include "parallelprogram/program/kernel_loops.h"

#ifdef OSTRA_KERNEL_IS_STEPPED

namespace ostra::kernel {

// The invocations of a range, in ascending order.
template <class Group>
class KernelSteps {
 public:
  explicit KernelSteps(const KernelRange& range) : _range(range) { SetIds(); }
  Bool IsInside() const { return _done != _range.count; }
  void Next() {
    ++_done;
    SetIds();
  }

  Vec3<UInt32> global, local, group;
  UInt32 linear = 0;

 private:
  void SetIds() {
    const UInt32 index = _range.first + _done, row = index / _range.extent.x;
    global = {index % _range.extent.x, row % _range.extent.y, row / _range.extent.y};
    const Vec3<UInt32> size(Group::kX, Group::kY, Group::kZ);
    local = global % size;
    group = global / size;
    linear = global.x + GetLinearOffset<Group>(group.y);
  }

  const KernelRange& _range;
  UInt32 _done = 0;
};

}  // namespace ostra::kernel

#define OSTRA_KERNEL_BODY inline __attribute__((noinline))
#define OSTRA_KERNEL_STEPS(body)                                                                               \
  ::ostra::Result<void> RunRange(const ::ostra::KernelRange& range) override { return RunSteps<body>(range); } \
  template <class Body>                                                                                        \
  ::ostra::Result<void> RunSteps(const ::ostra::KernelRange& range) {                                          \
    const Body parameters(this->GetValues());                                                                  \
    for (::ostra::kernel::KernelSteps<OstraGroupSize> step(range); step.IsInside(); step.Next()) {             \
      if constexpr (::ostra::kernel::RangeLoops<Body, OstraGroupSize>::kCanFail)                               \
        OSTRA_RETURN_IF_ERROR(parameters.Run(step.global, step.local, step.group, step.linear, false));        \
      else                                                                                                     \
        parameters.Run(step.global, step.local, step.group, step.linear, false);                               \
    }                                                                                                          \
    return ::ostra::OK;                                                                                        \
  }

#else

#define OSTRA_KERNEL_BODY OSTRA_KERNEL_INLINE
#define OSTRA_KERNEL_STEPS(body)

#endif
