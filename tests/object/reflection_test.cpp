#include "ostra/object/reflection.h"

#include <gmock/gmock.h>

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
};

auto GetShelfMethods() {
  using I = ShelfInterface;
  return std::array{
      DescribeMethod<&I::Put>("Put", {"what", "count"}),
      DescribeMethod<static_cast<Int (I::*)() const>(&I::GetCount)>("GetCount", {}),
      DescribeMethod<static_cast<Int (I::*)(const Id&) const>(&I::GetCount)>("GetCount", {"what"}),
  };
}

TEST(ReflectionTest, ARecordHoldsNamesTypesAndConsecutiveSlots) {
  ASSERT_THAT(Reflection::Register(ShelfInterface::kInterfaceId, "ShelfInterface", GetShelfMethods()), IsOk());
  auto record = Reflection::Find(ShelfInterface::kInterfaceId);
  ASSERT_THAT(record, IsOk());
  EXPECT_EQ((*record)->name, "ShelfInterface");
  ASSERT_EQ((*record)->methods.GetCount(), 3);
  const MethodRecord& put = (*record)->methods[0];
  EXPECT_EQ(put.name, "Put");
  EXPECT_EQ(put.resultType, "Result<void>");
  EXPECT_FALSE(put.isConst);
  ASSERT_EQ(put.parameters.GetCount(), 2);
  EXPECT_EQ(put.parameters[0].name, "what");
  EXPECT_EQ(put.parameters[0].type, "const Id&");
  EXPECT_EQ(put.parameters[1].name, "count");
  const MethodRecord& count = (*record)->methods[1];
  EXPECT_TRUE(count.isConst);
  EXPECT_EQ(count.slot, put.slot + 1);
  EXPECT_EQ((*record)->methods[2].slot, put.slot + 2);
  EXPECT_TRUE(Reflection::Erase(ShelfInterface::kInterfaceId));
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
