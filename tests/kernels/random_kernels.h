// What the sources of make_random_kernels.py are compiled with. Instead of a class, whose parameters and loops take
// most of the compiler's time, each kernel becomes functions: one that runs one invocation after the other, and the
// wide form of each instruction level.
#pragma once

#include <vector>

#include "parallelprogram/program/kernel_language.h"

namespace ostra::test {

// The parameters of all random kernels.
struct RandomKernelData {
  UInt32 count = 0, width = 0;
  Int32 ui = 0;
  UInt32 uu = 0;
  Float32 uf = 0;
  Vector32 uv;
  std::vector<Float32> fin;
  std::vector<Int32> iin;
  std::vector<UInt32> uin;
  std::vector<Vector32> vin;
  std::vector<Float64> din;
  std::vector<Float32> fout;
  std::vector<Int32> iout;
  std::vector<UInt32> uout;
  std::vector<Vector2d32> twoout;
  std::vector<Vector32> threeout;
  std::vector<Vector4d32> fourout;
  std::vector<Float64> dout;
  std::vector<Int64> lout;
  std::vector<HalfFloat> hin, hout;
  std::vector<Vec4<HalfFloat>> hfourin;
  std::vector<Vec3<HalfFloat>> hthreeout;
  std::vector<UInt8> yin, yout;
  std::vector<Int16> win, wout;
  std::vector<UInt32> bins;
  AtomicUInt32 counter;
};

inline constexpr int kLevelCount = 3;  // kernel::InstructionLevel

struct RandomKernel {
  using Run = void (*)(RandomKernelData& data, const KernelRange& range);
  UInt32 seed;
  Run runScalar;
  Run runWide[kLevelCount];  // null: not compiled, or the kernel has none

  static std::vector<RandomKernel>& GetAll() {
    static std::vector<RandomKernel> all;
    return all;
  }
};

template <class T, class Target>
void LinkData(Target& parameter, std::vector<T>& elements) {
  kernel::GetParameterTarget(parameter) = Block<T>(elements.data(), static_cast<Int>(elements.size()));
}

template <class Parameters>
Parameters MakeParameters(RandomKernelData& data) {
  Parameters made;
  made.ostraParameter_count = data.count;
  made.ostraParameter_width = data.width;
  made.ostraParameter_ui = data.ui;
  made.ostraParameter_uu = data.uu;
  made.ostraParameter_uf = data.uf;
  made.ostraParameter_uv = data.uv;
  LinkData(made.ostraParameter_fin, data.fin);
  LinkData(made.ostraParameter_iin, data.iin);
  LinkData(made.ostraParameter_uin, data.uin);
  LinkData(made.ostraParameter_vin, data.vin);
  LinkData(made.ostraParameter_din, data.din);
  LinkData(made.ostraParameter_fout, data.fout);
  LinkData(made.ostraParameter_iout, data.iout);
  LinkData(made.ostraParameter_uout, data.uout);
  LinkData(made.ostraParameter_twoout, data.twoout);
  LinkData(made.ostraParameter_threeout, data.threeout);
  LinkData(made.ostraParameter_fourout, data.fourout);
  LinkData(made.ostraParameter_dout, data.dout);
  LinkData(made.ostraParameter_lout, data.lout);
  LinkData(made.ostraParameter_hin, data.hin);
  LinkData(made.ostraParameter_hfourin, data.hfourin);
  LinkData(made.ostraParameter_yin, data.yin);
  LinkData(made.ostraParameter_win, data.win);
  LinkData(made.ostraParameter_hout, data.hout);
  LinkData(made.ostraParameter_hthreeout, data.hthreeout);
  LinkData(made.ostraParameter_yout, data.yout);
  LinkData(made.ostraParameter_wout, data.wout);
  LinkData(made.ostraParameter_bins, data.bins);
  made.counter = &data.counter;
  return made;
}

template <class Body, class Group>
struct RandomKernelForms {
  static void RunScalar(RandomKernelData& data, const KernelRange& range) {
    const Body body(MakeParameters<typename Body::OstraParameters>(data));
    for (UInt32 i = range.first; i < range.first + range.count; ++i) {
      const UInt32 x = i % range.extent.x, row = i / range.extent.x;
      const UInt32 y = row % range.extent.y, z = row / range.extent.y;
      const Vec3<UInt32> global(x, y, z), group(x / Group::kX, y / Group::kY, z / Group::kZ);
      const Vec3<UInt32> local(x % Group::kX, y % Group::kY, z % Group::kZ);
      body.Run(global, local, group, x + kernel::GetLinearOffset<Group>(group.y), false);
    }
  }
  template <kernel::InstructionLevel level>
  static void RunWide(RandomKernelData& data, const KernelRange& range) {
    const Body body(MakeParameters<typename Body::OstraParameters>(data));
    kernel::LaneForm<Body, level>::Run(body, range);
  }
  template <kernel::InstructionLevel level>
  static constexpr RandomKernel::Run FindWide() {
    if constexpr (kernel::LaneForm<Body, level>::kExists)
      return &RunWide<level>;
    else
      return nullptr;
  }
  static Bool Register(UInt32 seed) {
    using enum kernel::InstructionLevel;
    RandomKernel::GetAll().push_back(
        {seed, &RunScalar, {FindWide<kBaseline>(), FindWide<kVectors256>(), FindWide<kVectors512>()}});
    return true;
  }
};

}  // namespace ostra::test

#undef OSTRA_KERNEL_CLASS
#define OSTRA_KERNEL_CLASS(name, parameters, usesLinearInvocation, result)                                  \
  struct name##Body : parameters {                                                                          \
    using OstraParameters = parameters;                                                                     \
    explicit name##Body(const parameters& values) : parameters(values) {}                                   \
    static constexpr ::ostra::Vec3<::ostra::UInt32> InWorkGroupSize{OstraGroupSize::kX, OstraGroupSize::kY, \
                                                                    OstraGroupSize::kZ};                    \
    OSTRA_KERNEL_INLINE result Run(const ::ostra::Vec3<::ostra::UInt32>& InGlobalInvocationID,              \
                                   const ::ostra::Vec3<::ostra::UInt32>& InLocalInvocationID,               \
                                   const ::ostra::Vec3<::ostra::UInt32>& InWorkGroupID,                     \
                                   ::ostra::UInt32 ostraLinearInvocation, ::ostra::Bool ostraIsInside) const
