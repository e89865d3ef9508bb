// What the vocabulary's functions do with numbers of 64 bits.
//
//   Float64 root = sqrt(2.0);            // in Float64, as on a GPU
//   Float64 part = mix(low, high, t);    // one Float64 among the arguments makes all of them Float64
//   mul(m, Vec3<Float64>(x, y, z));      // an error that names mul: matrices are of Float32
//   max(count64, 1);                     // an error that names max: there are no functions of 64-bit integers
//
// Without these forms the arguments would silently become numbers of 32 bits. They are templates that take nothing but
// arguments of 64 bits, so overloads for other types, and conversions to them, stay as they are.
#pragma once

#include <type_traits>

#include "ostra/math/half_float.h"
#include "ostra/math/vector_functions.h"

namespace ostra::vocabulary {

// The number that a value consists of: itself, or the component of a vector.
template <class T>
struct ElementOf {
  using Type = T;
};
template <glm::length_t N, class T>
struct ElementOf<glm::vec<N, T, glm::packed_highp>> {
  using Type = T;
};
template <class T>
using Element = typename ElementOf<T>::Type;

template <class T>
inline constexpr Bool kIsNumber = std::is_arithmetic_v<T> || std::is_same_v<T, HalfFloat>;
template <class T>
inline constexpr Bool kIsWideFloat = std::is_floating_point_v<T> && sizeof(T) > sizeof(Float32);
template <class T>
inline constexpr Bool kIsWideInteger = std::is_integral_v<T> && sizeof(T) > sizeof(Int32);

template <class... Values>
concept Float64Arguments = (kIsNumber<Element<Values>> && ...) && (kIsWideFloat<Element<Values>> || ...);
template <class... Values>
concept WideArguments = (kIsWideFloat<Element<Values>> || ...) || (kIsWideInteger<Element<Values>> || ...);
template <class... Values>
concept WideIntegerArguments = WideArguments<Values...> && !Float64Arguments<Values...>;

template <class T>
requires kIsNumber<T>
constexpr Float64 ToFloat64(T value) { return static_cast<Float64>(value); }
template <glm::length_t N, class T>
constexpr glm::vec<N, Float64, glm::packed_highp> ToFloat64(const glm::vec<N, T, glm::packed_highp>& vector) {
  glm::vec<N, Float64, glm::packed_highp> wide{};
  for (glm::length_t i = 0; i < N; ++i) wide[i] = ToFloat64(vector[i]);
  return wide;
}

#define OSTRA_FLOAT64_FORM(name)                                                             \
  template <class... Values>                                                                 \
  requires Float64Arguments<Values...>                                                       \
  inline auto name(const Values&... values)->decltype(float64::name(ToFloat64(values)...)) { \
    return float64::name(ToFloat64(values)...);                                              \
  }                                                                                          \
  template <class... Values>                                                                 \
  requires WideIntegerArguments<Values...>                                                   \
  void name(const Values&...) = delete;
OSTRA_FLOAT64_FORM(abs)
OSTRA_FLOAT64_FORM(sign)
OSTRA_FLOAT64_FORM(floor)
OSTRA_FLOAT64_FORM(ceil)
OSTRA_FLOAT64_FORM(trunc)
OSTRA_FLOAT64_FORM(fract)
OSTRA_FLOAT64_FORM(mod)
OSTRA_FLOAT64_FORM(min)
OSTRA_FLOAT64_FORM(max)
OSTRA_FLOAT64_FORM(clamp)
OSTRA_FLOAT64_FORM(mix)
OSTRA_FLOAT64_FORM(step)
OSTRA_FLOAT64_FORM(smoothstep)
OSTRA_FLOAT64_FORM(sqrt)
OSTRA_FLOAT64_FORM(Sqrt)
OSTRA_FLOAT64_FORM(inversesqrt)
OSTRA_FLOAT64_FORM(pow)
OSTRA_FLOAT64_FORM(exp)
OSTRA_FLOAT64_FORM(exp2)
OSTRA_FLOAT64_FORM(log)
OSTRA_FLOAT64_FORM(log2)
OSTRA_FLOAT64_FORM(sin)
OSTRA_FLOAT64_FORM(cos)
OSTRA_FLOAT64_FORM(tan)
OSTRA_FLOAT64_FORM(asin)
OSTRA_FLOAT64_FORM(acos)
OSTRA_FLOAT64_FORM(atan)
OSTRA_FLOAT64_FORM(radians)
OSTRA_FLOAT64_FORM(degrees)
OSTRA_FLOAT64_FORM(isnan)
OSTRA_FLOAT64_FORM(isinf)
OSTRA_FLOAT64_FORM(dot)
OSTRA_FLOAT64_FORM(cross)
OSTRA_FLOAT64_FORM(length)
OSTRA_FLOAT64_FORM(distance)
OSTRA_FLOAT64_FORM(normalize)
OSTRA_FLOAT64_FORM(reflect)
#undef OSTRA_FLOAT64_FORM

// Bits of 32-bit numbers, and matrices, which are of Float32.
#define OSTRA_NO_WIDE_FORM(name)    \
  template <class... Values>        \
  requires WideArguments<Values...> \
  void name(const Values&...) = delete;
OSTRA_NO_WIDE_FORM(floatBitsToUint)
OSTRA_NO_WIDE_FORM(floatBitsToInt)
OSTRA_NO_WIDE_FORM(uintBitsToFloat)
OSTRA_NO_WIDE_FORM(intBitsToFloat)
OSTRA_NO_WIDE_FORM(mul)
OSTRA_NO_WIDE_FORM(transpose)
OSTRA_NO_WIDE_FORM(determinant)
OSTRA_NO_WIDE_FORM(inverse)
OSTRA_NO_WIDE_FORM(MatrixOffset)
OSTRA_NO_WIDE_FORM(matoff)
#undef OSTRA_NO_WIDE_FORM

}  // namespace ostra::vocabulary
