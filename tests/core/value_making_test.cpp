// Making values of types that lack some of what other types have: a default, an assignment, a copy, zeros.
#include "ostra/core/array.h"
#include "ostra/core/data.h"
#include "tests/support/fault_injection.h"

namespace ostra {

struct WithoutDefault {
  explicit WithoutDefault(Int theNumber) : number(theNumber) {}
  Int number;
  Int more[4] = {};
};
struct WithoutAssignment {
  explicit WithoutAssignment(String theText) : text(std::move(theText)) {}
  WithoutAssignment(const WithoutAssignment&) = default;
  WithoutAssignment(WithoutAssignment&&) = default;
  ~WithoutAssignment() = default;
  const Int number = 5;
  String text;
};
struct MoveOnly {
  MoveOnly() = default;
  MoveOnly(MoveOnly&& other) noexcept : text(std::move(other.text)) {}
  String text;
};
struct Pinned {
  Pinned() = default;
  Pinned(const Pinned&) = delete;
  Pinned& operator=(const Pinned&) = delete;
  ~Pinned() { number = 0; }
  Int number = 3;
};
struct StartsAtFive {
  Int32 number = 5;
};
struct StartsAtZero {
  Float64 number = 0;
};

}  // namespace ostra

OSTRA_DATATYPE(ostra::WithoutDefault, "test.making.withoutdefault", "WithoutDefault");
OSTRA_DATATYPE(ostra::WithoutAssignment, "test.making.withoutassignment", "WithoutAssignment");
OSTRA_DATATYPE(ostra::MoveOnly, "test.making.moveonly", "MoveOnly");
OSTRA_DATATYPE(ostra::Pinned, "test.making.pinned", "Pinned");
OSTRA_DATATYPE(ostra::StartsAtFive, "test.making.startsatfive", "StartsAtFive");
OSTRA_DATATYPE(ostra::StartsAtZero, "test.making.startsatzero", "StartsAtZero");

namespace ostra {
namespace {

TEST(DataMakingTest, AValueWithoutADefaultIsHeld) {
  const WithoutDefault value(3);
  EXPECT_EQ(Data::Create(value)->Get<WithoutDefault>()->number, 3);
  EXPECT_EQ(Data::Create(WithoutDefault(4))->Get<WithoutDefault>()->number, 4);
}

TEST(DataMakingTest, AValueThatCannotBeAssignedIsHeld) {
  GetDataType<WithoutAssignment>();
  const Int live = AllocationFaults::GetLiveCount();
  {
    WithoutAssignment value(*String::Create("a text with memory"));
    const Data copied = *Data::Create(value);
    EXPECT_EQ(value.text, "a text with memory");
    const Data moved = *Data::Create(std::move(value));
    EXPECT_TRUE(value.text.IsEmpty());  // NOLINT(bugprone-use-after-move): that is what is asked
    for (const Data& data : {copied, moved}) EXPECT_EQ(data.Get<WithoutAssignment>()->text, "a text with memory");
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
}

TEST(DataMakingTest, AValueThatCanOnlyBeMovedIsMovedAndNotCopied) {
  MoveOnly value;
  value.text = "moved"_s;
  EXPECT_THAT(Data::Create(value), IsErrorWith(kNotImplementedError, "Values of type \"MoveOnly\" cannot be copied."));
  EXPECT_EQ(Data::Create(std::move(value))->Get<MoveOnly>()->text, "moved");
}

TEST(DataMakingTest, AValueThatCannotLeaveItsPlaceIsRefused) {
  GetDataType<Pinned>();
  const Int live = AllocationFaults::GetLiveCount();
  EXPECT_THAT(Data::Create(Pinned()), IsErrorWith(kNotImplementedError, "Values of type \"Pinned\" cannot be moved."));
  EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
}

TEST(DataMakingTest, AValueNeedsAType) {
  Int32 value = 3;
  EXPECT_THAT(Data::CreateCopy(DataType(), &value), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Data::CreateMoved(DataType(), &value), IsErrorOfKind(kIllegalArgumentError));
}

TEST(DataMakingTest, ArraysOfArraysAreDescribedAndCopied) {
  BaseArray<BaseArray<Int32>> rows;
  ASSERT_THAT(rows.Append(*BaseArray<Int32>::Create({1, 2})), IsOk());
  ASSERT_THAT(rows.Append(*BaseArray<Int32>::Create({3})), IsOk());
  EXPECT_EQ(GetDataType<BaseArray<BaseArray<Int32>>>().GetInnerType(), GetDataType<BaseArray<Int32>>());
  const Int failures = ExpectEveryAllocationFailureIsReported([&rows]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const Data data, Data::Create(rows));
    OSTRA_ASSIGN_OR_RETURN(const BaseArray<BaseArray<Int32>>& copy, (data.Get<BaseArray<BaseArray<Int32>>>()));
    EXPECT_EQ(copy[1][0], 3);
    EXPECT_NE(&copy[0][0], &rows[0][0]);
    return OK;
  });
  EXPECT_EQ(failures, 4);
}

TEST(ArrayMakingTest, NewElementsAreDefaultValuesWhateverMakesTheArray) {
  const DataType type = GetDataType<StartsAtFive>();
  ASSERT_TRUE(type.IsPlain());
  GenericBaseArray elements = *GenericBaseArray::Create(type, 3);
  elements.GetBlock().operator[]<StartsAtFive>(0).number = 9;
  ASSERT_THAT(elements.Resize(100), IsOk());
  EXPECT_EQ(elements.GetBlock().operator[]<StartsAtFive>(0).number, 9);
  for (Int i = 1; i < 100; ++i) ASSERT_EQ(elements.GetBlock().operator[]<StartsAtFive>(i).number, 5) << i;
  Array<Generic> array = *NewBaseArray(type);
  ASSERT_THAT(array.Resize(2), IsOk());
  EXPECT_EQ(array.operator[]<StartsAtFive>(1).number, 5);
}

TEST(ArrayMakingTest, ZerosAreMadeWithoutAPassByTheType) {
  static Int calls = 0;
  calls = 0;
  DataTypeDescription description = DescribeType<StartsAtZero>("test.making.counted"_id, "counted"_s);
  description.operations.construct = [](void* target, Int, Int count) {
    calls += count;
    for (Int i = 0; i < count; ++i) ::new (static_cast<StartsAtZero*>(target) + i) StartsAtZero();
  };
  const DataType type = *DataType::Register(description);
  const GenericBaseArray elements = *GenericBaseArray::Create(type, 1000);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(elements.GetBlock().operator[]<StartsAtZero>(999).number, 0);
  EXPECT_TRUE(DataType::Erase("test.making.counted"_id));
}

TEST(ArrayMakingTest, ElementsWithoutADefaultAreCopiedAndDroppedButNotAdded) {
  WithoutDefault values[] = {WithoutDefault(1), WithoutDefault(2)};
  const Block<const Generic> block(reinterpret_cast<const Generic*>(values), 2, sizeof(WithoutDefault));
  GenericBaseArray elements = *GenericBaseArray::CreateCopy(GetDataType<WithoutDefault>(), block);
  EXPECT_THAT(elements.Resize(3),
              IsErrorWith(kNotImplementedError, "Values of type \"WithoutDefault\" have no default."));
  EXPECT_EQ(elements.GetCount(), 2);
  ASSERT_THAT(elements.Resize(1), IsOk());
  EXPECT_EQ(elements.GetBlock().operator[]<WithoutDefault>(0).number, 1);
}

TEST(ArrayMakingTest, ElementsThatCannotBeAssignedSurviveAChangeOfTheCount) {
  GetDataType<MoveOnly>();
  const Int live = AllocationFaults::GetLiveCount();
  {
    BaseArray<MoveOnly> values;
    ASSERT_THAT(values.Append(MoveOnly()), IsOk());
    values[0].text = *String::Create("kept");
    GenericBaseArray elements(std::move(values));
    ASSERT_THAT(elements.Resize(3), IsOk());
    EXPECT_EQ(elements.GetBlock().operator[]<MoveOnly>(0).text, "kept");
    EXPECT_TRUE(elements.GetBlock().operator[]<MoveOnly>(2).text.IsEmpty());
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
}

TEST(ArrayMakingTest, WithoutAnElementTypeNothingIsResizedOrCopied) {
  GenericBaseArray elements;
  EXPECT_THAT(elements.Resize(1),
              IsErrorWith(kIllegalStateError, "An array without an element type cannot be resized."));
  EXPECT_THAT(GenericBaseArray::CreateCopy(DataType(), Block<const Generic>()), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ArrayMakingTest, TheFlagForAnExactCountIsFour) { EXPECT_EQ(static_cast<Int32>(ResizeFlags::Exact), 4); }

}  // namespace
}  // namespace ostra
