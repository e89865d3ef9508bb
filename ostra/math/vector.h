// Small vectors of numbers: the values that kernels compute with.
//
//   Vector32 position(1.0f, 2.0f, 3.0f);
//   Vector32 moved = position + 0.5f * direction;      // operators work component by component
//   Vec4<Int32> groups(64, 1, 1, 0);
//
// GLM does the work underneath. The vectors are tight and aligned like their elements, so that an array of them holds
// the same bytes as the array that the GPU sees. Functions on vectors are in vocabulary.h.
#pragma once

#include <glm/detail/type_vec2.hpp>
#include <glm/detail/type_vec3.hpp>
#include <glm/detail/type_vec4.hpp>

#include "ostra/core/types.h"

namespace ostra {

template <class T>
using Vec2 = glm::vec<2, T, glm::packed_highp>;
template <class T>
using Vec3 = glm::vec<3, T, glm::packed_highp>;
template <class T>
using Vec4 = glm::vec<4, T, glm::packed_highp>;

using Vector2d32 = Vec2<Float32>;
using Vector32 = Vec3<Float32>;
using Vector4d32 = Vec4<Float32>;
using IntVector4d32 = Vec4<Int32>;

// True when a vector of `count` elements has nothing but its elements and their alignment.
template <class Vector, class Element, Int count>
inline constexpr Bool kIsTightVector = sizeof(Vector) == count * sizeof(Element) && alignof(Vector) == alignof(Element);

static_assert(kIsTightVector<Vec2<Float32>, Float32, 2> && kIsTightVector<Vec3<Float32>, Float32, 3> &&
              kIsTightVector<Vec4<Float32>, Float32, 4>);
static_assert(kIsTightVector<Vec2<Int32>, Int32, 2> && kIsTightVector<Vec3<Int32>, Int32, 3> &&
              kIsTightVector<Vec4<Int32>, Int32, 4>);
static_assert(kIsTightVector<Vec2<UInt32>, UInt32, 2> && kIsTightVector<Vec3<UInt32>, UInt32, 3> &&
              kIsTightVector<Vec4<UInt32>, UInt32, 4>);

}  // namespace ostra
