// The vocabulary's vector functions: component by component they are the scalar ones.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "ostra/math/vocabulary.h"

namespace ostra {
namespace {

using namespace vocabulary;

static_assert(sizeof(vec2) == 8 && sizeof(vec3) == 12 && sizeof(vec4) == 16 && alignof(vec4) == 4);
static_assert(sizeof(half3) == 6 && alignof(half3) == 2 && sizeof(int4) == 16 && sizeof(uint3) == 12);
static_assert(std::is_same_v<float3, Vector32> && std::is_same_v<int4, IntVector4d32> &&
              std::is_same_v<mat4, Matrix32>);

template <class Vector>
class VectorFunctionsTest : public testing::Test {
 protected:
  static constexpr int kSize = sizeof(Vector) / 4;
  Vector Random(Float32 low, Float32 high) {
    Vector v;
    for (int i = 0; i < kSize; ++i) v[i] = std::uniform_real_distribution<Float32>(low, high)(_engine);
    return v;
  }

 private:
  std::mt19937 _engine{5};
};

using FloatVectors = testing::Types<vec2, vec3, vec4>;
TYPED_TEST_SUITE(VectorFunctionsTest, FloatVectors);

#define EXPECT_EACH(expression, each)                                             \
  do {                                                                            \
    const TypeParam result = expression;                                          \
    for (int i = 0; i < TestFixture::kSize; ++i) EXPECT_EQ(result[i], each) << i; \
  } while (false)

TYPED_TEST(VectorFunctionsTest, FunctionsOfOneVectorWorkOnEachComponent) {
  const TypeParam a = this->Random(0.1f, 0.9f);
  EXPECT_EACH(abs(-a), a[i]);
  EXPECT_EACH(sign(-a), -1.0f);
  EXPECT_EACH(floor(a * 9.0f), floor(a[i] * 9.0f));
  EXPECT_EACH(ceil(a * 9.0f), ceil(a[i] * 9.0f));
  EXPECT_EACH(trunc(a * -9.0f), trunc(a[i] * -9.0f));
  EXPECT_EACH(fract(a * 9.0f), fract(a[i] * 9.0f));
  EXPECT_EACH(sqrt(a), sqrt(a[i]));
  EXPECT_EACH(inversesqrt(a), inversesqrt(a[i]));
  EXPECT_EACH(exp(a), exp(a[i]));
  EXPECT_EACH(exp2(a), exp2(a[i]));
  EXPECT_EACH(log(a), log(a[i]));
  EXPECT_EACH(log2(a), log2(a[i]));
  EXPECT_EACH(sin(a), sin(a[i]));
  EXPECT_EACH(cos(a), cos(a[i]));
  EXPECT_EACH(tan(a), tan(a[i]));
  EXPECT_EACH(asin(a), asin(a[i]));
  EXPECT_EACH(acos(a), acos(a[i]));
  EXPECT_EACH(atan(a), atan(a[i]));
  EXPECT_EACH(radians(a), radians(a[i]));
  EXPECT_EACH(degrees(a), degrees(a[i]));
}

TYPED_TEST(VectorFunctionsTest, FunctionsOfSeveralVectorsWorkOnEachComponent) {
  const TypeParam a = this->Random(-2.0f, 2.0f), b = this->Random(0.5f, 2.0f), c = this->Random(2.0f, 3.0f);
  EXPECT_EACH(min(a, b), min(a[i], b[i]));
  EXPECT_EACH(max(a, b), max(a[i], b[i]));
  EXPECT_EACH(clamp(a, b, c), clamp(a[i], b[i], c[i]));
  EXPECT_EACH(mix(a, b, c), mix(a[i], b[i], c[i]));
  EXPECT_EACH(step(a, b), step(a[i], b[i]));
  EXPECT_EACH(smoothstep(b, c, a), smoothstep(b[i], c[i], a[i]));
  EXPECT_EACH(mod(a, b), mod(a[i], b[i]));
  EXPECT_EACH(pow(b, a), pow(b[i], a[i]));
  EXPECT_EACH(atan(a, b), atan(a[i], b[i]));
}

TYPED_TEST(VectorFunctionsTest, AScalarStandsForEveryComponent) {
  const TypeParam a = this->Random(-2.0f, 2.0f), b = this->Random(0.5f, 2.0f);
  EXPECT_EACH(min(a, 0.5f), min(a[i], 0.5f));
  EXPECT_EACH(max(a, 0.5f), max(a[i], 0.5f));
  EXPECT_EACH(clamp(a, -1.0f, 1.0f), clamp(a[i], -1.0f, 1.0f));
  EXPECT_EACH(mix(a, b, 0.3f), mix(a[i], b[i], 0.3f));
  EXPECT_EACH(step(0.25f, a), step(0.25f, a[i]));
  EXPECT_EACH(smoothstep(-1.0f, 1.0f, a), smoothstep(-1.0f, 1.0f, a[i]));
  EXPECT_EACH(mod(a, 0.75f), mod(a[i], 0.75f));
}

TYPED_TEST(VectorFunctionsTest, LengthsAndDirectionsFollowPythagoras) {
  const TypeParam a = this->Random(-2.0f, 2.0f), b = this->Random(-2.0f, 2.0f);
  Float64 product = 0, square = 0, difference = 0;
  for (int i = 0; i < TestFixture::kSize; ++i) {
    product += Float64{a[i]} * b[i];
    square += Float64{a[i]} * a[i];
    difference += (Float64{a[i]} - b[i]) * (Float64{a[i]} - b[i]);
  }
  EXPECT_NEAR(dot(a, b), product, 1e-5);
  EXPECT_NEAR(length(a), std::sqrt(square), 1e-5);
  EXPECT_NEAR(distance(a, b), std::sqrt(difference), 1e-5);
  EXPECT_NEAR(length(normalize(a)), 1.0, 1e-6);
  EXPECT_NEAR(dot(normalize(a), a), std::sqrt(square), 1e-5);
  const TypeParam normal = normalize(b), mirrored = reflect(a, normal);
  EXPECT_NEAR(dot(mirrored, normal), -dot(a, normal), 1e-5);
  EXPECT_NEAR(length(mirrored), length(a), 1e-5);
}

TEST(VectorFunctionsTest, ThePerpendicularOfTwoVectorsFollowsTheRightHand) {
  EXPECT_EQ(cross(vec3(1.0f, 0.0f, 0.0f), vec3(0.0f, 1.0f, 0.0f)), vec3(0.0f, 0.0f, 1.0f));
  const vec3 a(1.0f, -2.0f, 3.0f), b(4.0f, 5.0f, -6.0f);
  EXPECT_EQ(dot(cross(a, b), a), 0.0f);
  EXPECT_EQ(dot(cross(a, b), b), 0.0f);
}

TEST(VectorFunctionsTest, WholeNumbersHaveTheirOwnForms) {
  EXPECT_EQ(min(int2(3, -4), int2(-1, 2)), int2(-1, -4));
  EXPECT_EQ(max(uint3(1u, 5u, 9u), 5u), uint3(5u, 5u, 9u));
  EXPECT_EQ(clamp(int4(-9, 0, 5, 99), 0, 10), int4(0, 0, 5, 10));
  EXPECT_EQ(abs(int2(-3, 4)), int2(3, 4));
  EXPECT_EQ(sign(int2(-3, 0)), int2(-1, 0));
}

}  // namespace
}  // namespace ostra
