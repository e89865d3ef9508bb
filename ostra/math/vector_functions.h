// The vocabulary's functions of vectors (see vocabulary.h).
//
// They are plain overloads, not templates: arguments of a wrong type are refused where they are written, and a kernel
// file pays for no instantiation.
#pragma once

#include "ostra/math/scalar_functions.h"
#include "ostra/math/vector.h"

namespace ostra::vocabulary {

// Overloads of the scalar functions, component by component.
#define OSTRA_UNARY(Element, name)                                                                             \
  inline Vec2<Element> name(const Vec2<Element>& a) { return Vec2<Element>(name(a.x), name(a.y)); }            \
  inline Vec3<Element> name(const Vec3<Element>& a) { return Vec3<Element>(name(a.x), name(a.y), name(a.z)); } \
  inline Vec4<Element> name(const Vec4<Element>& a) {                                                          \
    return Vec4<Element>(name(a.x), name(a.y), name(a.z), name(a.w));                                          \
  }
#define OSTRA_BINARY(Element, name)                                                       \
  inline Vec2<Element> name(const Vec2<Element>& a, const Vec2<Element>& b) {             \
    return Vec2<Element>(name(a.x, b.x), name(a.y, b.y));                                 \
  }                                                                                       \
  inline Vec3<Element> name(const Vec3<Element>& a, const Vec3<Element>& b) {             \
    return Vec3<Element>(name(a.x, b.x), name(a.y, b.y), name(a.z, b.z));                 \
  }                                                                                       \
  inline Vec4<Element> name(const Vec4<Element>& a, const Vec4<Element>& b) {             \
    return Vec4<Element>(name(a.x, b.x), name(a.y, b.y), name(a.z, b.z), name(a.w, b.w)); \
  }
#define OSTRA_TERNARY(Element, name)                                                                          \
  inline Vec2<Element> name(const Vec2<Element>& a, const Vec2<Element>& b, const Vec2<Element>& c) {         \
    return Vec2<Element>(name(a.x, b.x, c.x), name(a.y, b.y, c.y));                                           \
  }                                                                                                           \
  inline Vec3<Element> name(const Vec3<Element>& a, const Vec3<Element>& b, const Vec3<Element>& c) {         \
    return Vec3<Element>(name(a.x, b.x, c.x), name(a.y, b.y, c.y), name(a.z, b.z, c.z));                      \
  }                                                                                                           \
  inline Vec4<Element> name(const Vec4<Element>& a, const Vec4<Element>& b, const Vec4<Element>& c) {         \
    return Vec4<Element>(name(a.x, b.x, c.x), name(a.y, b.y, c.y), name(a.z, b.z, c.z), name(a.w, b.w, c.w)); \
  }

// Calls `name` for every width of vector; for overloads whose other arguments are scalars.
#define OSTRA_EACH_WIDTH(form, Element, name) \
  form(Vec2<Element>, Element, name) form(Vec3<Element>, Element, name) form(Vec4<Element>, Element, name)
#define OSTRA_VECTOR_SCALAR(Vector, Element, name) \
  inline Vector name(const Vector& a, Element b) { return name(a, Vector(b)); }
#define OSTRA_SCALAR_VECTOR(Vector, Element, name) \
  inline Vector name(Element a, const Vector& b) { return name(Vector(a), b); }
#define OSTRA_VECTOR_SCALAR_SCALAR(Vector, Element, name) \
  inline Vector name(const Vector& a, Element b, Element c) { return name(a, Vector(b), Vector(c)); }
#define OSTRA_VECTOR_VECTOR_SCALAR(Vector, Element, name) \
  inline Vector name(const Vector& a, const Vector& b, Element c) { return name(a, b, Vector(c)); }
#define OSTRA_SCALAR_SCALAR_VECTOR(Vector, Element, name) \
  inline Vector name(Element a, Element b, const Vector& c) { return name(Vector(a), Vector(b), c); }

OSTRA_UNARY(Float32, abs)
OSTRA_UNARY(Int32, abs)
OSTRA_UNARY(Float32, sign)
OSTRA_UNARY(Int32, sign)
OSTRA_UNARY(Float32, floor)
OSTRA_UNARY(Float32, ceil)
OSTRA_UNARY(Float32, trunc)
OSTRA_UNARY(Float32, fract)
OSTRA_UNARY(Float32, sqrt)
OSTRA_UNARY(Float32, inversesqrt)
OSTRA_UNARY(Float32, exp)
OSTRA_UNARY(Float32, exp2)
OSTRA_UNARY(Float32, log)
OSTRA_UNARY(Float32, log2)
OSTRA_UNARY(Float32, sin)
OSTRA_UNARY(Float32, cos)
OSTRA_UNARY(Float32, tan)
OSTRA_UNARY(Float32, asin)
OSTRA_UNARY(Float32, acos)
OSTRA_UNARY(Float32, atan)
OSTRA_UNARY(Float32, radians)
OSTRA_UNARY(Float32, degrees)

OSTRA_BINARY(Float32, pow)
OSTRA_BINARY(Float32, atan)
OSTRA_BINARY(Float32, mod)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Float32, mod)
OSTRA_BINARY(Float32, step)
OSTRA_EACH_WIDTH(OSTRA_SCALAR_VECTOR, Float32, step)

OSTRA_BINARY(Float32, min)
OSTRA_BINARY(Int32, min)
OSTRA_BINARY(UInt32, min)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Float32, min)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Int32, min)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, UInt32, min)
OSTRA_BINARY(Float32, max)
OSTRA_BINARY(Int32, max)
OSTRA_BINARY(UInt32, max)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Float32, max)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Int32, max)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, UInt32, max)
OSTRA_TERNARY(Float32, clamp)
OSTRA_TERNARY(Int32, clamp)
OSTRA_TERNARY(UInt32, clamp)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR_SCALAR, Float32, clamp)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR_SCALAR, Int32, clamp)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR_SCALAR, UInt32, clamp)

OSTRA_TERNARY(Float32, mix)
OSTRA_EACH_WIDTH(OSTRA_VECTOR_VECTOR_SCALAR, Float32, mix)
OSTRA_TERNARY(Float32, smoothstep)
OSTRA_EACH_WIDTH(OSTRA_SCALAR_SCALAR_VECTOR, Float32, smoothstep)

#undef OSTRA_UNARY
#undef OSTRA_BINARY
#undef OSTRA_TERNARY
#undef OSTRA_EACH_WIDTH
#undef OSTRA_VECTOR_SCALAR
#undef OSTRA_SCALAR_VECTOR
#undef OSTRA_VECTOR_SCALAR_SCALAR
#undef OSTRA_VECTOR_VECTOR_SCALAR
#undef OSTRA_SCALAR_SCALAR_VECTOR

inline Float32 dot(const Vec2<Float32>& a, const Vec2<Float32>& b) { return a.x * b.x + a.y * b.y; }
inline Float32 dot(const Vec3<Float32>& a, const Vec3<Float32>& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Float32 dot(const Vec4<Float32>& a, const Vec4<Float32>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}
inline Vec3<Float32> cross(const Vec3<Float32>& a, const Vec3<Float32>& b) {
  return Vec3<Float32>(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

// Length, distance, unit vector, mirror image of `a` at the plane with the unit normal `normal`.
#define OSTRA_GEOMETRY(Vector)                                                        \
  inline Float32 length(const Vector& a) { return sqrt(dot(a, a)); }                  \
  inline Float32 distance(const Vector& a, const Vector& b) { return length(a - b); } \
  inline Vector normalize(const Vector& a) { return a * inversesqrt(dot(a, a)); }     \
  inline Vector reflect(const Vector& a, const Vector& normal) { return a - normal * (2.0f * dot(normal, a)); }
OSTRA_GEOMETRY(Vec2<Float32>)
OSTRA_GEOMETRY(Vec3<Float32>)
OSTRA_GEOMETRY(Vec4<Float32>)
#undef OSTRA_GEOMETRY

}  // namespace ostra::vocabulary
