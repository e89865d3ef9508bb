// The vocabulary's functions of vectors (see vocabulary.h).
//
// They are plain overloads, not templates: arguments of a wrong type are refused where they are written, and a kernel
// file pays for no instantiation.
#pragma once

#include "ostra/math/float64_scalar_functions.h"
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

// What integers have as well.
#define OSTRA_ORDER_FUNCTIONS(Element)                \
  OSTRA_BINARY(Element, min)                          \
  OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Element, min) \
  OSTRA_BINARY(Element, max)                          \
  OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Element, max) \
  OSTRA_TERNARY(Element, clamp)                       \
  OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR_SCALAR, Element, clamp)

// Length, distance, unit vector, mirror image of `a` at the plane with the unit normal `normal`.
#define OSTRA_GEOMETRY(Vector, Element, name)                                         \
  inline Element length(const Vector& a) { return sqrt(dot(a, a)); }                  \
  inline Element distance(const Vector& a, const Vector& b) { return length(a - b); } \
  inline Vector normalize(const Vector& a) { return a * inversesqrt(dot(a, a)); }     \
  inline Vector reflect(const Vector& a, const Vector& normal) { return a - normal * (Element(2) * dot(normal, a)); }

// All functions of vectors of floating-point numbers.
#define OSTRA_FLOAT_VECTOR_FUNCTIONS(Element)                                                                      \
  OSTRA_UNARY(Element, abs)                                                                                        \
  OSTRA_UNARY(Element, sign)                                                                                       \
  OSTRA_UNARY(Element, floor)                                                                                      \
  OSTRA_UNARY(Element, ceil)                                                                                       \
  OSTRA_UNARY(Element, trunc)                                                                                      \
  OSTRA_UNARY(Element, fract)                                                                                      \
  OSTRA_UNARY(Element, sqrt)                                                                                       \
  OSTRA_UNARY(Element, inversesqrt)                                                                                \
  OSTRA_UNARY(Element, exp)                                                                                        \
  OSTRA_UNARY(Element, exp2)                                                                                       \
  OSTRA_UNARY(Element, log)                                                                                        \
  OSTRA_UNARY(Element, log2)                                                                                       \
  OSTRA_UNARY(Element, sin)                                                                                        \
  OSTRA_UNARY(Element, cos)                                                                                        \
  OSTRA_UNARY(Element, tan)                                                                                        \
  OSTRA_UNARY(Element, asin)                                                                                       \
  OSTRA_UNARY(Element, acos)                                                                                       \
  OSTRA_UNARY(Element, atan)                                                                                       \
  OSTRA_UNARY(Element, radians)                                                                                    \
  OSTRA_UNARY(Element, degrees)                                                                                    \
  OSTRA_BINARY(Element, pow)                                                                                       \
  OSTRA_BINARY(Element, atan)                                                                                      \
  OSTRA_BINARY(Element, mod)                                                                                       \
  OSTRA_EACH_WIDTH(OSTRA_VECTOR_SCALAR, Element, mod)                                                              \
  OSTRA_BINARY(Element, step)                                                                                      \
  OSTRA_EACH_WIDTH(OSTRA_SCALAR_VECTOR, Element, step)                                                             \
  OSTRA_ORDER_FUNCTIONS(Element)                                                                                   \
  OSTRA_TERNARY(Element, mix)                                                                                      \
  OSTRA_EACH_WIDTH(OSTRA_VECTOR_VECTOR_SCALAR, Element, mix)                                                       \
  OSTRA_TERNARY(Element, smoothstep)                                                                               \
  OSTRA_EACH_WIDTH(OSTRA_SCALAR_SCALAR_VECTOR, Element, smoothstep)                                                \
  inline Element dot(const Vec2<Element>& a, const Vec2<Element>& b) { return a.x * b.x + a.y * b.y; }             \
  inline Element dot(const Vec3<Element>& a, const Vec3<Element>& b) { return a.x * b.x + a.y * b.y + a.z * b.z; } \
  inline Element dot(const Vec4<Element>& a, const Vec4<Element>& b) {                                             \
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;                                                          \
  }                                                                                                                \
  inline Vec3<Element> cross(const Vec3<Element>& a, const Vec3<Element>& b) {                                     \
    return Vec3<Element>(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);                     \
  }                                                                                                                \
  OSTRA_EACH_WIDTH(OSTRA_GEOMETRY, Element, )

OSTRA_FLOAT_VECTOR_FUNCTIONS(Float32)
OSTRA_UNARY(Int32, abs)
OSTRA_UNARY(Int32, sign)
OSTRA_ORDER_FUNCTIONS(Int32)
OSTRA_ORDER_FUNCTIONS(UInt32)

namespace float64 {
OSTRA_FLOAT_VECTOR_FUNCTIONS(Float64)
}  // namespace float64

#undef OSTRA_UNARY
#undef OSTRA_BINARY
#undef OSTRA_TERNARY
#undef OSTRA_EACH_WIDTH
#undef OSTRA_VECTOR_SCALAR
#undef OSTRA_SCALAR_VECTOR
#undef OSTRA_VECTOR_SCALAR_SCALAR
#undef OSTRA_VECTOR_VECTOR_SCALAR
#undef OSTRA_SCALAR_SCALAR_VECTOR
#undef OSTRA_ORDER_FUNCTIONS
#undef OSTRA_GEOMETRY
#undef OSTRA_FLOAT_VECTOR_FUNCTIONS

}  // namespace ostra::vocabulary
