// Kernel classes for tests. Each exists twice: with Kernel alone, and with RunRange as well, so that every test can run
// both ways and expect the same.
//
//   const Url file = GetKernelFile(kRecorder, KernelForm::Range);
//
// What a kernel does is steered through its parameters, as a client would.
#pragma once

#include <atomic>
#include <cstdint>
#include <ostream>
#include <string>

#include "ostra/core/atomic.h"
#include "ostra/io/url.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/program/kernel_base.h"

namespace ostra::test {

// What one invocation was given.
struct InvocationRecord {
  Vec3<UInt32> global{0, 0, 0};
  Vec3<UInt32> local{0, 0, 0};
  Vec3<UInt32> group{0, 0, 0};
  UInt32 reserved = 0;
  UInt64 thread = 0;  // differs between threads
};

// Test kernel objects that exist now.
extern std::atomic<Int> g_liveKernels;

inline UInt64 GetThreadNumber() {
  thread_local char place;
  return reinterpret_cast<std::uintptr_t>(&place);
}

// The two forms of a kernel class. Kernel classes are templates over one of them.
template <class Derived>
class CallForm : public KernelBase<Derived> {
 protected:
  CallForm() { ++g_liveKernels; }
  ~CallForm() override { --g_liveKernels; }
};

template <class Derived>
class RangeForm : public KernelBase<Derived, KernelRangeInterface> {
 public:
  Result<void> RunRange(const KernelRange& range) override {
    const Vec3<UInt32>& size = this->_workGroupSize;
    for (UInt32 i = 0; i < range.count; ++i) {
      if (range.stop->LoadRelaxed()) return OK;
      const UInt32 index = range.first + i;
      const Vec3<UInt32> global(index % range.extent.x, index / range.extent.x % range.extent.y,
                                index / range.extent.x / range.extent.y);
      // The IDs as the program makes them; it lets no work group size with a 0 through.
      const Vec3<UInt32> local(global.x % size.x, global.y % size.y, global.z % size.z);
      const Vec3<UInt32> group(global.x / size.x, global.y / size.y, global.z / size.z);
      OSTRA_RETURN_IF_ERROR(static_cast<Derived*>(this)->Kernel(global, local, group));
    }
    return OK;
  }

 protected:
  RangeForm() { ++g_liveKernels; }
  ~RangeForm() override { --g_liveKernels; }
};

enum class KernelForm { Call, Range };

inline void PrintTo(KernelForm form, std::ostream* out) { *out << (form == KernelForm::Range ? "ranges" : "calls"); }
inline std::string GetFormName(KernelForm form) { return form == KernelForm::Range ? "Range" : "Call"; }

// Class names without the form's suffix.

// Writes an InvocationRecord per invocation into "records", at the place that the counter "calls" gives out. Fails for
// global x in ["failBegin", "failEnd") with illegal state "Invocation @ failed.". Takes its tuning values as the
// uniforms "workGroupSize" (Vec3<UInt32>), "threshold" and "granularity" (Int); starts with (1, 1, 1), 0 and 16.
inline constexpr const char* kRecorder = "net.ostra.test.recorder";
// Multiplies "values" (Float32) by "factor".
inline constexpr const char* kScale = "net.ostra.test.scale";
// Adds 1 to "total" per invocation.
inline constexpr const char* kCount = "net.ostra.test.count";
// Notes the values of its parameters of many types in TypedValues::seen.
inline constexpr const char* kTyped = "net.ostra.test.typed";
// Never sets a work group size.
inline constexpr const char* kNoWorkGroup = "net.ostra.test.noworkgroup";
// Fails in Init while g_isInitFailing is set.
inline constexpr const char* kFailingInit = "net.ostra.test.failinginit";
// The copy of its parameter "values" fails.
inline constexpr const char* kFailingSet = "net.ostra.test.failingset";
// Counts its invocations in "total" and throws a std::runtime_error "Invocation @ has thrown." for global x =
// "throwAt".
inline constexpr const char* kThrowing = "net.ostra.test.throwing";
// Its class makes no objects.
inline constexpr const char* kNoObject = "net.ostra.test.noobject";
// Its objects are no kernels.
inline constexpr const char* kNotKernel = "net.ostra.test.notkernel";

extern std::atomic<Bool> g_isInitFailing;
// Calls of Init of the failing-init kernel.
extern std::atomic<Int> g_initCalls;

// The last values that a kTyped kernel was given.
struct TypedValues {
  Bool boolean = false;
  Int32 int32 = 0;
  UInt32 uint32 = 0;
  Int64 int64 = 0;
  Float32 float32 = 0;
  Float64 float64 = 0;
  HalfFloat half{};
  Vec2<Float32> vec2{0, 0};
  Vec3<Float32> vec3{0, 0, 0};
  Vec4<Int32> vec4{0, 0, 0, 0};
  SquareMatrix4d32 matrix{};
  String text;
  InternedId name;
  const AtomicUInt32* counter = nullptr;
  const Int32* pointer = nullptr;
  static TypedValues seen;
};

// The file that names the class in this form.
Url GetKernelFile(const char* name, KernelForm form);

// Makes all classes above known. Called once per process.
Result<void> RegisterTestKernels();

}  // namespace ostra::test

OSTRA_DATATYPE(ostra::test::InvocationRecord, "net.ostra.test.datatype.invocationrecord", "InvocationRecord");
