// Models in .obj files.
#include "plans/scene/obj_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/result_matchers.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;
using Numbers = std::vector<Float32>;

constexpr const char* kCorners = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

ShapeVertices Read(const std::string& text) {
  auto model = DecodeObj(text);
  EXPECT_THAT(model, IsOk());
  return model ? std::move(*model) : ShapeVertices();
}

TEST(ObjFileTest, FacesBecomeTriangles) {
  const ShapeVertices triangle = Read(std::string(kCorners) + "f 1 2 3\n");
  EXPECT_EQ(triangle.positions, (Numbers{0, 0, 0, 1, 0, 0, 1, 1, 0}));
  const ShapeVertices quad = Read(std::string(kCorners) + "f 1 2 3 4\n");
  EXPECT_EQ(quad.positions, (Numbers{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0}));
}

TEST(ObjFileTest, IndicesMayCountFromTheEnd) {
  EXPECT_EQ(Read(std::string(kCorners) + "f -4 -3 -2\nv 9 9 9\n").positions, (Numbers{0, 0, 0, 1, 0, 0, 1, 1, 0}));
}

TEST(ObjFileTest, NormalsComeFromTheFileOrFromTheFace) {
  const ShapeVertices given = Read(std::string(kCorners) + "vn 1 0 0\nvn 0 1 0\nf 1//1 2//2 3//-1\n");
  EXPECT_EQ(given.normals, (Numbers{1, 0, 0, 0, 1, 0, 0, 1, 0}));
  // Counterclockwise faces look at who sees them so.
  EXPECT_EQ(Read(std::string(kCorners) + "f 1 2 3 4\n").normals[2], 1);
  EXPECT_EQ(Read(std::string(kCorners) + "f 4 3 2 1\n").normals[2], -1);
  EXPECT_EQ(Read("v 0 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\n").normals[0], 1);
  // Without area there is no direction.
  EXPECT_EQ(Read("v 0 0 0\nf 1 1 1\n").normals[2], 1);
}

TEST(ObjFileTest, TextureCoordinatesCountFromAbove) {
  const ShapeVertices model = Read(std::string(kCorners) + "vt 0.25 0.75\nvt 0.5\nf 1/1 2/2 3\n");
  EXPECT_EQ(model.uvs, (Numbers{0.25f, 0.25f, 0.5f, 1, 0, 0}));
}

TEST(ObjFileTest, WhatIsNoFaceIsPassedOver) {
  EXPECT_EQ(Read(std::string("# a model\r\nmtllib a.mtl\ng part\n") + kCorners +
                 "s 1\nusemtl red\nf 1 2 3 # the only one\r\n")
                .GetCount(),
            3);
}

TEST(ObjFileTest, MistakesNameTheirLine) {
  const auto expect = [](const std::string& text, const char* message) {
    EXPECT_THAT(DecodeObj(text), IsErrorWith(kIllegalArgumentError, message));
  };
  expect("", "there are no faces");
  expect(kCorners, "there are no faces");
  expect("v 1 2\n", "line 1: there are too few numbers");
  expect("\nv 1 x 2\n", "line 2: \"x\" is not a number");
  expect("v 1 nan 2\n", "line 1: \"nan\" is not a number");
  expect("v 1 1e39 2\n", "line 1: \"1e39\" is not a number");
  expect("v 1 2 3\nf 1 1\n", "line 2: a face needs three corners");
  expect("v 1 2 3\nf 1 2 3\n", "line 2: there is no number 2 among 1");
  expect("v 1 2 3\nf 1 0 1\n", "line 2: there is no number 0 among 1");
  expect("v 1 2 3\nf 1 -2 1\n", "line 2: there is no number -2 among 1");
  expect("v 1 2 3\nf 1 1/1 1\n", "line 2: there is no number 1 among 0");
  expect("v 1 2 3\nf 1 1/ 1\n", "line 2: \"\" is not an index");
  expect("v 1 2 3\nf 1 1/1/1/1 1\n", "line 2: there is no number 1 among 0");
}

}  // namespace
}  // namespace ostra::tool
