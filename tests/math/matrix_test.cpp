#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "ostra/math/vocabulary.h"

namespace ostra {
namespace {

using namespace vocabulary;

template <class Matrix, class Vector>
concept CanMultiplyWithOperator = requires(Matrix m, Vector v) {
  m* v;
};
static_assert(!CanMultiplyWithOperator<mat3, vec3> && !CanMultiplyWithOperator<mat4, vec4>,
              "The shading languages disagree about m * v.");
static_assert(sizeof(mat3) == 36 && sizeof(mat4) == 64 && sizeof(AffineMatrix32) == 48);

class MatrixTest : public testing::Test {
 protected:
  Float32 Random() { return std::uniform_real_distribution<Float32>(-2.0f, 2.0f)(_engine); }
  vec3 RandomVector3() { return vec3(Random(), Random(), Random()); }
  vec4 RandomVector4() { return vec4(Random(), Random(), Random(), Random()); }
  mat3 RandomMatrix3() { return mat3(RandomVector3(), RandomVector3(), RandomVector3()); }
  mat4 RandomMatrix4() { return mat4(RandomVector4(), RandomVector4(), RandomVector4(), RandomVector4()); }

 private:
  std::mt19937 _engine{11};
};

// Entry (row, column) of a matrix, read from its memory column by column.
template <int size, class Matrix>
Float64 GetEntry(const Matrix& m, int row, int column) {
  return reinterpret_cast<const Float32*>(&m)[column * size + row];
}

// The determinant by expansion along the first row.
template <int size>
Float64 FindDeterminant(const std::array<std::array<Float64, size>, size>& rows) {
  if constexpr (size == 1) {
    return rows[0][0];
  } else {
    Float64 sum = 0;
    for (int skipped = 0; skipped < size; ++skipped) {
      std::array<std::array<Float64, size - 1>, size - 1> minor;
      for (int row = 1; row < size; ++row)
        for (int column = 0, to = 0; column < size; ++column)
          if (column != skipped) minor[row - 1][to++] = rows[row][column];
      sum += (skipped % 2 ? -1 : 1) * rows[0][skipped] * FindDeterminant<size - 1>(minor);
    }
    return sum;
  }
}

template <int size, class Matrix>
Float64 FindDeterminantOf(const Matrix& m) {
  std::array<std::array<Float64, size>, size> rows;
  for (int row = 0; row < size; ++row)
    for (int column = 0; column < size; ++column) rows[row][column] = GetEntry<size>(m, row, column);
  return FindDeterminant<size>(rows);
}

template <int size, class Matrix>
void ExpectIdentity(const Matrix& m) {
  for (int row = 0; row < size; ++row)
    for (int column = 0; column < size; ++column)
      EXPECT_NEAR(GetEntry<size>(m, row, column), row == column ? 1 : 0, 1e-4) << row << ", " << column;
}

TEST_F(MatrixTest, MatrixTimesVectorIsTheSumOfRowProducts) {
  const mat4 m = RandomMatrix4();
  const vec4 v = RandomVector4(), product = mul(m, v), rowProduct = mul(v, m);
  for (int i = 0; i < 4; ++i) {
    Float64 expected = 0, expectedRow = 0;
    for (int k = 0; k < 4; ++k) {
      expected += GetEntry<4>(m, i, k) * v[k];
      expectedRow += GetEntry<4>(m, k, i) * v[k];
    }
    EXPECT_NEAR(product[i], expected, 1e-5);
    EXPECT_NEAR(rowProduct[i], expectedRow, 1e-5);
  }
}

TEST_F(MatrixTest, ThreeByThreeMatricesMultiplyLikeTheFourByFourMatricesThatContainThem) {
  const mat3 m = RandomMatrix3();
  const vec3 v = RandomVector3();
  const mat4 wide(vec4(m.v0, 0.0f), vec4(m.v1, 0.0f), vec4(m.v2, 0.0f), vec4(0.0f, 0.0f, 0.0f, 1.0f));
  EXPECT_EQ(mul(m, v), vec3(mul(wide, vec4(v, 0.0f))));
  EXPECT_EQ(mul(v, m), vec3(mul(vec4(v, 0.0f), wide)));
}

TEST_F(MatrixTest, ProductOfMatricesAppliesTheSecondFirst) {
  const mat3 a = RandomMatrix3(), b = RandomMatrix3();
  const vec3 v = RandomVector3(), together = mul(mul(a, b), v), apart = mul(a, mul(b, v));
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(together[i], apart[i], 1e-4);
}

TEST_F(MatrixTest, TransposingSwapsRowsAndColumns) {
  const mat4 m = RandomMatrix4(), t = transpose(m);
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column) EXPECT_EQ(GetEntry<4>(t, row, column), GetEntry<4>(m, column, row));
  const mat3 small = RandomMatrix3();
  EXPECT_EQ(transpose(transpose(small)), small);
  EXPECT_EQ(transpose(small).v1, vec3(small.v0.y, small.v1.y, small.v2.y));
}

TEST_F(MatrixTest, DeterminantsEqualTheExpansionAlongARow) {
  for (int i = 0; i < 50; ++i) {
    const mat3 small = RandomMatrix3();
    EXPECT_NEAR(determinant(small), FindDeterminantOf<3>(small), 1e-4);
    const mat4 large = RandomMatrix4();
    EXPECT_NEAR(determinant(large), FindDeterminantOf<4>(large), 1e-4);
  }
}

TEST_F(MatrixTest, AMatrixTimesItsInverseIsTheIdentity) {
  for (int i = 0; i < 50; ++i) {
    const mat3 small = RandomMatrix3();
    if (std::abs(FindDeterminantOf<3>(small)) > 0.5) ExpectIdentity<3>(mul(small, inverse(small)));
    const mat4 large = RandomMatrix4();
    if (std::abs(FindDeterminantOf<4>(large)) > 0.5) ExpectIdentity<4>(mul(inverse(large), large));
  }
}

TEST_F(MatrixTest, TheKernelFormOfAnAffineMatrixMovesPointsAlikeAndKeepsTheOffset) {
  const AffineMatrix32 m(RandomVector3(), RandomVector3(), RandomVector3(), RandomVector3());
  const vec3 point = RandomVector3(), expected = mul(m, point);
  const mat4 kernelForm = ToKernelMatrix(m);
  const vec4 moved = mul(vec4(point, 1.0f), kernelForm);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(moved[i], expected[i], 1e-5);
  EXPECT_EQ(moved.w, 1.0f);
  EXPECT_EQ(MatrixOffset(kernelForm), m.off);
  EXPECT_EQ(matoff(kernelForm), m.off);
}

}  // namespace
}  // namespace ostra
