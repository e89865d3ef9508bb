#include "conformance/operation_bounds.h"

#include <cmath>
#include <random>

namespace ostra::conformance {
namespace {

constexpr Int kOperandCount = 8192;
// One unit in the last place relative to a value: between the half of it and it.
const Float64 kMaxUnit = std::ldexp(1.0, -23);

// Reproducible numbers: the engine's are the same everywhere, those of the library's distributions are not.
class Numbers {
 public:
  explicit Numbers(UInt32 seed) : _engine(seed) {}

  Float32 Between(Float64 low, Float64 high) {
    return static_cast<Float32>(low + (high - low) * static_cast<Float64>(_engine()) / 4294967296.0);
  }
  // Of both signs, with exponents spread evenly.
  Float32 WithExponent(int low, int high) {
    const Float64 size = std::exp2(Between(low, high));
    return static_cast<Float32>(_engine() & 1 ? size : -size);
  }

 private:
  std::mt19937 _engine;
};

template <class Make>
std::vector<Operands> MakeOperands(Make&& make) {
  Numbers numbers(20);
  std::vector<Operands> operands;
  for (Int i = 0; i < kOperandCount; ++i) operands.push_back(make(numbers, i));
  return operands;
}

// No result is below the normal range, where devices may round to zero.
std::vector<Operands> MakeArithmeticOperands() {
  return MakeOperands([](Numbers& numbers, Int i) {
    const auto next = [&] {
      return i % 2 == 0 ? numbers.WithExponent(-30, 30) : numbers.Between(-1000, 1000) + 0.0009765625f;
    };
    const Float32 x = next(), y = next();
    return Operands{x, y, next()};
  });
}

std::vector<Operands> MakeQuotientOperands() {
  return MakeOperands([](Numbers& numbers, Int) {
    const Float32 x = numbers.WithExponent(-30, 30), y = numbers.WithExponent(-30, 30);
    return Operands{x, y, numbers.WithExponent(-30, 30)};
  });
}

// x of the exponentials, y of the logarithms, y to the power of z.
std::vector<Operands> MakeExponentialOperands() {
  return MakeOperands([](Numbers& numbers, Int i) {
    const Float32 x = numbers.Between(-80, 80);
    const Float32 y = i % 4 == 0 ? numbers.Between(0.5, 2) : std::abs(numbers.WithExponent(-30, 30));
    return Operands{x, y, numbers.Between(-2.5, 2.5)};
  });
}

// Vulkan promises sine and cosine between -pi and pi; y stays away from the poles of the tangent, z from the ends of
// the arc functions.
std::vector<Operands> MakeAngleOperands() {
  return MakeOperands([](Numbers& numbers, Int) {
    const Float32 x = numbers.Between(-3.14159, 3.14159), y = numbers.Between(-1.4, 1.4);
    return Operands{x, y, numbers.Between(-0.9, 0.9)};
  });
}

constexpr Operation kArithmetic[] = {
    {"x + y"},   {"x - y"},    {"x * y"},        {"x * y + z, not contracted"}, {"floor(x)"},
    {"ceil(x)"}, {"trunc(x)"}, {"x - floor(x)"}, {"min(x, y) + max(y, z)"},     {"abs(x)"},
};

Float64 GetLength(const Operands& at) {
  return std::sqrt(Float64{at.x} * at.x + Float64{at.y} * at.y + Float64{at.z} * at.z);
}

const Operation kRoots[] = {
    {"x / y", "2.5 units in the last place", [](const Operands& at) { return Float64{at.x} / at.y; },
     [](const Operands&, Float64 exact) { return 2.5 * GetLastPlace(exact); }},
    {"1 / x", "2.5 units in the last place", [](const Operands& at) { return 1.0 / at.x; },
     [](const Operands&, Float64 exact) { return 2.5 * GetLastPlace(exact); }},
    // 1 / inversesqrt(x)
    {"sqrt(x)", "that of 1 / inversesqrt(x)", [](const Operands& at) { return std::sqrt(std::abs(Float64{at.x})); },
     [](const Operands&, Float64 exact) { return (2 + 2.5) * kMaxUnit * exact; }},
    {"inversesqrt(x)", "2 units in the last place",
     [](const Operands& at) { return 1 / std::sqrt(std::abs(Float64{at.x})); },
     [](const Operands&, Float64 exact) { return 2 * GetLastPlace(exact); }},
    // sqrt(dot(v, v)): three products and two sums of positive numbers, then the root.
    {"length(v)", "that of sqrt(dot(v, v))", GetLength,
     [](const Operands&, Float64 exact) { return (0.75 + 4.5) * kMaxUnit * exact; }},
    {"normalize(v)", "that of v / length(v)", [](const Operands& at) { return at.x / GetLength(at); },
     [](const Operands&, Float64 exact) { return (0.75 + 4.5 + 2.5) * kMaxUnit * std::abs(exact); }},
};

Float64 GetExponentialUnits(Float64 x) { return 3 + 2 * std::abs(x); }

Float64 GetLogarithmAllowance(Float64 y, Float64 exact) {
  return y >= 0.5 && y <= 2 ? std::ldexp(1.0, -21) : 3 * GetLastPlace(exact);
}

Float64 GetPower(const Operands& at) { return std::pow(Float64{at.y}, Float64{at.z}); }

// exp2(z * log2(y)): an error of the exponent is one of the result, times the logarithm of 2.
Float64 GetPowerAllowance(const Operands& at, Float64 exact) {
  const Float64 logarithm = std::log2(Float64{at.y});
  const Float64 exponent = at.z * logarithm;
  const Float64 exponentError =
      std::abs(at.z) * GetLogarithmAllowance(at.y, logarithm) + 0.5 * kMaxUnit * std::abs(exponent);
  return exact * (std::expm1(std::log(2.0) * exponentError) + GetExponentialUnits(exponent) * kMaxUnit);
}

const Operation kExponentials[] = {
    {"exp(x)", "3 + 2 |x| units in the last place", [](const Operands& at) { return std::exp(Float64{at.x}); },
     [](const Operands& at, Float64 exact) { return GetExponentialUnits(at.x) * GetLastPlace(exact); }},
    {"exp2(x)", "3 + 2 |x| units in the last place", [](const Operands& at) { return std::exp2(Float64{at.x}); },
     [](const Operands& at, Float64 exact) { return GetExponentialUnits(at.x) * GetLastPlace(exact); }},
    {"log(x)", "3 units; 2^-21 from 0.5 to 2", [](const Operands& at) { return std::log(Float64{at.y}); },
     [](const Operands& at, Float64 exact) { return GetLogarithmAllowance(at.y, exact); }},
    {"log2(x)", "3 units; 2^-21 from 0.5 to 2", [](const Operands& at) { return std::log2(Float64{at.y}); },
     [](const Operands& at, Float64 exact) { return GetLogarithmAllowance(at.y, exact); }},
    {"pow(x, y)", "that of exp2(y * log2(x))", GetPower, GetPowerAllowance},
};

const Float64 kAngleAllowance = std::ldexp(1.0, -11);

// sin(y) / cos(y)
Float64 GetTangentAllowance(const Operands& at, Float64 exact) {
  const Float64 cosine = std::abs(std::cos(Float64{at.y}));
  return kAngleAllowance * (1 + std::abs(exact)) / (cosine - kAngleAllowance) + 2.5 * GetLastPlace(exact);
}

constexpr Float64 kArcUnits = 4096;
// What the arguments of the arc function add: the root of 1 - z * z for |z| up to 0.9.
constexpr Float64 kArcArgumentUnits = 32;

const Operation kAngles[] = {
    {"sin(x)", "2^-11 from -pi to pi", [](const Operands& at) { return std::sin(Float64{at.x}); },
     [](const Operands&, Float64) { return kAngleAllowance; }, DistanceUnit::Absolute},
    {"cos(x)", "2^-11 from -pi to pi", [](const Operands& at) { return std::cos(Float64{at.x}); },
     [](const Operands&, Float64) { return kAngleAllowance; }, DistanceUnit::Absolute},
    {"tan(x)", "that of sin(x) / cos(x)", [](const Operands& at) { return std::tan(Float64{at.y}); },
     GetTangentAllowance, DistanceUnit::Absolute},
    {"asin(x)", "that of atan(x, sqrt(1 - x * x))", [](const Operands& at) { return std::asin(Float64{at.z}); },
     [](const Operands&, Float64 exact) { return (kArcUnits + kArcArgumentUnits) * GetLastPlace(exact); }},
    {"acos(x)", "that of atan(sqrt(1 - x * x), x)", [](const Operands& at) { return std::acos(Float64{at.z}); },
     [](const Operands&, Float64 exact) { return (kArcUnits + kArcArgumentUnits) * GetLastPlace(exact); }},
    {"atan(x)", "4096 units in the last place", [](const Operands& at) { return std::atan(Float64{at.x}); },
     [](const Operands&, Float64 exact) { return kArcUnits * GetLastPlace(exact); }},
    {"atan(y, x)", "4096 units in the last place",
     [](const Operands& at) { return std::atan2(Float64{at.x}, Float64{at.y}); },
     [](const Operands&, Float64 exact) { return kArcUnits * GetLastPlace(exact); }},
};

}  // namespace

Float64 GetLastPlace(Float64 value) {
  constexpr int kMinExponent = -126, kFractionBits = 23;
  const int exponent = value == 0 ? kMinExponent : std::ilogb(value);
  return std::ldexp(1.0, (exponent < kMinExponent ? kMinExponent : exponent) - kFractionBits);
}

std::span<const OperationGroup> GetOperationGroups() {
  static const OperationGroup groups[] = {
      {"arithmetic", "Arithmetic", "net.ostra.parity.exact.krn", kArithmetic, &MakeArithmeticOperands},
      {"quotients and roots", "QuotientsAndRoots", "net.ostra.parity.roots.krn", kRoots, &MakeQuotientOperands},
      {"exponentials", "Exponentials", "net.ostra.parity.exponentials.krn", kExponentials, &MakeExponentialOperands},
      {"angles", "Angles", "net.ostra.parity.angles.krn", kAngles, &MakeAngleOperands},
  };
  return groups;
}

}  // namespace ostra::conformance
