// Half floats and their vectors on the CPU and on the GPU.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "ostra/math/half_float.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;

const TemporaryFolder& GetFolder() {
  static const TemporaryFolder folder;
  return folder;
}

// Runs a body with the half4 x and y of each element, which sets the half4 r; the halves of all r, as bits.
std::vector<UInt16> RunBody(const std::string& backend, const std::string& body, const std::vector<UInt16>& numbers,
                            std::string& errors) {
  const TemporaryFolder& folder = GetFolder();
  folder.Write("net.example.halves.krn",
               "#define KERNELINPUTS \\\n(half2) bias, \\\n(half3) tint, \\\n(const Block<half4>) source, \\\n"
               "(Block<half4>) target\n\nOSTRA_PARALLEL_KERNEL(Halves, KERNELINPUTS)\n{\n"
               "\tuint i = LinearInvocation();\n"
               "\thalf4 x = UNIFORM_BUFFER(source)[2u * i], y = UNIFORM_BUFFER(source)[2u * i + 1u], r;\n\t" +
                   body + "\n\tUNIFORM_BUFFER(target)[i] = r;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  folder.Write("in.raw", {reinterpret_cast<const char*>(numbers.data()), 2 * numbers.size()});
  const std::size_t count = numbers.size() / 8;
  const ToolResult result = RunTool({"run", folder / "net.example.halves.krn", "--in", "source=" + folder / "in.raw",
                                     "--out", "target=" + folder / "out.raw", "--size", std::to_string(count), "--set",
                                     "bias=0.1,-2", "--set", "tint=3,0.7,5", "--backend", backend});
  errors = result.errors;
  if (result.exitStatus != 0) return {};
  const std::string bytes = folder.Read("out.raw");
  std::vector<UInt16> bits(bytes.size() / 2);
  if (!bits.empty()) std::memcpy(bits.data(), bytes.data(), 2 * bits.size());
  return bits;
}

// Some numbers of all sizes from 2^-6 to 2^6, with both signs.
std::vector<UInt16> MakeNumbers() {
  std::vector<UInt16> numbers;
  UInt32 state = 1;
  for (int i = 0; i < 8 * 64; ++i) {
    state = state * 1664525u + 1013904223u;
    numbers.push_back(static_cast<UInt16>((state & 0x8000u) | (0x2400u + (state >> 16) % 0x3000u)));
  }
  return numbers;
}

Float32 Widen(UInt16 bits) { return HalfFloat::FromBits(bits); }
UInt16 Narrow(Float32 number) { return HalfFloat(number).GetBits(); }

// A body, and what it makes of the components of x and y.
struct Case {
  const char* body;
  UInt16 (*compute)(const UInt16* x, const UInt16* y, int k);
};

// Both sides have the result that the case has.
void ExpectResults(const std::string& backend, const Case& each) {
  const std::vector<UInt16> numbers = MakeNumbers();
  std::string errors;
  const std::vector<UInt16> results = RunBody(backend, each.body, numbers, errors);
  if (errors.find("--backend cpu runs the kernel without one") != std::string::npos ||
      errors.find("16-bit") != std::string::npos)
    GTEST_SKIP() << errors;
  ASSERT_EQ(results.size(), numbers.size() / 2) << errors;
  for (std::size_t i = 0; i < results.size(); ++i) {
    const UInt16* x = &numbers[8 * (i / 4)];
    ASSERT_EQ(results[i], each.compute(x, x + 4, static_cast<int>(i % 4))) << each.body << " number " << i;
  }
}

const Float32 kBias[2] = {Widen(Narrow(0.1f)), -2}, kTint[3] = {3, Widen(Narrow(0.7f)), 5};

// The values between the operators are floats; halves are what is stored.
const Case kCases[] = {
    {"r = x * y + x;",
     [](const UInt16* x, const UInt16* y, int k) {
       const Float32 product = Widen(x[k]) * Widen(y[k]);
       return Narrow(product + Widen(x[k]));
     }},
    {"half4 p = x * y; r = p - 0.1 * x;",
     [](const UInt16* x, const UInt16* y, int k) {
       const Float32 product = Widen(Narrow(Widen(x[k]) * Widen(y[k])));
       const Float32 part = 0.1f * Widen(x[k]);
       return Narrow(product - part);
     }},
    {"r = x; r.yw += y.xz; r.zx *= 2; r++;",
     [](const UInt16* x, const UInt16* y, int k) {
       const Float32 changed = k % 2 == 1 ? Widen(x[k]) + Widen(y[k - 1]) : Widen(x[k]) * 2;
       return Narrow(Widen(Narrow(changed)) + 1);
     }},
    {"r = half4(y.wz, UNIFORM(bias)) - x.x;",
     [](const UInt16* x, const UInt16* y, int k) {
       return Narrow((k < 2 ? Widen(y[3 - k]) : kBias[k - 2]) - Widen(x[0]));
     }},
    {"r = half4(x.xyz * UNIFORM(tint), dot(x.xy, y.xy));",
     [](const UInt16* x, const UInt16* y, int k) {
       if (k < 3) return Narrow(Widen(x[k]) * kTint[k]);
       const Float32 first = Widen(x[0]) * Widen(y[0]), second = Widen(x[1]) * Widen(y[1]);
       return Narrow(first + second);
     }},
    {"r = max(abs(x), 1.5) - min(y, x.w);",
     [](const UInt16* x, const UInt16* y, int k) {
       return Narrow(std::max(std::abs(Widen(x[k])), 1.5f) - std::min(Widen(y[k]), Widen(x[3])));
     }},
    {"half s = x.x * x.y + x.z; half t[2]; t[0] = s; t[1] = half(int(y.x) + 100); r = half4(t[0], t[1], -s, s * t[1]);",
     [](const UInt16* x, const UInt16* y, int k) {
       const Float32 product = Widen(x[0]) * Widen(x[1]);
       const Float32 s = Widen(Narrow(product + Widen(x[2])));
       const Float32 t = static_cast<Float32>(static_cast<Int32>(Widen(y[0])) + 100);
       return Narrow(k == 0 ? s : k == 1 ? t : k == 2 ? -s : s * t);
     }},
    {"r = all(lessThan(x.xy, y.xy)) ? x : y.wzyx; r[1] = r[2];",
     [](const UInt16* x, const UInt16* y, int k) {
       const bool isLess = Widen(x[0]) < Widen(y[0]) && Widen(x[1]) < Widen(y[1]);
       const int from = k == 1 ? 2 : k;
       return isLess ? x[from] : y[3 - from];
     }},
};

TEST(RunHalvesTest, VectorsOfHalvesAreComputedAsFloatsOnTheCpu) {
  for (const Case& each : kCases) ExpectResults("cpu", each);
}

TEST(RunHalvesTest, VectorsOfHalvesAreComputedAsFloatsOnTheGpu) {
  for (const Case& each : kCases) {
    ExpectResults("gpu", each);
    if (testing::Test::IsSkipped()) return;
  }
}

TEST(RunHalvesTest, EveryLanguageCompilesThem) {
  for (const Case& each : kCases) {
    std::string errors;
    RunBody("cpu", each.body, std::vector<UInt16>(8), errors);
    const ToolResult result = RunTool({"check", GetFolder() / "net.example.halves.krn"});
    EXPECT_EQ(result.exitStatus, 0) << each.body << result.errors;
  }
}

TEST(RunHalvesTest, WhatHalvesDoNotHaveIsNamedInTheWordsOfTheKernel) {
  std::string errors;
  for (const std::string backend : {"cpu", "gpu"}) {
    RunBody(backend, "r = x % y;", std::vector<UInt16>(8), errors);
    if (backend == "gpu" && errors.find("--backend cpu") != std::string::npos) GTEST_SKIP() << errors;
    EXPECT_THAT(errors, HasSubstr(":11:8: error: there is no \"%\" for half4 and half4"));
    RunBody(backend, "r = x + UNIFORM(bias);", std::vector<UInt16>(8), errors);
    EXPECT_THAT(errors, HasSubstr(":11:8: error: there is no \"+\" for half4 and half2"));
  }
}

}  // namespace
}  // namespace ostra
