// Matrices of Float32: square ones by their columns, and the affine matrix of an object in space.
//
//   SquareMatrix32 turn(Vector32(0, 1, 0), Vector32(-1, 0, 0), Vector32(0, 0, 1));    // columns v0, v1, v2
//   Vector32 turned = mul(turn, direction);                                            // vocabulary.h
//
// A square matrix lies in memory column after column without gaps. There is no operator *: the shading languages
// disagree about it, mul(matrix, vector) means the same everywhere.
#pragma once

#include "ostra/math/vector.h"

namespace ostra {

struct SquareMatrix32 {
  SquareMatrix32() = default;
  constexpr SquareMatrix32(const Vector32& column0, const Vector32& column1, const Vector32& column2)
      : v0(column0), v1(column1), v2(column2) {}
  friend constexpr Bool operator==(const SquareMatrix32&, const SquareMatrix32&) = default;

  Vector32 v0, v1, v2;
};

struct SquareMatrix4d32 {
  SquareMatrix4d32() = default;
  constexpr SquareMatrix4d32(const Vector4d32& column0, const Vector4d32& column1, const Vector4d32& column2,
                             const Vector4d32& column3)
      : v0(column0), v1(column1), v2(column2), v3(column3) {}
  friend constexpr Bool operator==(const SquareMatrix4d32&, const SquareMatrix4d32&) = default;

  Vector4d32 v0, v1, v2, v3;
};

using Matrix32 = SquareMatrix4d32;

// A point p becomes off + v1 * p.x + v2 * p.y + v3 * p.z: `off` is the origin, v1 to v3 are the axes.
struct AffineMatrix32 {
  AffineMatrix32() = default;
  constexpr AffineMatrix32(const Vector32& offset, const Vector32& axis1, const Vector32& axis2, const Vector32& axis3)
      : off(offset), v1(axis1), v2(axis2), v3(axis3) {}
  friend constexpr Bool operator==(const AffineMatrix32&, const AffineMatrix32&) = default;

  Vector32 off, v1, v2, v3;
};

// The form in which kernels receive an affine matrix: the columns v0 to v2 each yield one coordinate of the result,
// with the offset in their w, so that mul(Vector4d32(p, 1), m) moves the point and MatrixOffset(m) is the offset.
constexpr SquareMatrix4d32 ToKernelMatrix(const AffineMatrix32& m) {
  return SquareMatrix4d32(Vector4d32(m.v1.x, m.v2.x, m.v3.x, m.off.x), Vector4d32(m.v1.y, m.v2.y, m.v3.y, m.off.y),
                          Vector4d32(m.v1.z, m.v2.z, m.v3.z, m.off.z), Vector4d32(0.0f, 0.0f, 0.0f, 1.0f));
}

static_assert(kIsTightVector<SquareMatrix32, Float32, 9> && kIsTightVector<SquareMatrix4d32, Float32, 16> &&
              kIsTightVector<AffineMatrix32, Float32, 12>);

}  // namespace ostra
