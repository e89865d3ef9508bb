#include "ostra/object/members.h"

#include <gmock/gmock.h>

#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

constexpr MemberOwner kOwner = {"shapes", "shape", "com.example.circle"};

TEST(MembersTest, AMemberIsSetByItsName) {
  MemberMap members;
  Float32 radius = 1;
  ASSERT_THAT(AddMember(members, kOwner, "radius", GetDataType<Float32>(), &radius), IsOk());
  const Float32 two = 2;
  ASSERT_THAT(SetMember(members, "radius", &two), IsOk());
  EXPECT_EQ(radius, 2);
  ASSERT_THAT(SetMember(members, "height", &two), IsOk()) << "other names are passed over";
}

TEST(MembersTest, AMemberThatIsAPointerTakesTheAddress) {
  MemberMap members;
  const Float32* place = nullptr;
  ASSERT_THAT(AddMember(members, kOwner, "place", GetDataType<const Float32*>(), &place), IsOk());
  const Float32 two = 2;
  ASSERT_THAT(SetMember(members, "place", &two), IsOk());
  EXPECT_EQ(place, &two);
}

TEST(MembersTest, ANameIsTakenOnceAndTheErrorNamesTheOwner) {
  MemberMap members;
  Float32 radius = 1, other = 1;
  ASSERT_THAT(AddMember(members, kOwner, "radius", GetDataType<Float32>(), &radius), IsOk());
  const auto twice = AddMember(members, kOwner, "radius", GetDataType<Float32>(), &other);
  ASSERT_THAT(twice,
              IsErrorWith(kIllegalArgumentError, "The shape \"com.example.circle\" has two parameters \"radius\"."));
  EXPECT_EQ(twice.GetError().GetUnit(), "shapes");
  const Float32 two = 2;
  ASSERT_THAT(SetMember(members, "radius", &two), IsOk());
  EXPECT_EQ(radius, 2);
  EXPECT_EQ(other, 1);
}

TEST(MembersTest, DeclarationsKeepTheirOrder) {
  BaseArray<MemberDeclaration> declarations;
  ASSERT_THAT(DeclareMember(declarations, "radius", GetDataType<Float32>(), true), IsOk());
  ASSERT_THAT(DeclareMember(declarations, "angle", GetDataType<Int32>(), false), IsOk());
  ASSERT_EQ(declarations.GetCount(), 2);
  EXPECT_EQ(declarations[0].name, *InternedId::Create("radius"));
  EXPECT_EQ(declarations[0].type, GetDataType<Float32>());
  EXPECT_TRUE(declarations[0].isRequired);
  EXPECT_EQ(declarations[1].name, *InternedId::Create("angle"));
  EXPECT_FALSE(declarations[1].isRequired);
}

}  // namespace
}  // namespace ostra
