// Runs one kernel object made from a kernel file: invocation by invocation, or over ranges.
//
//   KernelRunner runner("net.ostra.kernels.saxpy.krn");
//   runner.SetValue("a", 2.0f);
//   runner.SetBuffer<Float32>("y", {1, 2, 3});
//   runner.Run({3, 1, 1}, Way::kUnordered);
//   runner.GetBuffer<Float32>("y");
//
// What goes wrong on the way is a failure of the test.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "conformance/scenario_target.h"
#include "ostra/render/render_noise.h"
#include "parallelprogram/program/kernel_group_interface.h"
#include "parallelprogram/program/kernel_loops.h"
#include "parallelprogram/program/kernel_registration.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {

// How the invocations of a dispatch are run: the last five at the processor's level or a lower one, in one range or in
// pieces of uneven lengths.
enum class Way {
  kOneByOne,
  kOrdered,
  kUnordered,
  kInSmallPieces,
  kBaseline,
  kBaselineInSmallPieces,
  kVectors256,
  kVectors256InSmallPieces
};
inline constexpr Way kAllWays[] = {Way::kOneByOne,   Way::kOrdered,
                                   Way::kUnordered,  Way::kInSmallPieces,
                                   Way::kBaseline,   Way::kBaselineInSmallPieces,
                                   Way::kVectors256, Way::kVectors256InSmallPieces};

class KernelRunner : public conformance::ScenarioTarget {
 public:
  // Makes an object of the class `id`, which is linked with the test (linked_kernels.h), and calls its Init.
  explicit KernelRunner(const std::string& id);
  explicit KernelRunner(const ClassRef& kernelClass);

  void SetCounter(const char* name, UInt32 value) override;
  void SetNoise(const Id& classId, Int32 seed) override;
  UInt32 GetCounter(const char* name) const { return _counters.at(name).LoadRelaxed(); }

  template <class T>
  std::vector<T> GetBuffer(const char* name) const {
    const std::vector<Byte>& bytes = _buffers.at(name);
    std::vector<T> elements(bytes.size() / sizeof(T));
    std::memcpy(elements.data(), bytes.data(), bytes.size());
    return elements;
  }

  // Gives what is no number in a buffer of floats the same bits everywhere: nothing fixes them.
  template <class T>
  void MakeNansAlike(const char* name) {
    std::vector<Byte>& bytes = _buffers.at(name);
    std::vector<T> numbers = GetBuffer<T>(name);
    for (T& number : numbers) number = number == number ? number : std::numeric_limits<T>::quiet_NaN();
    std::memcpy(bytes.data(), numbers.data(), bytes.size());
  }

  // Runs the invocations of the extent. Returns the first error.
  Result<void> Run(const Vec3<UInt32>& extent, Way way = Way::kUnordered);
  Result<void> RunRange(const KernelRange& range);

  // Invocations at a time.
  UInt32 GetLaneCount() const { return _range ? _range->GetLaneCount() : _groups->GetLaneCount(); }

  // The bytes of all buffers and the counters.
  std::vector<Byte> GetState() const;
  KernelInterface& GetKernel() { return *_kernel; }

  void SetTypedValue(const char* name, const DataType& type, const void* value) override;
  void SetTypedBuffer(const char* name, const conformance::BufferElements& elements) override;

 private:
  const KernelParameter* FindParameter(const char* name) const;
  static CString MakeName(const char* name);
  Result<void> RunOneByOne(const Vec3<UInt32>& extent);
  Result<void> RunGroups(const Vec3<UInt32>& extent, Bool isOneByOne, Bool isInSmallPieces, Bool isOrdered);
  Result<void> RunPieces(const Vec3<UInt32>& extent, Bool isInSmallPieces, Bool isOrdered);

  KernelRef _kernel;
  ClassRef _class;
  KernelRangeInterface* _range = nullptr;  // one of the two
  KernelGroupInterface* _groups = nullptr;
  Atomic<Byte> _stop;
  std::map<std::string, std::vector<Byte>> _buffers;
  std::map<std::string, AtomicUInt32> _counters;
  RenderNoiseRef _noise;
};

}  // namespace ostra::test
