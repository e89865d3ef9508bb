// The words that kernel files are written in: the short type names and the functions of the shading languages.
//
//   using namespace ostra::vocabulary;
//   vec3 n = normalize(cross(a, b));
//   float shade = clamp(dot(n, light), 0.0f, 1.0f);
//
// Functions take scalars, or vectors component by component, and mean what GLSL says. Where a scalar may stand beside
// vectors (min, max, clamp, mix, step, smoothstep, mod) it is used for every component. Sums (dot, mul) are added from
// the first component to the last. Everything inlines; nothing allocates, fails or keeps state. Arguments of Float64
// are computed with in Float64 (float64_forms.h).
#pragma once

#include "ostra/math/float64_forms.h"
#include "ostra/math/half_float.h"
#include "ostra/math/matrix.h"
#include "ostra/math/matrix_functions.h"
#include "ostra/math/scalar_functions.h"
#include "ostra/math/vector_functions.h"

namespace ostra::vocabulary {

using uint = UInt32;
using half = HalfFloat;

using vec2 = Vec2<Float32>;
using vec3 = Vec3<Float32>;
using vec4 = Vec4<Float32>;
using float2 = Vec2<Float32>;
using float3 = Vec3<Float32>;
using float4 = Vec4<Float32>;
using int2 = Vec2<Int32>;
using int3 = Vec3<Int32>;
using int4 = Vec4<Int32>;
using uint2 = Vec2<UInt32>;
using uint3 = Vec3<UInt32>;
using uint4 = Vec4<UInt32>;
using half2 = Vec2<HalfFloat>;
using half3 = Vec3<HalfFloat>;
using half4 = Vec4<HalfFloat>;

using mat3 = SquareMatrix32;
using mat4 = SquareMatrix4d32;
using sqmat = SquareMatrix32;

}  // namespace ostra::vocabulary
