// What lanes need to know of their elements, at every instruction level.
#pragma once

#include <cstddef>

#include "ostra/core/types.h"

namespace ostra::lanes_internal {

template <std::size_t size>
struct SignedOfSize;
template <>
struct SignedOfSize<1> {
  using Type = Int8;
};
template <>
struct SignedOfSize<2> {
  using Type = Int16;
};
template <>
struct SignedOfSize<4> {
  using Type = Int32;
};
template <>
struct SignedOfSize<8> {
  using Type = Int64;
};

template <class T>
inline constexpr bool kIsFloat = false;
template <>
inline constexpr bool kIsFloat<Float32> = true;
template <>
inline constexpr bool kIsFloat<Float64> = true;

}  // namespace ostra::lanes_internal
