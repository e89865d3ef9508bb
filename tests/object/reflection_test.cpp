#include "ostra/object/reflection.h"

#include <gmock/gmock.h>

#include "ostra/core/delegate.h"
#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

class ShelfInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "com.example.interface.shelf"_id;
  virtual Result<void> Put(const Id& what, Int count) = 0;
  virtual Int GetCount() const = 0;
  virtual Int GetCount(const Id& what) const = 0;
  virtual Result<std::pair<Int, UInt8>> Arrange(const Vec3<Int32>& place, Delegate<void(Float32, Bool*)> visit,
                                                std::span<const Id> things) = 0;
};

auto GetShelfMethods() {
  using I = ShelfInterface;
  return std::array{
      DescribeMethod<&I::Put>("Put", {"what", "count"}),
      DescribeMethod<static_cast<Int (I::*)() const>(&I::GetCount)>("GetCount", {}),
      DescribeMethod<static_cast<Int (I::*)(const Id&) const>(&I::GetCount)>("GetCount", {"what"}),
      DescribeMethod<&I::Arrange>("Arrange", {"place", "visit", "things"}),
  };
}

TEST(ReflectionTest, ARecordHoldsNamesTypesAndConsecutiveSlots) {
  ASSERT_THAT(Reflection::Register(ShelfInterface::kInterfaceId, "ShelfInterface", GetShelfMethods()), IsOk());
  auto record = Reflection::Find(ShelfInterface::kInterfaceId);
  ASSERT_THAT(record, IsOk());
  EXPECT_EQ((*record)->name, "ShelfInterface");
  ASSERT_EQ((*record)->methods.GetCount(), 4);
  const MethodRecord& put = (*record)->methods[0];
  EXPECT_EQ(put.name, "Put");
  EXPECT_EQ(put.resultType, "Result<void>");
  EXPECT_FALSE(put.isConst);
  ASSERT_EQ(put.parameters.GetCount(), 2);
  EXPECT_EQ(put.parameters[0].name, "what");
  EXPECT_EQ(put.parameters[0].type, "const Id&");
  EXPECT_EQ(put.parameters[1].name, "count");
  EXPECT_EQ(put.parameters[1].type, "Int");
  const MethodRecord& count = (*record)->methods[1];
  EXPECT_TRUE(count.isConst);
  EXPECT_EQ(count.slot, put.slot + 1);
  EXPECT_EQ((*record)->methods[2].slot, put.slot + 2);
  const MethodRecord& arrange = (*record)->methods[3];
  EXPECT_EQ(arrange.resultType, "Result<std::pair<Int, UInt8>>");
  ASSERT_EQ(arrange.parameters.GetCount(), 3);
  EXPECT_EQ(arrange.parameters[0].type, "const Vec3<Int32>&");
  EXPECT_EQ(arrange.parameters[1].type, "Delegate<void(Float32, Bool*)>");
  EXPECT_EQ(arrange.parameters[2].type, "std::span<const Id>");
  EXPECT_TRUE(Reflection::Erase(ShelfInterface::kInterfaceId));
}

TEST(ReflectionTest, TypesHaveTheHostsNamesWhateverTheCompilerCallsThem) {
  EXPECT_EQ(GetTypeName<void>(), "void");
  EXPECT_EQ(GetTypeName<Bool>(), "Bool");
  EXPECT_EQ(GetTypeName<const Char*>(), "const Char*");
  EXPECT_EQ(GetTypeName<Int8>(), "Int8");
  EXPECT_EQ(GetTypeName<UInt16>(), "UInt16");
  EXPECT_EQ(GetTypeName<Int16>(), "Int16");
  EXPECT_EQ(GetTypeName<UInt32>(), "UInt32");
  EXPECT_EQ(GetTypeName<Int>(), "Int");
  EXPECT_EQ(GetTypeName<UInt64>(), "UInt64");
  EXPECT_EQ(GetTypeName<Float64>(), "Float64");
  EXPECT_EQ(GetTypeName<Vec2<Float32>>(), "Vec2<Float32>");
  EXPECT_EQ(GetTypeName<Block<const Generic>&&>(), "Block<const Generic>&&");
  EXPECT_EQ(GetTypeName<std::string_view>(), "std::string_view");
  EXPECT_EQ(GetTypeName<Generic*&>(), "Generic*&");
}

TEST(ReflectionTest, AnInterfaceHasOneRecordUntilItIsErased) {
  ASSERT_THAT(Reflection::Register(ShelfInterface::kInterfaceId, "ShelfInterface", GetShelfMethods()), IsOk());
  EXPECT_THAT(Reflection::Register(ShelfInterface::kInterfaceId, "ShelfInterface", GetShelfMethods()),
              IsErrorOfKind(kIllegalArgumentError));
  auto ids = Reflection::GetInterfaceIds();
  ASSERT_THAT(ids, IsOk());
  EXPECT_THAT(GetTexts(*ids), testing::ElementsAre("com.example.interface.shelf"));
  EXPECT_TRUE(Reflection::Erase(ShelfInterface::kInterfaceId));
  EXPECT_FALSE(Reflection::Erase(ShelfInterface::kInterfaceId));
  EXPECT_THAT(Reflection::Find(ShelfInterface::kInterfaceId), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ReflectionTest, RegisteringReportsEveryFailingAllocationAndLeavesNothing) {
  const Int before = AllocationFaults::GetLiveCount();
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    AllocationFaults::FailNth(n);
    auto registered = Reflection::Register(ShelfInterface::kInterfaceId, "ShelfInterface", GetShelfMethods());
    AllocationFaults::Disable();
    if (!AllocationFaults::HasFired()) break;
    EXPECT_THAT(registered, IsErrorOfKind(kOutOfMemoryError)) << "allocation " << n;
    EXPECT_FALSE(Reflection::Find(ShelfInterface::kInterfaceId));
  }
  EXPECT_TRUE(Reflection::Erase(ShelfInterface::kInterfaceId));
  EXPECT_LE(AllocationFaults::GetLiveCount(), before + 1);  // the table keeps its buckets
}

}  // namespace
}  // namespace ostra
