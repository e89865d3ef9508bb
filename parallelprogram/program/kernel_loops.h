// The loops that run a kernel's body over a range of invocations.
//
// Each body is compiled for several levels of the x86-64 instruction set, and the processor's best is taken at run
// time. One level only is compiled where the compiler's flags already ask for a newer processor, without optimisation,
// for other processors and under sanitizers.
#pragma once

#include <type_traits>

#include "ostra/math/lane_levels.h"
#include "ostra/math/vector.h"
#include "parallelprogram/program/kernel_range_interface.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OSTRA_KERNEL_IS_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define OSTRA_KERNEL_IS_SANITIZED
#endif
#endif
#if defined(__x86_64__) && defined(__OPTIMIZE__) && !defined(__AVX2__) && !defined(OSTRA_KERNEL_IS_SANITIZED)
#define OSTRA_KERNEL_LEVELS
#endif

// Whether kernels are compiled for lanes of a level, too: of all, or of the only one that the compiler's flags ask for.
// OSTRA_KERNEL_IS_SCALAR turns it off, OSTRA_KERNEL_HAS_SANITIZED_LANES turns it on under sanitizers.
#if !defined(__OPTIMIZE__) || defined(OSTRA_CHECK_KERNEL_INDICES) || defined(OSTRA_KERNEL_IS_SCALAR) || \
    (defined(OSTRA_KERNEL_IS_SANITIZED) && !defined(OSTRA_KERNEL_HAS_SANITIZED_LANES))
#define OSTRA_KERNEL_HAS_LANES(level) 0
#elif defined(OSTRA_KERNEL_LEVELS)
#define OSTRA_KERNEL_HAS_LANES(level) 1
#else
#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)
#define OSTRA_KERNEL_ONLY_LEVEL 2
#elif defined(__AVX2__) && defined(__FMA__) && defined(__F16C__) && defined(__BMI2__)
#define OSTRA_KERNEL_ONLY_LEVEL 1
#else
#define OSTRA_KERNEL_ONLY_LEVEL 0
#endif
#define OSTRA_KERNEL_HAS_LANES(level) (level == OSTRA_KERNEL_ONLY_LEVEL)
#endif

#define OSTRA_KERNEL_INLINE inline __attribute__((always_inline))
#define OSTRA_KERNEL_FLAT __attribute__((always_inline))

// Code that was not made for wide vectors, such as the functions that read textures, is several times slower as long as
// something is left in the upper halves of vector registers. Compilers clear them, but GCC 12 not always.
#ifdef __AVX__
#define OSTRA_KERNEL_CLEAR_UPPER_HALVES __builtin_ia32_vzeroupper()
#else
#define OSTRA_KERNEL_CLEAR_UPPER_HALVES static_cast<void>(0)
#endif

// Says of the loop that follows that its iterations are independent of each other. Bodies that do not become vector
// instructions are no mistake.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wpass-failed"
#define OSTRA_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#else
#define OSTRA_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#endif

namespace ostra::kernel {

// Instruction sets in ascending order: every x86-64 processor; with 256-bit vectors; with 512-bit vectors.
enum class InstructionLevel { kBaseline, kVectors256, kVectors512 };

// The level of this processor.
inline InstructionLevel DetectInstructionLevel() {
#ifdef OSTRA_KERNEL_LEVELS
  return static_cast<InstructionLevel>(CountLaneLevels() - 1);
#else
  return InstructionLevel::kBaseline;
#endif
}

// The level that kernels of this shared object run at. Tests lower it; not while a kernel runs.
inline InstructionLevel g_instructionLevel = DetectInstructionLevel();

// The wide form of a body for an instruction level (kernel_lanes.inl); a kernel that has one specializes this:
//
//   static constexpr Bool kExists = true;
//   static constexpr UInt32 kCount = 8;                              // invocations at a time
//   static void Run(const Body& body, const KernelRange& range);     // independent invocations only
template <class Body, InstructionLevel level>
struct LaneForm {
  static constexpr Bool kExists = false;
  static constexpr UInt32 kCount = 1;
};

// What LinearInvocation() adds to the global x for each row of groups.
template <class Group>
constexpr UInt32 GetLinearOffset(UInt32 groupY) {
  return groupY * (65535u * Group::kX);
}

template <class Body, class Group>
class RangeLoops {
  using Ids = Vec3<UInt32>;
  static constexpr UInt32 kMax = 0xffffffffu;

 public:
  static constexpr Bool kCanFail =
      !std::is_void_v<decltype(std::declval<const Body&>().Run(Ids(), Ids(), Ids(), UInt32(), Bool()))>;

  // Looks for a stop before each invocation and returns the first error.
  static Result<void> RunFallible(const Body& body, const KernelRange& range) {
    for (Rows rows(range); rows.IsInside(); rows.Next()) {
      const Row row(rows);
      for (UInt32 x = rows.begin; x < rows.end; ++x) {
        if (range.stop->LoadRelaxed()) return OK;
        OSTRA_RETURN_IF_ERROR(row.Run(body, x, x + row.linearOffset));
      }
    }
    return OK;
  }

  static void Run(const Body& body, const KernelRange& range) {
    if (range.isOrdered) return RunOrdered(body, range);
#ifdef OSTRA_KERNEL_ONLY_LEVEL
    RunLevel<static_cast<InstructionLevel>(OSTRA_KERNEL_ONLY_LEVEL)>(body, range);
#else
#ifdef OSTRA_KERNEL_LEVELS
    if (g_instructionLevel == InstructionLevel::kVectors512)
      return RunLevel<InstructionLevel::kVectors512>(body, range);
    if (g_instructionLevel == InstructionLevel::kVectors256)
      return RunLevel<InstructionLevel::kVectors256>(body, range);
#endif
    RunLevel<InstructionLevel::kBaseline>(body, range);
#endif
  }

  // Invocations that Run computes at a time.
  static UInt32 GetLaneCount() {
#ifdef OSTRA_KERNEL_ONLY_LEVEL
    return LaneForm<Body, static_cast<InstructionLevel>(OSTRA_KERNEL_ONLY_LEVEL)>::kCount;
#else
#ifdef OSTRA_KERNEL_LEVELS
    if (g_instructionLevel == InstructionLevel::kVectors512)
      return LaneForm<Body, InstructionLevel::kVectors512>::kCount;
    if (g_instructionLevel == InstructionLevel::kVectors256)
      return LaneForm<Body, InstructionLevel::kVectors256>::kCount;
#endif
    return LaneForm<Body, InstructionLevel::kBaseline>::kCount;
#endif
  }

 private:
  template <InstructionLevel level>
  static void RunLevel(const Body& body, const KernelRange& range) {
    if constexpr (LaneForm<Body, level>::kExists) return LaneForm<Body, level>::Run(body, range);
#ifdef OSTRA_KERNEL_LEVELS
    else if constexpr (level == InstructionLevel::kVectors512)
      return RunVectors512(body, range);
    else if constexpr (level == InstructionLevel::kVectors256)
      return RunVectors256(body, range);
#endif
    else
      RunBaseline(body, range);
  }

  static constexpr Bool HasBound() {
    if constexpr (requires(const Body& body) { body.GetOstraBound(); })
      return std::is_same_v<decltype(std::declval<const Body&>().GetOstraBound()), UInt32>;
    else
      return false;
  }
  // Whether the kernel has a guard that compares as these loops count.
  static constexpr Bool kHasBound = HasBound();

  // The pieces of rows that a range consists of: invocations begin ... end - 1 of the row (y, z).
  struct Rows {
    OSTRA_KERNEL_INLINE explicit Rows(const KernelRange& range) : extent(range.extent), left(range.count) {
      const UInt32 row = range.first / extent.x;
      begin = range.first - row * extent.x;
      y = row % extent.y;
      z = row / extent.y;
      SetEnd();
    }
    OSTRA_KERNEL_INLINE Bool IsInside() const { return left != 0; }
    OSTRA_KERNEL_INLINE void Next() {
      left -= end - begin;
      begin = 0;
      if (++y == extent.y) {
        y = 0;
        ++z;
      }
      SetEnd();
    }
    OSTRA_KERNEL_INLINE void SetEnd() { end = left < extent.x - begin ? begin + left : extent.x; }

    const Ids extent;
    UInt32 left, begin, end, y, z;
  };

  // What the invocations of a row have in common.
  struct Row {
    OSTRA_KERNEL_INLINE explicit Row(const Rows& rows)
        : y(rows.y), z(rows.z), linearOffset(GetLinearOffset<Group>(rows.y / Group::kY)) {}
    OSTRA_KERNEL_INLINE auto Run(const Body& body, UInt32 x, UInt32 linear, Bool isInside = false) const {
      return body.Run(Ids(x, y, z), Ids(x % Group::kX, y % Group::kY, z % Group::kZ),
                      Ids(x / Group::kX, y / Group::kY, z / Group::kZ), linear, isInside);
    }
    const UInt32 y, z, linearOffset;
  };

  OSTRA_KERNEL_INLINE static void RunRowInOrder(const Body& body, const Rows& rows) {
    const Row row(rows);
    for (UInt32 x = rows.begin; x < rows.end; ++x) row.Run(body, x, x + row.linearOffset);
  }

  // The invocations at the end of a row that the kernel's own guard sends away, as a rule.
  __attribute__((noinline, cold)) static void RunRest(const Body& body, Rows rows, UInt32 begin) {
    rows.begin = begin;
    RunRowInOrder(body, rows);
  }

  // Runs the invocations whose index is below the bound of the kernel's guard and returns the first that is not. No
  // test is left in this loop, which would make masked stores: some processors execute them slowly.
  template <class RunOne>
  OSTRA_KERNEL_INLINE static UInt32 RunBelowBound(const Body& body, UInt32 begin, UInt32 end, RunOne&& run) {
    if constexpr (kHasBound) {
      const UInt32 bound = body.GetOstraBound();
      end = bound < begin ? begin : bound < end ? bound : end;
    }
    OSTRA_INDEPENDENT_ITERATIONS
    for (UInt32 i = begin; i < end; ++i) run(i);
    return end;
  }

  // A loop becomes vector instructions when its variable is the index that the body uses; for LinearInvocation() that
  // needs numbers which do not wrap.
  // What is not inlined gets `original`: a copy whose address went elsewhere could be changed by any store.
  OSTRA_KERNEL_INLINE static void RunRowIndependently(const Body& body, const Body& original, const Rows& rows) {
    const Row row(rows);
    UInt32 done;
    if constexpr (Body::kUsesLinearInvocation) {
      const UInt32 offset = row.linearOffset;
      if (offset > kMax - rows.end) return RunRowInOrder(body, rows);
      done = RunBelowBound(body, rows.begin + offset, rows.end + offset,
                           [&](UInt32 i) OSTRA_KERNEL_FLAT { row.Run(body, i - offset, i, kHasBound); }) -
             offset;
    } else {
      done = RunBelowBound(body, rows.begin, rows.end,
                           [&](UInt32 x) OSTRA_KERNEL_FLAT { row.Run(body, x, 0, kHasBound); });
    }
    if constexpr (kHasBound) {
      if (done < rows.end) RunRest(original, rows, done);
    }
  }

  // The parameters are copied, so that the compiler knows that stores to buffers do not change them.
  OSTRA_KERNEL_INLINE static void RunIndependently(const Body& parameters, const KernelRange& range) {
    const Body body = parameters;
    for (Rows rows(range); rows.IsInside(); rows.Next()) RunRowIndependently(body, parameters, rows);
  }

  __attribute__((noinline, flatten)) static void RunOrdered(const Body& parameters, const KernelRange& range) {
    const Body body = parameters;
    for (Rows rows(range); rows.IsInside(); rows.Next()) RunRowInOrder(body, rows);
  }

  __attribute__((noinline, flatten)) static void RunBaseline(const Body& body, const KernelRange& range) {
    OSTRA_KERNEL_CLEAR_UPPER_HALVES;
    RunIndependently(body, range);
    OSTRA_KERNEL_CLEAR_UPPER_HALVES;
  }
#ifdef OSTRA_KERNEL_LEVELS
  __attribute__((noinline, flatten, target("avx2,fma,bmi,bmi2"))) static void RunVectors256(const Body& body,
                                                                                            const KernelRange& range) {
    __builtin_ia32_vzeroupper();
    RunIndependently(body, range);
    __builtin_ia32_vzeroupper();
  }
  __attribute__((noinline, flatten, target("avx512f,avx512bw,avx512dq,avx512vl,avx2,fma,bmi,bmi2"))) static void
  RunVectors512(const Body& body, const KernelRange& range) {
    __builtin_ia32_vzeroupper();
    RunIndependently(body, range);
    __builtin_ia32_vzeroupper();
  }
#endif
};

}  // namespace ostra::kernel
