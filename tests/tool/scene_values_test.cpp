// Matrices of scene files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plans/scene/scene_values.h"
#include "tests/support/result_matchers.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Numbers = std::vector<Float64>;

// The numbers of a value, written as JSON, in a picture of 2 by 1.
Result<Numbers> Evaluate(const std::string& value, const std::string& values = "{}") {
  const auto scene = ParseScene(R"({"values": )" + values + R"(, "passes": [{"draws": [{"stages": ["a.vert"],
      "vertices": {"shape": "quad"}, "uniforms": {"x": )" +
                                    value + "}}]}]}",
                                "s.json");
  if (!scene) return scene.GetError();
  return EvaluateSceneValue(scene->passes[0].draws[0].uniforms.at("x"), scene->values, 2, "s.json");
}

// Where a matrix takes a point: with the division of a camera.
Numbers Move(const Numbers& m, const Numbers& p) {
  Numbers moved;
  for (std::size_t row = 0; row < 4; ++row)
    moved.push_back(m[row] * p[0] + m[4 + row] * p[1] + m[8 + row] * p[2] + m[12 + row]);
  return {moved[0] / moved[3], moved[1] / moved[3], moved[2] / moved[3]};
}

void ExpectNear(const Numbers& a, const Numbers& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], 1e-12) << i;
}

Numbers MovedBy(const std::string& value, const Numbers& point) {
  const auto matrix = Evaluate(value);
  EXPECT_THAT(matrix, IsOk());
  return matrix && matrix->size() == 16 ? Move(*matrix, point) : Numbers();
}

TEST(SceneValuesTest, NumbersAreTakenAsTheyAre) {
  EXPECT_THAT(Evaluate("3").GetValue(), ElementsAre(3));
  EXPECT_THAT(Evaluate("[1, 2, 3]").GetValue(), ElementsAre(1, 2, 3));
  EXPECT_THAT(Evaluate("[[1, 2], [3, 4]]").GetValue(), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(Evaluate(R"("a")", R"({"a": "b", "b": [5, 6]})").GetValue(), ElementsAre(5, 6));
}

TEST(SceneValuesTest, PointsAreMovedScaledAndTurned) {
  ExpectNear(MovedBy(R"({"translate": [1, 2, 3]})", {10, 20, 30}), {11, 22, 33});
  ExpectNear(MovedBy(R"({"scale": [2, 3, 4]})", {1, 1, 1}), {2, 3, 4});
  ExpectNear(MovedBy(R"({"scale": 2})", {1, 2, 3}), {2, 4, 6});
  // Counterclockwise for who looks against the axis.
  ExpectNear(MovedBy(R"({"rotate": {"axis": [0, 0, 2], "degrees": 90}})", {1, 0, 5}), {0, 1, 5});
  ExpectNear(MovedBy(R"({"rotate": {"axis": [0, 1, 0], "degrees": 90}})", {0, 0, 1}), {1, 0, 0});
  ExpectNear(MovedBy(R"({"rotate": {"axis": [1, 0, 0], "degrees": 90}})", {0, 1, 0}), {0, 0, 1});
}

TEST(SceneValuesTest, WaysFactorsAxesAndAnglesMayBeNamed) {
  const std::string values = R"({"way": [1, 2, 3], "twice": 2, "turn": 90, "axis": [0, 0, 1], "eye": [0, 0, 5]})";
  const auto moved = [&values](const char* value, const Numbers& point) {
    return Move(Evaluate(value, values).GetValue(), point);
  };
  ExpectNear(moved(R"({"translate": "way"})", {1, 1, 1}), {2, 3, 4});
  ExpectNear(moved(R"({"scale": "twice"})", {1, 2, 3}), {2, 4, 6});
  ExpectNear(moved(R"({"scale": "way"})", {1, 1, 1}), {1, 2, 3});
  ExpectNear(moved(R"({"rotate": {"axis": "axis", "degrees": "turn"}})", {1, 0, 0}), {0, 1, 0});
  ExpectNear(moved(R"({"lookAt": {"eye": "eye", "target": [0, 0, 0]}})", {1, 2, 0}), {1, 2, -5});
}

TEST(SceneValuesTest, TheLastFactorOfAProductIsAppliedFirst) {
  ExpectNear(MovedBy(R"({"product": [{"translate": [1, 0, 0]}, {"scale": 2}]})", {1, 1, 1}), {3, 2, 2});
  ExpectNear(MovedBy(R"({"product": [{"scale": 2}, {"translate": [1, 0, 0]}]})", {1, 1, 1}), {4, 2, 2});
}

TEST(SceneValuesTest, CamerasLookAlongTheirNegativeZ) {
  const std::string view = R"({"lookAt": {"eye": [0, 0, 5], "target": [0, 0, 0]}})";
  ExpectNear(MovedBy(view, {0, 0, 0}), {0, 0, -5});
  ExpectNear(MovedBy(view, {1, 2, 0}), {1, 2, -5});
  const std::string side = R"({"lookAt": {"eye": [3, 0, 0], "target": [0, 0, 0], "up": [0, 0, 1]}})";
  ExpectNear(MovedBy(side, {0, 0, 0}), {0, 0, -3});
  ExpectNear(MovedBy(side, {0, 1, 2}), {1, 2, -3});
}

TEST(SceneValuesTest, DepthGoesFromZeroAtTheNearPlaneToOneAtTheFarOne) {
  const std::string lens = R"({"perspective": {"fieldOfView": 90, "near": 1, "far": 10}})";
  ExpectNear(MovedBy(lens, {0, 0, -1}), {0, 0, 0});
  ExpectNear(MovedBy(lens, {0, 0, -10}), {0, 0, 1});
  // Half of the height is as long as the way at 90 degrees; the picture is twice as wide as high.
  ExpectNear(MovedBy(lens, {2, 1, -1}), {1, 1, 0});
  const std::string square = R"({"perspective": {"fieldOfView": 90, "near": 1, "far": 10, "aspect": 1}})";
  ExpectNear(MovedBy(square, {2, 1, -1}), {2, 1, 0});
  const std::string flat = R"({"orthographic": {"height": 4, "near": 1, "far": 3}})";
  ExpectNear(MovedBy(flat, {4, 2, -1}), {1, 1, 0});
  ExpectNear(MovedBy(flat, {0, 0, -3}), {0, 0, 1});
}

TEST(SceneValuesTest, AnInverseTakesPointsBack) {
  const std::string way = R"({"product": [{"perspective": {"fieldOfView": 50, "near": 1, "far": 9}},
      {"rotate": {"axis": [1, 2, 3], "degrees": 40}}, {"translate": [1, 2, -5]}]})";
  const Numbers there = MovedBy(way, {0.25, -0.5, 0.75});
  ExpectNear(MovedBy(R"({"inverse": )" + way + "}", there), {0.25, -0.5, 0.75});
}

TEST(SceneValuesTest, NormalsStayAtRightAnglesToWhatIsScaled) {
  const auto normals = Evaluate(R"({"normals": {"product": [{"translate": [7, 8, 9]}, {"scale": [2, 1, 4]}]}})");
  ASSERT_THAT(normals, IsOk());
  ExpectNear(*normals, {0.5, 0, 0, 0, 1, 0, 0, 0, 0.25});
  // Of a 3 x 3 matrix, too.
  ExpectNear(Evaluate(R"({"normals": [[0, 2, 0], [2, 0, 0], [0, 0, 2]]})").GetValue(),
             {0, 0.5, 0, 0.5, 0, 0, 0, 0, 0.5});
}

TEST(SceneValuesTest, WhatCannotBeComputedNamesItsPlace) {
  const auto expect = [](const std::string& value, const std::string& text) {
    const auto numbers = Evaluate(value, R"({"small": [1, 2], "ramp": {"gradient": []}})");
    ASSERT_THAT(numbers, IsErrorOfKind(kIllegalArgumentError));
    EXPECT_THAT(std::string(numbers.GetError().GetMessage().GetView()), HasSubstr(text));
  };
  expect(R"({"inverse": {"scale": 0}})", "s.json: passes[0].draws[0].uniforms.x: the matrix has no inverse");
  expect(R"({"product": [{"scale": 1}, [1, 2, 3]]})",
         "s.json: passes[0].draws[0].uniforms.x.product[1]: needs a matrix of 9 or 16 numbers, but there are 3");
  expect(R"({"rotate": {"axis": [0, 0, 0], "degrees": 1}})", "uniforms.x.rotate.axis: an axis needs a direction");
  expect(R"({"translate": "small"})", "uniforms.x.translate: needs 3 numbers, but there are 2");
  expect(R"({"scale": "small"})", "uniforms.x: needs 1 or 3 numbers, but there are 2");
  expect(R"({"inverse": "small"})", "uniforms.x.inverse: needs a matrix");
  expect(R"({"lookAt": {"eye": [1, 1, 1], "target": [1, 1, 1]}})", "a camera needs a target beside its eye");
  expect(R"({"lookAt": {"eye": [0, 5, 0], "target": [0, 0, 0]}})", "an up that is not its direction");
  expect(R"("ramp")", "values.ramp: a gradient cannot stand where numbers are needed");
}

TEST(SceneValuesTest, NumbersThatGrowBeyondAllBoundsAreAnError) {
  const auto numbers = Evaluate(R"({"product": [{"scale": 1e300}, {"scale": 1e300}]})");
  ASSERT_THAT(numbers, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(std::string(numbers.GetError().GetMessage().GetView()), HasSubstr("not finite"));
}

TEST(SceneValuesTest, AGradientIsFoundByItsName) {
  const auto scene =
      ParseScene(R"({"values": {"a": "b", "b": {"gradient": [[0, 1, 2, 3]]}}, "passes": [{"draws": []}]})", "s.json");
  ASSERT_THAT(scene, IsOk());
  const SceneValue* found = FindSceneGradient(scene->values.at("a"), scene->values);
  ASSERT_TRUE(found);
  EXPECT_THAT(found->numbers, ElementsAre(0, 1, 2, 3));
}

}  // namespace
}  // namespace ostra::tool
