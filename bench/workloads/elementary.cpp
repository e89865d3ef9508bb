#include <cmath>
#include <string>
#include <vector>

#include "bench/workloads/workloads.h"
#include "ostra/math/elementary_functions.h"
#include "ostra/math/lane_levels.h"

namespace bench {
namespace {

namespace elementary = ostra::elementary;

constexpr int kCount = 4096, kRepeats = 64;

using Lanes = void (*)(const float* x, const float* y, float* result);

// A function of one number leaves the second out.
struct Function {
  const char* name;
  float low, high;  // of its arguments
  float (*library)(float, float);
  float (*one)(float, float);
  Lanes lanes4, lanes8, lanes16;
};

template <float (*function)(float)>
float OfFirst(float x, float) {
  return function(x);
}
template <void (*function)(const float*, float*) noexcept>
void LanesOfFirst(const float* x, const float*, float* result) {
  function(x, result);
}

#ifdef __x86_64__
namespace lanes8 = elementary::lanes8;
namespace lanes16 = elementary::lanes16;
#else
namespace lanes8 = elementary::lanes4;
namespace lanes16 = elementary::lanes4;
#endif
const bool kHasLanes8 = ostra::CountLaneLevels() > 1, kHasLanes16 = ostra::CountLaneLevels() > 2;

// clang-format off
#define OSTRA_UNARY(name, low, high)                                                                     \
  {#name, low, high, OfFirst<std::name>, OfFirst<elementary::name>,                                      \
   LanesOfFirst<elementary::lanes4::name>, LanesOfFirst<lanes8::name>, LanesOfFirst<lanes16::name>}
// clang-format on
const Function kFunctions[] = {
    OSTRA_UNARY(exp, -10.0f, 10.0f),
    OSTRA_UNARY(log, 0.001f, 4.0f),
    OSTRA_UNARY(sin, -10.0f, 10.0f),
    OSTRA_UNARY(tan, -10.0f, 10.0f),
    OSTRA_UNARY(asin, -1.0f, 1.0f),
    {"atan2", -10.0f, 10.0f, std::atan2, elementary::atan, elementary::lanes4::atan, lanes8::atan, lanes16::atan},
    {"pow", 0.001f, 4.0f, std::pow, elementary::pow, elementary::lanes4::pow, lanes8::pow, lanes16::pow},
};
#undef OSTRA_UNARY

bool RunFunction(const Options& options, const Function& function) {
  std::vector<float> x(kCount), y(kCount), result(kCount);
  for (int i = 0; i < kCount; ++i) {
    const auto part = [](long long number) {
      return static_cast<float>(number * 2654435761LL >> 7 & 0xffff) / 65536.0f;
    };
    x[static_cast<std::size_t>(i)] = function.low + (function.high - function.low) * part(i);
    y[static_cast<std::size_t>(i)] = 4.0f * part(i + kCount) - 2.0f;
  }
  const auto isRight = [&] {
    for (std::size_t i = 0; i < kCount; ++i) {
      const double expected = function.library(x[i], y[i]);
      if (!(std::fabs(result[i] - expected) <= 2e-7 * std::fabs(expected))) return false;
    }
    return true;
  };
  Contest contest(std::string("elementary_") + function.name, "2^18", "per_result", "ns");
  const auto addOne = [&](const char* name, float (*one)(float, float)) {
    contest.Add(
        name,
        [&, one] {
          for (int repeat = 0; repeat < kRepeats; ++repeat)
            for (std::size_t i = 0; i < kCount; ++i) result[i] = one(x[i], y[i]);
          return true;
        },
        isRight);
  };
  const auto addLanes = [&](const char* name, Lanes lanes, std::size_t count) {
    contest.Add(
        name,
        [&, lanes, count] {
          for (int repeat = 0; repeat < kRepeats; ++repeat)
            for (std::size_t i = 0; i < kCount; i += count) lanes(&x[i], &y[i], &result[i]);
          return true;
        },
        isRight);
  };
  addOne("c-library", function.library);
  addOne("ours", function.one);
  addLanes("ours-4", function.lanes4, 4);
  if (kHasLanes8) addLanes("ours-8", function.lanes8, 8);
  if (kHasLanes16) addLanes("ours-16", function.lanes16, 16);
  return contest.Run(options, [](double seconds) { return seconds * 1e9 / (double{kCount} * kRepeats); });
}

}  // namespace

bool RunElementary(const Options& options) {
  for (const Function& function : kFunctions)
    if (!RunFunction(options, function)) return false;
  return true;
}

}  // namespace bench
