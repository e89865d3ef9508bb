// LaneVec2, LaneVec3, LaneVec4: small vectors with lanes as components, and the vocabulary's functions of them
// (ostra/math/vector_functions.h) with the same bits.
//
// A vector that all lanes share converts by itself: `LaneVec3<Float32>(position) + direction` is `position +
// direction`.

namespace ostra::OSTRA_LANES {

#define OSTRA_LANE_VECTOR_OPERATORS(Vector, each, eachScalar)                                      \
  friend OSTRA_LANE_INLINE Vector operator+(const Vector& a, const Vector& b) { return each(+); }  \
  friend OSTRA_LANE_INLINE Vector operator-(const Vector& a, const Vector& b) { return each(-); }  \
  friend OSTRA_LANE_INLINE Vector operator*(const Vector& a, const Vector& b) { return each(*); }  \
  friend OSTRA_LANE_INLINE Vector operator/(const Vector& a, const Vector& b) { return each(/); }  \
  friend OSTRA_LANE_INLINE Vector operator+(const Vector& a, Lanes<T> s) { return a + Vector(s); } \
  friend OSTRA_LANE_INLINE Vector operator-(const Vector& a, Lanes<T> s) { return a - Vector(s); } \
  friend OSTRA_LANE_INLINE Vector operator*(const Vector& a, Lanes<T> s) { return a * Vector(s); } \
  friend OSTRA_LANE_INLINE Vector operator/(const Vector& a, Lanes<T> s) { return a / Vector(s); } \
  friend OSTRA_LANE_INLINE Vector operator+(Lanes<T> s, const Vector& a) { return Vector(s) + a; } \
  friend OSTRA_LANE_INLINE Vector operator-(Lanes<T> s, const Vector& a) { return Vector(s) - a; } \
  friend OSTRA_LANE_INLINE Vector operator*(Lanes<T> s, const Vector& a) { return Vector(s) * a; } \
  friend OSTRA_LANE_INLINE Vector operator/(Lanes<T> s, const Vector& a) { return Vector(s) / a; }

template <class T>
struct LaneVec2 {
  using Element = T;
  Lanes<T> x, y;

  LaneVec2() = default;
  OSTRA_LANE_INLINE LaneVec2(Lanes<T> a, Lanes<T> b) : x(a), y(b) {}
  OSTRA_LANE_INLINE explicit LaneVec2(Lanes<T> all) : x(all), y(all) {}
  OSTRA_LANE_INLINE LaneVec2(const Vec2<T>& shared) : x(shared.x), y(shared.y) {}
  friend OSTRA_LANE_INLINE LaneVec2 operator-(const LaneVec2& a) { return {-a.x, -a.y}; }
#define OSTRA_EACH(op) LaneVec2(a.x op b.x, a.y op b.y)
  OSTRA_LANE_VECTOR_OPERATORS(LaneVec2, OSTRA_EACH, )
#undef OSTRA_EACH
  friend OSTRA_LANE_INLINE Mask operator==(const LaneVec2& a, const LaneVec2& b) { return (a.x == b.x) & (a.y == b.y); }
  friend OSTRA_LANE_INLINE Mask operator!=(const LaneVec2& a, const LaneVec2& b) { return !(a == b); }
};

template <class T>
struct LaneVec3 {
  using Element = T;
  Lanes<T> x, y, z;

  LaneVec3() = default;
  OSTRA_LANE_INLINE LaneVec3(Lanes<T> a, Lanes<T> b, Lanes<T> c) : x(a), y(b), z(c) {}
  OSTRA_LANE_INLINE explicit LaneVec3(Lanes<T> all) : x(all), y(all), z(all) {}
  OSTRA_LANE_INLINE LaneVec3(const Vec3<T>& shared) : x(shared.x), y(shared.y), z(shared.z) {}
  OSTRA_LANE_INLINE LaneVec3(const LaneVec2<T>& a, Lanes<T> b) : x(a.x), y(a.y), z(b) {}
  OSTRA_LANE_INLINE LaneVec3(Lanes<T> a, const LaneVec2<T>& b) : x(a), y(b.x), z(b.y) {}
  friend OSTRA_LANE_INLINE LaneVec3 operator-(const LaneVec3& a) { return {-a.x, -a.y, -a.z}; }
#define OSTRA_EACH(op) LaneVec3(a.x op b.x, a.y op b.y, a.z op b.z)
  OSTRA_LANE_VECTOR_OPERATORS(LaneVec3, OSTRA_EACH, )
#undef OSTRA_EACH
  friend OSTRA_LANE_INLINE Mask operator==(const LaneVec3& a, const LaneVec3& b) {
    return (a.x == b.x) & (a.y == b.y) & (a.z == b.z);
  }
  friend OSTRA_LANE_INLINE Mask operator!=(const LaneVec3& a, const LaneVec3& b) { return !(a == b); }
};

template <class T>
struct LaneVec4 {
  using Element = T;
  Lanes<T> x, y, z, w;

  LaneVec4() = default;
  OSTRA_LANE_INLINE LaneVec4(Lanes<T> a, Lanes<T> b, Lanes<T> c, Lanes<T> d) : x(a), y(b), z(c), w(d) {}
  OSTRA_LANE_INLINE explicit LaneVec4(Lanes<T> all) : x(all), y(all), z(all), w(all) {}
  OSTRA_LANE_INLINE LaneVec4(const Vec4<T>& shared) : x(shared.x), y(shared.y), z(shared.z), w(shared.w) {}
  OSTRA_LANE_INLINE LaneVec4(const LaneVec3<T>& a, Lanes<T> b) : x(a.x), y(a.y), z(a.z), w(b) {}
  OSTRA_LANE_INLINE LaneVec4(Lanes<T> a, const LaneVec3<T>& b) : x(a), y(b.x), z(b.y), w(b.z) {}
  OSTRA_LANE_INLINE LaneVec4(const LaneVec2<T>& a, const LaneVec2<T>& b) : x(a.x), y(a.y), z(b.x), w(b.y) {}
  OSTRA_LANE_INLINE LaneVec4(const LaneVec2<T>& a, Lanes<T> b, Lanes<T> c) : x(a.x), y(a.y), z(b), w(c) {}
  // As Vec4 does it, unlike the others: what is 0 stays 0 and does not become -0.
  friend OSTRA_LANE_INLINE LaneVec4 operator-(const LaneVec4& a) { return LaneVec4(Lanes<T>(T(0))) - a; }
#define OSTRA_EACH(op) LaneVec4(a.x op b.x, a.y op b.y, a.z op b.z, a.w op b.w)
  OSTRA_LANE_VECTOR_OPERATORS(LaneVec4, OSTRA_EACH, )
#undef OSTRA_EACH
  friend OSTRA_LANE_INLINE Mask operator==(const LaneVec4& a, const LaneVec4& b) {
    return (a.x == b.x) & (a.y == b.y) & (a.z == b.z) & (a.w == b.w);
  }
  friend OSTRA_LANE_INLINE Mask operator!=(const LaneVec4& a, const LaneVec4& b) { return !(a == b); }
};
#undef OSTRA_LANE_VECTOR_OPERATORS

// `a` where the mask holds, `b` elsewhere.
template <class T>
OSTRA_LANE_INLINE LaneVec2<T> Select(Mask m, const LaneVec2<T>& a, const LaneVec2<T>& b) {
  return {Select(m, a.x, b.x), Select(m, a.y, b.y)};
}
template <class T>
OSTRA_LANE_INLINE LaneVec3<T> Select(Mask m, const LaneVec3<T>& a, const LaneVec3<T>& b) {
  return {Select(m, a.x, b.x), Select(m, a.y, b.y), Select(m, a.z, b.z)};
}
template <class T>
OSTRA_LANE_INLINE LaneVec4<T> Select(Mask m, const LaneVec4<T>& a, const LaneVec4<T>& b) {
  return {Select(m, a.x, b.x), Select(m, a.y, b.y), Select(m, a.z, b.z), Select(m, a.w, b.w)};
}

// Each component as another number.
template <class To, class From>
OSTRA_LANE_INLINE LaneVec2<To> Convert(const LaneVec2<From>& a) {
  return {Convert<To>(a.x), Convert<To>(a.y)};
}
template <class To, class From>
OSTRA_LANE_INLINE LaneVec3<To> Convert(const LaneVec3<From>& a) {
  return {Convert<To>(a.x), Convert<To>(a.y), Convert<To>(a.z)};
}
template <class To, class From>
OSTRA_LANE_INLINE LaneVec4<To> Convert(const LaneVec4<From>& a) {
  return {Convert<To>(a.x), Convert<To>(a.y), Convert<To>(a.z), Convert<To>(a.w)};
}

// A function of scalars, component by component. Arguments that are scalars stand for all components.
#define OSTRA_LANE_UNARY(T, name)                                                                        \
  OSTRA_LANE_INLINE LaneVec2<T> name(const LaneVec2<T>& a) { return {name(a.x), name(a.y)}; }            \
  OSTRA_LANE_INLINE LaneVec3<T> name(const LaneVec3<T>& a) { return {name(a.x), name(a.y), name(a.z)}; } \
  OSTRA_LANE_INLINE LaneVec4<T> name(const LaneVec4<T>& a) { return {name(a.x), name(a.y), name(a.z), name(a.w)}; }
#define OSTRA_LANE_BINARY(T, name)                                                 \
  OSTRA_LANE_INLINE LaneVec2<T> name(const LaneVec2<T>& a, const LaneVec2<T>& b) { \
    return {name(a.x, b.x), name(a.y, b.y)};                                       \
  }                                                                                \
  OSTRA_LANE_INLINE LaneVec3<T> name(const LaneVec3<T>& a, const LaneVec3<T>& b) { \
    return {name(a.x, b.x), name(a.y, b.y), name(a.z, b.z)};                       \
  }                                                                                \
  OSTRA_LANE_INLINE LaneVec4<T> name(const LaneVec4<T>& a, const LaneVec4<T>& b) { \
    return {name(a.x, b.x), name(a.y, b.y), name(a.z, b.z), name(a.w, b.w)};       \
  }
#define OSTRA_LANE_TERNARY(T, name)                                                                      \
  OSTRA_LANE_INLINE LaneVec2<T> name(const LaneVec2<T>& a, const LaneVec2<T>& b, const LaneVec2<T>& c) { \
    return {name(a.x, b.x, c.x), name(a.y, b.y, c.y)};                                                   \
  }                                                                                                      \
  OSTRA_LANE_INLINE LaneVec3<T> name(const LaneVec3<T>& a, const LaneVec3<T>& b, const LaneVec3<T>& c) { \
    return {name(a.x, b.x, c.x), name(a.y, b.y, c.y), name(a.z, b.z, c.z)};                              \
  }                                                                                                      \
  OSTRA_LANE_INLINE LaneVec4<T> name(const LaneVec4<T>& a, const LaneVec4<T>& b, const LaneVec4<T>& c) { \
    return {name(a.x, b.x, c.x), name(a.y, b.y, c.y), name(a.z, b.z, c.z), name(a.w, b.w, c.w)};         \
  }
#define OSTRA_LANE_EACH_WIDTH(form, T, name) \
  form(LaneVec2<T>, T, name) form(LaneVec3<T>, T, name) form(LaneVec4<T>, T, name)
#define OSTRA_LANE_VECTOR_SCALAR(Vector, T, name) \
  OSTRA_LANE_INLINE Vector name(const Vector& a, Lanes<T> b) { return name(a, Vector(b)); }
#define OSTRA_LANE_SCALAR_VECTOR(Vector, T, name) \
  OSTRA_LANE_INLINE Vector name(Lanes<T> a, const Vector& b) { return name(Vector(a), b); }
#define OSTRA_LANE_VECTOR_SCALAR_SCALAR(Vector, T, name) \
  OSTRA_LANE_INLINE Vector name(const Vector& a, Lanes<T> b, Lanes<T> c) { return name(a, Vector(b), Vector(c)); }
#define OSTRA_LANE_VECTOR_VECTOR_SCALAR(Vector, T, name) \
  OSTRA_LANE_INLINE Vector name(const Vector& a, const Vector& b, Lanes<T> c) { return name(a, b, Vector(c)); }
#define OSTRA_LANE_SCALAR_SCALAR_VECTOR(Vector, T, name) \
  OSTRA_LANE_INLINE Vector name(Lanes<T> a, Lanes<T> b, const Vector& c) { return name(Vector(a), Vector(b), c); }

OSTRA_LANE_UNARY(Float32, abs)
OSTRA_LANE_UNARY(Int32, abs)
OSTRA_LANE_UNARY(Float32, sign)
OSTRA_LANE_UNARY(Int32, sign)
OSTRA_LANE_UNARY(Float32, floor)
OSTRA_LANE_UNARY(Float32, ceil)
OSTRA_LANE_UNARY(Float32, trunc)
OSTRA_LANE_UNARY(Float32, fract)
OSTRA_LANE_UNARY(Float32, sqrt)
OSTRA_LANE_UNARY(Float32, inversesqrt)
#define OSTRA_LANE_WORD(name) OSTRA_LANE_UNARY(Float32, name)
OSTRA_ELEMENTARY_UNARY(OSTRA_LANE_WORD)
#undef OSTRA_LANE_WORD
OSTRA_LANE_UNARY(Float32, radians)
OSTRA_LANE_UNARY(Float32, degrees)
#define OSTRA_LANE_WORD(name) OSTRA_LANE_BINARY(Float32, name)
OSTRA_ELEMENTARY_BINARY(OSTRA_LANE_WORD)
#undef OSTRA_LANE_WORD
OSTRA_LANE_BINARY(Float32, mod)
OSTRA_LANE_EACH_WIDTH(OSTRA_LANE_VECTOR_SCALAR, Float32, mod)
OSTRA_LANE_BINARY(Float32, step)
OSTRA_LANE_EACH_WIDTH(OSTRA_LANE_SCALAR_VECTOR, Float32, step)
#define OSTRA_LANE_ORDER(T)                               \
  OSTRA_LANE_BINARY(T, min)                               \
  OSTRA_LANE_EACH_WIDTH(OSTRA_LANE_VECTOR_SCALAR, T, min) \
  OSTRA_LANE_BINARY(T, max)                               \
  OSTRA_LANE_EACH_WIDTH(OSTRA_LANE_VECTOR_SCALAR, T, max) \
  OSTRA_LANE_TERNARY(T, clamp)                            \
  OSTRA_LANE_EACH_WIDTH(OSTRA_LANE_VECTOR_SCALAR_SCALAR, T, clamp)
OSTRA_LANE_ORDER(Float32)
OSTRA_LANE_ORDER(Int32)
OSTRA_LANE_ORDER(UInt32)
OSTRA_LANE_TERNARY(Float32, mix)
OSTRA_LANE_EACH_WIDTH(OSTRA_LANE_VECTOR_VECTOR_SCALAR, Float32, mix)
OSTRA_LANE_TERNARY(Float32, smoothstep)
OSTRA_LANE_EACH_WIDTH(OSTRA_LANE_SCALAR_SCALAR_VECTOR, Float32, smoothstep)
#undef OSTRA_LANE_ORDER
#undef OSTRA_LANE_UNARY
#undef OSTRA_LANE_BINARY
#undef OSTRA_LANE_TERNARY
#undef OSTRA_LANE_EACH_WIDTH
#undef OSTRA_LANE_VECTOR_SCALAR
#undef OSTRA_LANE_SCALAR_VECTOR
#undef OSTRA_LANE_VECTOR_SCALAR_SCALAR
#undef OSTRA_LANE_VECTOR_VECTOR_SCALAR
#undef OSTRA_LANE_SCALAR_SCALAR_VECTOR

OSTRA_LANE_INLINE Lanes<Float32> dot(const LaneVec2<Float32>& a, const LaneVec2<Float32>& b) {
  return a.x * b.x + a.y * b.y;
}
OSTRA_LANE_INLINE Lanes<Float32> dot(const LaneVec3<Float32>& a, const LaneVec3<Float32>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
OSTRA_LANE_INLINE Lanes<Float32> dot(const LaneVec4<Float32>& a, const LaneVec4<Float32>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}
OSTRA_LANE_INLINE LaneVec3<Float32> cross(const LaneVec3<Float32>& a, const LaneVec3<Float32>& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

#define OSTRA_LANE_GEOMETRY(Vector)                                                                     \
  OSTRA_LANE_INLINE Lanes<Float32> length(const Vector& a) { return sqrt(dot(a, a)); }                  \
  OSTRA_LANE_INLINE Lanes<Float32> distance(const Vector& a, const Vector& b) { return length(a - b); } \
  OSTRA_LANE_INLINE Vector normalize(const Vector& a) { return a * inversesqrt(dot(a, a)); }            \
  OSTRA_LANE_INLINE Vector reflect(const Vector& a, const Vector& normal) {                             \
    return a - normal * (2.0f * dot(normal, a));                                                        \
  }
OSTRA_LANE_GEOMETRY(LaneVec2<Float32>)
OSTRA_LANE_GEOMETRY(LaneVec3<Float32>)
OSTRA_LANE_GEOMETRY(LaneVec4<Float32>)
#undef OSTRA_LANE_GEOMETRY

}  // namespace ostra::OSTRA_LANES
