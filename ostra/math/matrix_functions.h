// The vocabulary's functions of matrices (see vocabulary.h).
#pragma once

#include "ostra/math/matrix.h"
#include "ostra/math/vector_functions.h"

namespace ostra::vocabulary {

// The sum of the columns, each times its component of the vector.
inline Vector32 mul(const SquareMatrix32& m, const Vector32& v) { return m.v0 * v.x + m.v1 * v.y + m.v2 * v.z; }
inline Vector4d32 mul(const SquareMatrix4d32& m, const Vector4d32& v) {
  return m.v0 * v.x + m.v1 * v.y + m.v2 * v.z + m.v3 * v.w;
}
// The vector as a row: its dot product with each column.
inline Vector32 mul(const Vector32& v, const SquareMatrix32& m) {
  return Vector32(dot(v, m.v0), dot(v, m.v1), dot(v, m.v2));
}
inline Vector4d32 mul(const Vector4d32& v, const SquareMatrix4d32& m) {
  return Vector4d32(dot(v, m.v0), dot(v, m.v1), dot(v, m.v2), dot(v, m.v3));
}
// The matrix that applies `b` first and then `a`.
inline SquareMatrix32 mul(const SquareMatrix32& a, const SquareMatrix32& b) {
  return SquareMatrix32(mul(a, b.v0), mul(a, b.v1), mul(a, b.v2));
}
inline SquareMatrix4d32 mul(const SquareMatrix4d32& a, const SquareMatrix4d32& b) {
  return SquareMatrix4d32(mul(a, b.v0), mul(a, b.v1), mul(a, b.v2), mul(a, b.v3));
}
// The point moved by an affine matrix.
inline Vector32 mul(const AffineMatrix32& m, const Vector32& p) { return m.off + m.v1 * p.x + m.v2 * p.y + m.v3 * p.z; }

inline SquareMatrix32 transpose(const SquareMatrix32& m) {
  return SquareMatrix32(Vector32(m.v0.x, m.v1.x, m.v2.x), Vector32(m.v0.y, m.v1.y, m.v2.y),
                        Vector32(m.v0.z, m.v1.z, m.v2.z));
}
inline SquareMatrix4d32 transpose(const SquareMatrix4d32& m) {
  return SquareMatrix4d32(Vector4d32(m.v0.x, m.v1.x, m.v2.x, m.v3.x), Vector4d32(m.v0.y, m.v1.y, m.v2.y, m.v3.y),
                          Vector4d32(m.v0.z, m.v1.z, m.v2.z, m.v3.z), Vector4d32(m.v0.w, m.v1.w, m.v2.w, m.v3.w));
}

// The offset of an affine matrix that a kernel received as a 4x4 matrix (ToKernelMatrix).
inline Vector32 MatrixOffset(const SquareMatrix4d32& m) { return Vector32(m.v0.w, m.v1.w, m.v2.w); }
inline Vector32 matoff(const SquareMatrix4d32& m) { return MatrixOffset(m); }

inline Float32 determinant(const SquareMatrix32& m) { return dot(m.v0, cross(m.v1, m.v2)); }

// The inverse; of a matrix with determinant 0 its components are infinite or not numbers.
inline SquareMatrix32 inverse(const SquareMatrix32& m) {
  const Vector32 row0 = cross(m.v1, m.v2), row1 = cross(m.v2, m.v0), row2 = cross(m.v0, m.v1);
  const Float32 scale = 1.0f / dot(m.v0, row0);
  return transpose(SquareMatrix32(row0 * scale, row1 * scale, row2 * scale));
}

// The 2x2 determinants of the upper (s) and lower (c) halves of the columns, of which determinant and inverse consist.
struct SubDeterminants {
  explicit SubDeterminants(const SquareMatrix4d32& m)
      : s0(m.v0.x * m.v1.y - m.v1.x * m.v0.y),
        s1(m.v0.x * m.v2.y - m.v2.x * m.v0.y),
        s2(m.v0.x * m.v3.y - m.v3.x * m.v0.y),
        s3(m.v1.x * m.v2.y - m.v2.x * m.v1.y),
        s4(m.v1.x * m.v3.y - m.v3.x * m.v1.y),
        s5(m.v2.x * m.v3.y - m.v3.x * m.v2.y),
        c0(m.v0.z * m.v1.w - m.v1.z * m.v0.w),
        c1(m.v0.z * m.v2.w - m.v2.z * m.v0.w),
        c2(m.v0.z * m.v3.w - m.v3.z * m.v0.w),
        c3(m.v1.z * m.v2.w - m.v2.z * m.v1.w),
        c4(m.v1.z * m.v3.w - m.v3.z * m.v1.w),
        c5(m.v2.z * m.v3.w - m.v3.z * m.v2.w) {}
  Float32 GetDeterminant() const { return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0; }

  Float32 s0, s1, s2, s3, s4, s5, c0, c1, c2, c3, c4, c5;
};

inline Float32 determinant(const SquareMatrix4d32& m) { return SubDeterminants(m).GetDeterminant(); }

inline SquareMatrix4d32 inverse(const SquareMatrix4d32& m) {
  const SubDeterminants d(m);
  const Float32 scale = 1.0f / d.GetDeterminant();
  const Vector4d32 &a = m.v0, &b = m.v1, &c = m.v2, &e = m.v3;
  return SquareMatrix4d32(Vector4d32(b.y * d.c5 - c.y * d.c4 + e.y * d.c3, -a.y * d.c5 + c.y * d.c2 - e.y * d.c1,
                                     a.y * d.c4 - b.y * d.c2 + e.y * d.c0, -a.y * d.c3 + b.y * d.c1 - c.y * d.c0) *
                              scale,
                          Vector4d32(-b.x * d.c5 + c.x * d.c4 - e.x * d.c3, a.x * d.c5 - c.x * d.c2 + e.x * d.c1,
                                     -a.x * d.c4 + b.x * d.c2 - e.x * d.c0, a.x * d.c3 - b.x * d.c1 + c.x * d.c0) *
                              scale,
                          Vector4d32(b.w * d.s5 - c.w * d.s4 + e.w * d.s3, -a.w * d.s5 + c.w * d.s2 - e.w * d.s1,
                                     a.w * d.s4 - b.w * d.s2 + e.w * d.s0, -a.w * d.s3 + b.w * d.s1 - c.w * d.s0) *
                              scale,
                          Vector4d32(-b.z * d.s5 + c.z * d.s4 - e.z * d.s3, a.z * d.s5 - c.z * d.s2 + e.z * d.s1,
                                     -a.z * d.s4 + b.z * d.s2 - e.z * d.s0, a.z * d.s3 - b.z * d.s1 + c.z * d.s0) *
                              scale);
}

}  // namespace ostra::vocabulary
