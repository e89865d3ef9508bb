// Shapes: what their vertices are, whichever way they are drawn.
#include <gtest/gtest.h>

#include <cmath>

#include "plans/scene/shapes.h"

namespace ostra::tool {

using namespace plans;
namespace {

struct V3 {
  Float64 x, y, z;
};
V3 operator-(const V3& a, const V3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Float64 Dot(const V3& a, const V3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
V3 Cross(const V3& a, const V3& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }

V3 Take(const std::vector<Float32>& numbers, Int index) {
  const std::size_t i = 3 * static_cast<std::size_t>(index);
  return {numbers[i], numbers[i + 1], numbers[i + 2]};
}

SceneShapeSettings Describe(SceneShape shape, Int columns = 1, Int rows = 1) {
  SceneShapeSettings settings;
  settings.shape = shape;
  settings.segments[0] = columns;
  settings.segments[1] = rows;
  return settings;
}

// All triangles turn counterclockwise around their normals, and none is seen from the wrong side.
void ExpectOutside(const SceneShapeSettings& settings) {
  const ShapeVertices vertices = MakeShape(settings, SceneTopology::Triangles);
  Int seen = 0;
  for (Int i = 0; i < vertices.GetCount(); i += 3) {
    const V3 a = Take(vertices.positions, i), b = Take(vertices.positions, i + 1), c = Take(vertices.positions, i + 2);
    const V3 turn = Cross(b - a, c - a);
    if (Dot(turn, turn) < 1e-14) continue;  // at the poles of a sphere
    ++seen;
    for (Int k = i; k < i + 3; ++k) {
      const V3 normal = Take(vertices.normals, k);
      EXPECT_GT(Dot(turn, normal), 0) << k;
      EXPECT_NEAR(Dot(normal, normal), 1, 1e-5);
    }
  }
  EXPECT_GT(seen, 0);
}

TEST(ShapesTest, TrianglesOfEverySurfaceTurnCounterclockwiseSeenFromOutside) {
  ExpectOutside(Describe(SceneShape::Quad));
  ExpectOutside(Describe(SceneShape::Grid, 3, 5));
  ExpectOutside(Describe(SceneShape::Box));
  ExpectOutside(Describe(SceneShape::Sphere, 12, 6));
  ExpectOutside(Describe(SceneShape::Torus, 12, 8));
}

TEST(ShapesTest, LinesAreTheSidesOfTheCells) {
  const ShapeVertices grid = MakeShape(Describe(SceneShape::Grid, 2, 3), SceneTopology::Lines);
  ASSERT_EQ(grid.GetCount(), 2 * (2 * 4 + 3 * 3));
  for (Int i = 0; i < grid.GetCount(); i += 2) {
    const V3 side = Take(grid.positions, i + 1) - Take(grid.positions, i);
    EXPECT_EQ((side.x != 0) + (side.z != 0), 1) << i;
    EXPECT_NEAR(std::abs(side.x) + std::abs(side.z), side.x != 0 ? 1.0 / 2 : 1.0 / 3, 1e-6);
  }
  const ShapeVertices wires = MakeWireframe(MakeShape(Describe(SceneShape::Quad), SceneTopology::Triangles));
  EXPECT_EQ(wires.GetCount(), 12);
  EXPECT_EQ(wires.normals.size(), 36u);
}

TEST(ShapesTest, CountsFollowFromTheSegments) {
  EXPECT_EQ(MakeShape(Describe(SceneShape::Quad), SceneTopology::Triangles).GetCount(), 6);
  EXPECT_EQ(MakeShape(Describe(SceneShape::Grid, 3, 5), SceneTopology::Triangles).GetCount(), 90);
  EXPECT_EQ(MakeShape(Describe(SceneShape::Grid, 3, 5), SceneTopology::Patches).GetCount(), 60);
  EXPECT_EQ(MakeShape(Describe(SceneShape::Grid, 3, 5), SceneTopology::Points).GetCount(), 24);
  EXPECT_EQ(MakeShape(Describe(SceneShape::Box), SceneTopology::Triangles).GetCount(), 36);
  SceneShapeSettings points = Describe(SceneShape::Points, 2, 3);
  points.segments[2] = 4;
  EXPECT_EQ(MakeShape(points, SceneTopology::Points).GetCount(), 24);
}

TEST(ShapesTest, AQuadBeginsInTheUpperLeftCorner) {
  SceneShapeSettings settings = Describe(SceneShape::Quad);
  settings.size[0] = settings.size[1] = 2;
  const ShapeVertices quad = MakeShape(settings, SceneTopology::Patches);
  EXPECT_EQ(quad.positions, (std::vector<Float32>{-1, 1, 0, -1, -1, 0, 1, -1, 0, 1, 1, 0}));
  EXPECT_EQ(quad.uvs, (std::vector<Float32>{0, 0, 0, 1, 1, 1, 1, 0}));
}

TEST(ShapesTest, PointsOfSurfacesLieWhereTheSettingsSay) {
  SceneShapeSettings sphere = Describe(SceneShape::Sphere, 8, 4);
  sphere.radius = 3;
  const ShapeVertices vertices = MakeShape(sphere, SceneTopology::Points);
  for (Int i = 0; i < vertices.GetCount(); ++i) {
    const V3 place = Take(vertices.positions, i);
    EXPECT_NEAR(Dot(place, place), 9, 1e-4);
  }
  SceneShapeSettings torus = Describe(SceneShape::Torus, 8, 4);
  torus.radius = 3;
  torus.tube = 0.5;
  const ShapeVertices ring = MakeShape(torus, SceneTopology::Points);
  for (Int i = 0; i < ring.GetCount(); ++i) {
    const V3 place = Take(ring.positions, i);
    const Float64 away = std::hypot(place.x, place.z) - 3;
    EXPECT_NEAR(std::hypot(away, place.y), 0.5, 1e-5);
  }
}

TEST(ShapesTest, PointsFillABoxAroundTheOrigin) {
  SceneShapeSettings points = Describe(SceneShape::Points, 3, 1);
  points.size[0] = 4;
  const ShapeVertices vertices = MakeShape(points, SceneTopology::Points);
  EXPECT_EQ(vertices.positions, (std::vector<Float32>{-2, 0, 0, 0, 0, 0, 2, 0, 0}));
}

TEST(ShapesTest, AttributesAreFoundByName) {
  const ShapeVertices quad = MakeShape(Describe(SceneShape::Quad), SceneTopology::Triangles);
  Int count = 0;
  EXPECT_EQ(quad.Find("normal", count), &quad.normals);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(quad.Find("texUv", count), &quad.uvs);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(quad.Find("tangent", count), nullptr);
}

}  // namespace
}  // namespace ostra::tool
