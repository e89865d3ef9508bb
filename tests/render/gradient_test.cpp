// Gradients against an independent formula.
#include "ostra/render/gradient.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "ostra/core/data.h"
#include "ostra/object/class.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

GradientRef MakeGradient(const std::vector<GradientKnot>& knots = {}) {
  auto gradient = CreateObject<GradientInterface>(kGradientClass);
  EXPECT_THAT(gradient, IsOk());
  if (!gradient) return nullptr;
  for (const GradientKnot& knot : knots) EXPECT_THAT((*gradient)->InsertKnot(knot), IsOk());
  return *gradient;
}

GradientRenderData Render(const std::vector<GradientKnot>& knots) {
  auto data = MakeGradient(knots)->InitRender();
  EXPECT_THAT(data, IsOk());
  return data ? *data : GradientRenderData();
}

GradientKnot MakeKnot(Float32 position, const Vector32& color, GradientInterpolation interpolation) {
  return {.color = color, .position = position, .interpolation = interpolation};
}

void ExpectColor(const GradientRenderData& data, Float32 position, const Vector32& expected, Float32 tolerance = 0) {
  const Vector32 color = data.Sample(position);
  EXPECT_NEAR(color.x, expected.x, tolerance) << "red at " << position;
  EXPECT_NEAR(color.y, expected.y, tolerance) << "green at " << position;
  EXPECT_NEAR(color.z, expected.z, tolerance) << "blue at " << position;
}

// Red at `p` by the definition alone, in double precision, knots in order.
Float64 ComputeRed(const std::vector<GradientKnot>& knots, Float64 p) {
  std::size_t last = 0;
  for (std::size_t i = 0; i < knots.size(); ++i)
    if (Float64(knots[i].position) <= p) last = i;
  const GradientKnot& knot = knots[last];
  const Float64 red = Float64(knot.color.x) * Float64(knot.intensity);
  if (p <= Float64(knot.position) || last + 1 == knots.size()) return red;
  const GradientKnot& next = knots[last + 1];
  const Float64 t = (p - Float64(knot.position)) / (Float64(next.position) - Float64(knot.position));
  const Float64 bias = knot.bias;
  Float64 part = t < bias ? 0.5 * t / bias : 0.5 + 0.5 * (t - bias) / (1 - bias);
  if (knot.interpolation == GradientInterpolation::None) part = 0;
  if (knot.interpolation == GradientInterpolation::Smooth) part = 3 * std::pow(part, 2) - 2 * std::pow(part, 3);
  return red + (Float64(next.color.x) * Float64(next.intensity) - red) * part;
}

TEST(GradientTest, TheUsualRampLeadsSmoothlyFromBlackToWhite) {
  const GradientRenderData ramp = Render({{.color = Vector32(0, 0, 0), .intensity = 1, .position = 0, .bias = 0.5f},
                                          {.color = Vector32(1, 1, 1), .intensity = 1, .position = 1, .bias = 0.5f}});
  EXPECT_FALSE(ramp.IsEmpty());
  ExpectColor(ramp, 0, Vector32(0, 0, 0));
  ExpectColor(ramp, 0.25f, Vector32(0.15625f, 0.15625f, 0.15625f), 1e-7f);
  ExpectColor(ramp, 0.5f, Vector32(0.5f, 0.5f, 0.5f), 1e-7f);
  ExpectColor(ramp, 1, Vector32(1, 1, 1));
}

TEST(GradientTest, RandomGradientsFollowTheDefinition) {
  std::mt19937 random(5);
  std::uniform_real_distribution<Float32> unit(0.01f, 0.99f);
  for (Int round = 0; round < 200; ++round) {
    std::vector<GradientKnot> knots;
    const Int count = 1 + round % 6;
    for (Int i = 0; i < count; ++i) {
      knots.push_back({.color = Vector32(unit(random), 0, 0),
                       .intensity = 3 * unit(random),
                       .position = (static_cast<Float32>(i) + unit(random)) / static_cast<Float32>(count),
                       .bias = unit(random),
                       .interpolation = static_cast<GradientInterpolation>(random() % 3)});
    }
    const GradientRenderData data = Render(knots);
    for (Int i = 0; i < 40; ++i) {
      const Float32 p = 1.4f * unit(random) - 0.2f;
      const Float64 expected =
          p < knots[0].position ? Float64(knots[0].color.x * knots[0].intensity) : ComputeRed(knots, Float64(p));
      EXPECT_NEAR(data.Sample(p).x, expected, 2e-4) << "at " << p << " of gradient " << round;
    }
  }
}

TEST(GradientTest, KnotsMayBeInsertedInAnyOrder) {
  const GradientKnot low = MakeKnot(0.2f, Vector32(1, 0, 0), GradientInterpolation::Linear);
  const GradientKnot middle = MakeKnot(0.5f, Vector32(0, 1, 0), GradientInterpolation::Smooth);
  const GradientKnot high = MakeKnot(0.9f, Vector32(0, 0, 1), GradientInterpolation::None);
  const GradientRenderData sorted = Render({low, middle, high});
  const GradientRenderData mixed = Render({high, low, middle});
  for (Float32 p = -0.1f; p < 1.1f; p += 0.03f) ExpectColor(mixed, p, sorted.Sample(p));
}

TEST(GradientTest, OfKnotsAtOnePlaceTheLaterInsertedBegins) {
  const auto kLinear = GradientInterpolation::Linear;
  const GradientRenderData data =
      Render({MakeKnot(0, Vector32(0, 0, 0), kLinear), MakeKnot(0.5f, Vector32(1, 0, 0), kLinear),
              MakeKnot(0.5f, Vector32(0, 1, 0), kLinear), MakeKnot(1, Vector32(0, 1, 0), kLinear)});
  ExpectColor(data, std::nextafter(0.5f, 0.0f), Vector32(1, 0, 0), 1e-6f);
  ExpectColor(data, 0.5f, Vector32(0, 1, 0));
}

TEST(GradientTest, BiasAtAnEndIsAJump) {
  GradientKnot early = MakeKnot(0, Vector32(0, 0, 0), GradientInterpolation::Linear);
  early.bias = 0;
  GradientKnot late = early;
  late.bias = 1;
  const GradientKnot white = MakeKnot(1, Vector32(1, 1, 1), GradientInterpolation::Linear);
  ExpectColor(Render({early, white}), 0.5f, Vector32(0.75f, 0.75f, 0.75f));
  ExpectColor(Render({late, white}), 0.5f, Vector32(0.25f, 0.25f, 0.25f));
  ExpectColor(Render({early, white}), 1, Vector32(1, 1, 1));
  ExpectColor(Render({late, white}), 1, Vector32(1, 1, 1));
}

TEST(GradientTest, AnEmptyGradientIsToldApartAndBlack) {
  const GradientRef gradient = MakeGradient();
  const auto empty = gradient->InitRender();
  ASSERT_THAT(empty, IsOk());
  EXPECT_TRUE(empty->IsEmpty());
  EXPECT_EQ(*empty, GradientRenderData());
  ExpectColor(*empty, 0.5f, Vector32(0, 0, 0));

  const GradientRenderData black = Render({MakeKnot(0, Vector32(0, 0, 0), GradientInterpolation::Linear)});
  EXPECT_FALSE(black.IsEmpty());
  ExpectColor(black, 0.5f, Vector32(0, 0, 0));
}

TEST(GradientTest, RenderDataStaysAsItWasWhenKnotsAreAdded) {
  const GradientRef gradient = MakeGradient({MakeKnot(0, Vector32(1, 0, 0), GradientInterpolation::Linear)});
  const auto before = gradient->InitRender();
  ASSERT_THAT(before, IsOk());
  ASSERT_THAT(gradient->InsertKnot(MakeKnot(1, Vector32(0, 1, 0), GradientInterpolation::Linear)), IsOk());
  const auto after = gradient->InitRender();
  ASSERT_THAT(after, IsOk());
  ExpectColor(*before, 1, Vector32(1, 0, 0));
  ExpectColor(*after, 1, Vector32(0, 1, 0));
  EXPECT_FALSE(*before == *after);
}

TEST(GradientTest, InsertKnotNumbersTheKnots) {
  const GradientRef gradient = MakeGradient();
  for (Int32 i = 0; i < 20; ++i) {
    const auto index = gradient->InsertKnot({.position = 0.5f});
    ASSERT_THAT(index, IsOk());
    EXPECT_EQ(*index, i);
  }
  EXPECT_EQ(gradient->GetKnotCount(), 20);
}

TEST(GradientTest, KnotsOutsideTheLimitsAreRefused) {
  const GradientRef gradient = MakeGradient();
  EXPECT_THAT(gradient->InsertKnot({.position = 1.5f}),
              IsErrorWith(kIllegalArgumentError, "The position 1.5 of a gradient knot must be between 0 and 1."));
  EXPECT_THAT(gradient->InsertKnot({.position = std::numeric_limits<Float32>::quiet_NaN()}),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(gradient->InsertKnot({.bias = -0.5f}),
              IsErrorWith(kIllegalArgumentError, "The bias -0.5 of a gradient knot must be between 0 and 1."));
  EXPECT_THAT(gradient->InsertKnot({.color = Vector32(0, 300, 0), .intensity = 1000}),
              IsErrorWith(kIllegalArgumentError,
                          "The colour 300000 of a gradient knot, intensity included, must be "
                          "between -65504 and 65504."));
  EXPECT_THAT(gradient->InsertKnot({.interpolation = static_cast<GradientInterpolation>(3)}),
              IsErrorWith(kIllegalArgumentError, "The interpolation 3 of a gradient knot must be between 0 and 2."));
  EXPECT_EQ(gradient->GetKnotCount(), 0);
}

TEST(GradientTest, StrangePositionsGiveTheEnds) {
  const GradientRenderData data = Render({MakeKnot(0.3f, Vector32(1, 2, 3), GradientInterpolation::Linear),
                                          MakeKnot(0.6f, Vector32(4, 5, 6), GradientInterpolation::Linear)});
  using Limits = std::numeric_limits<Float32>;
  for (const Float32 low : {-Limits::infinity(), Limits::lowest(), 0.0f, Limits::quiet_NaN()})
    ExpectColor(data, low, Vector32(1, 2, 3));
  for (const Float32 high : {1.0f, Limits::max()}) ExpectColor(data, high, Vector32(4, 5, 6));
  ExpectColor(data, Limits::infinity(), Vector32(4, 5, 6));
}

TEST(GradientTest, ACopyHasItsOwnKnots) {
  const GradientRef source = MakeGradient({MakeKnot(0, Vector32(1, 0, 0), GradientInterpolation::Linear)});
  const GradientRef copy = MakeGradient();
  ASSERT_THAT(copy->CopyFrom(*source), IsOk());
  ASSERT_THAT(source->InsertKnot({}), IsOk());
  EXPECT_EQ(copy->GetKnotCount(), 1);
  EXPECT_EQ(source->GetKnotCount(), 2);
}

TEST(GradientTest, RenderDataTravelsAsAUniform) {
  const GradientRenderData ramp = Render({MakeKnot(0, Vector32(1, 0, 0), GradientInterpolation::Linear)});
  const auto data = Data::Create(ramp);
  ASSERT_THAT(data, IsOk());
  EXPECT_EQ(data->GetType().GetView(), "GradientRenderData");
  const auto back = data->Get<GradientRenderData>();
  ASSERT_THAT(back, IsOk());
  EXPECT_EQ(*back, ramp);
}

TEST(GradientTest, EveryAllocationFailureIsReported) {
  const Int failed = ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const GradientRef gradient, CreateObject<GradientInterface>(kGradientClass));
    for (Int i = 0; i < 9; ++i) OSTRA_RETURN_IF_ERROR(gradient->InsertKnot({}));
    OSTRA_RETURN_IF_ERROR(gradient->InitRender());
    return OK;
  });
  EXPECT_GE(failed, 5);
}

}  // namespace
}  // namespace ostra::test
