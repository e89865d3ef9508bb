// The kernel dialect in C++: what the text of a kernel file needs around it. Sources made from kernel files include it.
//
// A kernel file can also be included by hand, without the front step:
//
//   #include "parallelprogram/program/kernel_language.h"
//   namespace ostra::kernel {
//   namespace {
//   #include "net.example.scale.krn"
//   }
//   }
//   OSTRA_KERNEL_ENTRY(net_example_scale_krn, Scale, "net.example.scale.krn")     // see kernel_entry.h
//
// That works for the #define KERNELINPUTS form, with GROUPSIZE and the CPU_ directives before the kernel, and without
// INOUT parameters and noise (kernel_noise.h). Compile it with -fwrapv, and write 0.5f: a literal without suffix is a
// Float64 there, as everywhere in C++. One namespace holds one kernel. In bodies InGlobalInvocationID,
// InLocalInvocationID, InWorkGroupID and InWorkGroupSize are the IDs of the invocation.
#pragma once

#include "ostra/core/struct_type.h"
#include "ostra/math/vocabulary.h"
#include "parallelprogram/program/kernel_atomics.h"
#include "parallelprogram/program/kernel_buffer.h"
#include "parallelprogram/program/kernel_class.h"
#include "parallelprogram/program/kernel_entry.h"
#include "parallelprogram/program/kernel_parameters.h"

namespace ostra::kernel {

using namespace vocabulary;  // NOLINT: kernel files are written in these words

// What holds for a kernel file without the directive of the same name.
struct OstraGroupSize {
  static constexpr UInt32 kX = 256, kY = 1, kZ = 1;
};
struct OstraGranularity {
  static constexpr Int kValue = 16;
};
struct OstraSingleThreadedThreshold {
  static constexpr Int kValue = 0;
};
// The front step puts one in front of a kernel that reports something.
struct OstraReportTable {
  static constexpr const char* kText = nullptr;
};

// What a body sees under the name of a group-shared array.
template <class T>
struct GroupMemory {
  template <class Index>
  T& operator[](Index) const {
    static_assert(sizeof(Index) == 0,
                  "Group-shared memory holds what MAKELOCAL reads into it: on the CPU its elements are read with "
                  "LOCALDATA, and invocations of a group cannot exchange anything else.");
    return *static_cast<T*>(nullptr);
  }
};

}  // namespace ostra::kernel

// Directives, each on a line of its own before the kernel. The line after one must be empty: the translation for the
// GPU drops it.
#define GROUPSIZE(x, y, z)                                   \
  struct OstraGroupSize {                                    \
    static constexpr ::ostra::UInt32 kX = x, kY = y, kZ = z; \
  };
#define CPU_GRANULARITY(count)                    \
  struct OstraGranularity {                       \
    static constexpr ::ostra::Int kValue = count; \
  };
#define CPU_SINGLETHREADEDTHRESHOLD(count)        \
  struct OstraSingleThreadedThreshold {           \
    static constexpr ::ostra::Int kValue = count; \
  };

// The kernel: OSTRA_PARALLEL_KERNEL(Name, KERNELINPUTS) { body } OSTRA_PARALLEL_KERNEL_END
#define OSTRA_PARALLEL_KERNEL(name, ...)                 \
  OSTRA_KERNEL_PARAMETERS(name##Parameters, __VA_ARGS__) \
  OSTRA_KERNEL_CLASS(name, name##Parameters, false, void)
#define OSTRA_PARALLEL_KERNEL_END \
  }                               \
  ;
#define FP_KERNEL OSTRA_PARALLEL_KERNEL
#define FP_KERNEL_END OSTRA_PARALLEL_KERNEL_END

// The class of a kernel and the head of its body, which follows in braces.
#define OSTRA_KERNEL_CLASS(name, parameters, usesLinearInvocation, result)                                             \
  struct name##Body;                                                                                                   \
  class name final                                                                                                     \
      : public ::ostra::kernel::KernelClass<name, parameters, name##Body,                                              \
                                            ::ostra::kernel::Tuning<OstraGroupSize, OstraGranularity,                  \
                                                                    OstraSingleThreadedThreshold, OstraReportTable>> { \
   public:                                                                                                             \
    static constexpr const char* kComponentName = #name;                                                               \
    OSTRA_KERNEL_STEPS(name##Body)                                                                                     \
  };                                                                                                                   \
  struct name##Body : parameters {                                                                                     \
    explicit name##Body(const parameters& values) : parameters(values) {}                                              \
    [[maybe_unused]] static constexpr ::ostra::Bool kUsesLinearInvocation = usesLinearInvocation;                      \
    [[maybe_unused]] static constexpr ::ostra::Vec3<::ostra::UInt32> InWorkGroupSize{                                  \
        OstraGroupSize::kX, OstraGroupSize::kY, OstraGroupSize::kZ};                                                   \
    OSTRA_KERNEL_BODY result Run([[maybe_unused]] const ::ostra::Vec3<::ostra::UInt32>& InGlobalInvocationID,          \
                                 [[maybe_unused]] const ::ostra::Vec3<::ostra::UInt32>& InLocalInvocationID,           \
                                 [[maybe_unused]] const ::ostra::Vec3<::ostra::UInt32>& InWorkGroupID,                 \
                                 [[maybe_unused]] ::ostra::UInt32 ostraLinearInvocation,                               \
                                 [[maybe_unused]] ::ostra::Bool ostraIsInside) const

// What the front step adds to a kernel with a guard: invocations from UNIFORM(name) on have nothing to do, and those
// that run in the loop below it need not ask.
#define OSTRA_IS_INSIDE ostraIsInside
#define OSTRA_KERNEL_BOUND(name) \
  auto GetOstraBound() const { return ostraParameter_##name; }

// Parameters. Their members carry a prefix, so that a bare name is an error here as it is on the GPU.
#define UNIFORM(name) ostraParameter_##name
#ifdef OSTRA_CHECK_KERNEL_INDICES
#define UNIFORM_BUFFER(name) (ostraParameter_##name.GetChecked(#name, __FILE__, __LINE__))
#else
#define UNIFORM_BUFFER(name) ostraParameter_##name
#endif
#define CPU_PASS_BUFFER(name) ostraParameter_##name
#define CPU_CONSTREF(...) const __VA_ARGS__&
#define IGNORE_VARIABLE_GPU

// Group-shared memory is a read cache: here elements come from the buffer itself and nothing has to wait.
#define GROUPSHAREDMEM(type, name, size) [[maybe_unused]] const ::ostra::kernel::GroupMemory<type> name{};
#define MAKELOCAL(name, count, index)
#define LOCALDATA(name, index, x) UNIFORM_BUFFER(name)[x]
#define groupSharedBarrier static_cast<void>(0)

// The number of the invocation, counted over rows of 65535 groups as large ranges are dispatched on the GPU.
#define LinearInvocation() ostraLinearInvocation

#define ATOMIC
#define KERNEL_RETURN return ::ostra::OK
#define OSTRA_METHOD
#define CPU_SCOPE_START
#define CPU_SCOPE_END
