#include "ostra/core/struct_type.h"

#include <gtest/gtest.h>

#include "ostra/core/array.h"
#include "ostra/math/data_types.h"

namespace app {

struct Body {
  ostra::Vector32 axis;
  ostra::Float32 mass;
};
OSTRA_STRUCT(Body, axis, mass)

struct Particle {
  ostra::Vector32 position;
  ostra::UInt32 cells[3];
  Body bodies[2];
};
OSTRA_STRUCT(Particle, position, cells, bodies)

struct Secret {
  ostra::UInt32 number;
};
OSTRA_OPAQUE_STRUCT(Secret)

}  // namespace app

namespace ostra {
namespace {

TEST(StructTypeTest, MembersHaveNamesTypesOffsetsAndCounts) {
  const DataType type = GetDataType<app::Particle>();
  EXPECT_EQ(type.GetName(), "Particle");
  EXPECT_EQ(type.GetSize(), 56);
  EXPECT_EQ(type.GetAlignment(), 4);
  EXPECT_TRUE(type.IsPlain());
  const Block<const StructMember> members = GetStructMembers(type);
  ASSERT_EQ(members.GetCount(), 3);
  EXPECT_EQ(members[0].name, "position");
  EXPECT_EQ(members[0].type, GetDataType<Vector32>());
  EXPECT_EQ(members[0].count, 0);
  EXPECT_EQ(members[1].type, GetDataType<UInt32>());
  EXPECT_EQ(members[1].offset, 12);
  EXPECT_EQ(members[1].count, 3);
  EXPECT_EQ(members[2].type, GetDataType<app::Body>());
  EXPECT_EQ(members[2].offset, 24);
  EXPECT_EQ(members[2].count, 2);
}

TEST(StructTypeTest, TheSameDescriptionIsTheSameType) {
  const StructMember members[] = {{"axis"_s, GetDataType<Vector32>(), 0, 0}, {"mass"_s, GetDataType<Float32>(), 12, 0}};
  const auto same = MakeStructType({"Body", 16, 4, {members, 2}});
  ASSERT_TRUE(same.IsOk());
  EXPECT_EQ(*same, GetDataType<app::Body>());
  const auto other = MakeStructType({"Other", 16, 4, {members, 2}});
  ASSERT_TRUE(other.IsOk());
  EXPECT_FALSE(*other == *same);
  const auto shorter = MakeStructType({"Body", 12, 4, {members, 1}});
  ASSERT_TRUE(shorter.IsOk());
  EXPECT_FALSE(*shorter == *same);
  EXPECT_EQ(GetStructMembers(*same).GetCount(), 2);
}

TEST(StructTypeTest, AMemberWithoutATypeIsRefused) {
  const StructMember member = {"axis"_s, DataType(), 0, 0};
  const auto made = MakeStructType({"Broken", 4, 4, {&member, 1}});
  ASSERT_FALSE(made.IsOk());
  EXPECT_EQ(made.GetError().GetMessage(), "The member \"axis\" of the struct \"Broken\" has no data type.");
}

TEST(StructTypeTest, OtherTypesHaveNoMembers) {
  EXPECT_TRUE(GetStructMembers(GetDataType<Vector32>()).IsEmpty());
  EXPECT_TRUE(GetStructMembers(DataType()).IsEmpty());
  EXPECT_TRUE(GetStructMembers(GetDataType<app::Secret>()).IsEmpty());
  EXPECT_EQ(GetDataType<app::Secret>().GetSize(), 4);
}

TEST(StructTypeTest, ValuesStartAsZeroAndAreCopiedAsBytes) {
  const DataType type = GetDataType<app::Body>();
  app::Body bodies[3];
  bodies[0].mass = 5.0f;
  type.Construct(bodies, 3);
  EXPECT_EQ(bodies[0].mass, 0.0f);
  EXPECT_EQ(bodies[2].axis, Vector32(0, 0, 0));
  bodies[1] = {Vector32(1, 2, 3), 4.0f};
  ASSERT_TRUE(type.Copy(&bodies[0], &bodies[1]).IsOk());
  type.Move(&bodies[2], &bodies[0]);
  EXPECT_EQ(bodies[2].mass, 4.0f);
  // With gaps between the elements of one side.
  struct Wide {
    app::Body body;
    Float32 more;
  } wide[2] = {{bodies[1], 7.0f}, {bodies[1], 8.0f}};
  app::Body close[2];
  ASSERT_TRUE(type.ConstructCopy(close, wide, static_cast<Int>(sizeof(Wide)), 2).IsOk());
  EXPECT_EQ(close[1].axis, Vector32(1, 2, 3));
  close[0].mass = close[1].mass = 9.0f;
  ASSERT_TRUE(type.Copy(wide, sizeof(Wide), close, sizeof(app::Body), 2).IsOk());
  EXPECT_EQ(wide[1].body.mass, 9.0f);
  EXPECT_EQ(wide[0].more, 7.0f);
  EXPECT_EQ(wide[1].more, 8.0f);
}

}  // namespace
}  // namespace ostra
