#include "ostra/core/array.h"

#include <vector>

#include "ostra/core/string.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

using testing::ElementsAre;

template <class T>
std::vector<T> Read(const Array<T>& array) {
  std::vector<T> values;
  const Block<T> block = array.GetFirstBlock();
  for (Int i = 0; i < block.GetCount(); ++i) values.push_back(block[i]);
  return values;
}

TEST(ArrayTest, HoldsValuesAndTheirType) {
  const Array<Float32> array = *Array<Float32>::Create({1, 2, 3});
  EXPECT_EQ(array.GetCount(), 3);
  EXPECT_EQ(array.GetElementType(), GetDataType<Float32>());
  EXPECT_EQ(array[1], 2.0F);
}

TEST(ArrayTest, AnArrayThatRefersToNothingIsEmpty) {
  const Array<Int32> array;
  EXPECT_FALSE(array.IsPopulated());
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_TRUE(array.GetFirstBlock().IsEmpty());
  EXPECT_FALSE(array.GetElementType().IsPopulated());
}

TEST(ArrayTest, AnArrayThatRefersToNothingCannotBeResized) {
  Array<Int32> array;
  EXPECT_THAT(array.MakeWritable(), IsOk());
  EXPECT_THAT(array.Resize(3), IsErrorOfKind(kIllegalStateError));
}

TEST(ArrayTest, AnArrayNeedsAnElementType) {
  EXPECT_THAT(NewBaseArray(DataType()), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ArrayTest, CopiesSeeTheSameElements) {
  const Array<Int32> first = *Array<Int32>::Create({1, 2});
  const Array<Int32> second = first;
  second[0] = 9;
  EXPECT_EQ(first[0], 9);
}

TEST(ArrayTest, MakeWritableSeparatesASharedArrayAndKeepsAnUnsharedOne) {
  Array<Int32> first = *Array<Int32>::Create({1, 2});
  const Int32* elements = &first[0];
  ASSERT_THAT(first.MakeWritable(), IsOk());
  EXPECT_EQ(&first[0], elements);
  const Array<Int32> second = first;
  ASSERT_THAT(first.MakeWritable(), IsOk());
  first[0] = 9;
  EXPECT_THAT(Read(first), ElementsAre(9, 2));
  EXPECT_THAT(Read(second), ElementsAre(1, 2));
}

TEST(ArrayTest, ResizingKeepsTheFirstElementsAndAddsZeros) {
  Array<Int32> array = *Array<Int32>::Create({1, 2, 3});
  ASSERT_THAT(array.Resize(5), IsOk());
  EXPECT_THAT(Read(array), ElementsAre(1, 2, 3, 0, 0));
  ASSERT_THAT(array.Resize(2), IsOk());
  EXPECT_THAT(Read(array), ElementsAre(1, 2));
  ASSERT_THAT(array.Resize(0), IsOk());
  EXPECT_EQ(array.GetCount(), 0);
  ASSERT_THAT(array.Resize(1, ResizeFlags::None), IsOk());
  EXPECT_THAT(Read(array), ElementsAre(0));
}

TEST(ArrayTest, ResizingASharedArrayLeavesTheOtherHolders) {
  Array<String> array = *Array<String>::Create({"a"_s, "b"_s});
  const Array<String> other = array;
  ASSERT_THAT(array.Resize(3), IsOk());
  EXPECT_THAT(Read(array), ElementsAre("a"_s, "b"_s, ""_s));
  EXPECT_THAT(Read(other), ElementsAre("a"_s, "b"_s));
}

TEST(ArrayTest, CountsThatCannotBeAreRefusedAndChangeNothing) {
  Array<Int32> array = *Array<Int32>::Create({1, 2, 3});
  EXPECT_THAT(array.Resize(-1), IsErrorWith(kIllegalArgumentError, "An array cannot have -1 elements."));
  EXPECT_THAT(array.Resize(INT64_MAX / 2), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(Read(array), ElementsAre(1, 2, 3));
}

TEST(ArrayTest, AnArrayOfARunTimeTypeCopiesElementsWithAnyStride) {
  const Int32 numbers[] = {1, 0, 2, 0, 3, 0};
  const Block<const Generic> elements(reinterpret_cast<const Generic*>(numbers), 3, 8);
  const Array<Generic> array = *NewBaseArray(GetDataType<Int32>(), elements);
  EXPECT_EQ(array.GetCount(), 3);
  EXPECT_EQ(array.GetFirstBlock().GetStride(), 4);
  for (Int32 i = 0; i < 3; ++i) EXPECT_EQ(array.operator[]<Int32>(i), i + 1);
}

TEST(ArrayTest, ABlockToWriteServesAsOneToReadAndNotTheOtherWayRound) {
  Int32 numbers[4] = {1, 2, 3, 4};
  const Block<Int32> every2nd(numbers, 2, 8);
  const Block<const Int32> reading = every2nd;
  EXPECT_EQ(reading.GetFirst(), numbers);
  EXPECT_EQ(reading.GetCount(), 2);
  EXPECT_EQ(reading[1], 3);
  static_assert(!std::is_convertible_v<Block<const Int32>, Block<Int32>>);
  static_assert(!std::is_convertible_v<Block<Int32>, Block<const Float32>>);
}

TEST(ArrayTest, ElementsCanBeTakenOverWithoutCopying) {
  BaseArray<Float32> elements = *BaseArray<Float32>::Create({1, 2, 3});
  const Float32* first = elements.GetFirst();
  const Array<Generic> array = *NewBaseArray(GenericBaseArray(std::move(elements)));
  EXPECT_EQ(&array.operator[]<Float32>(0), first);
  EXPECT_TRUE(elements.IsEmpty());
  EXPECT_EQ(array.GetElementType(), GetDataType<Float32>());
}

TEST(ArrayTest, AnEmptyArrayKnowsItsTypeAndGrows) {
  Array<Generic> array = *NewBaseArray(GetDataType<Float64>());
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetElementType(), GetDataType<Float64>());
  ASSERT_THAT(array.Resize(2), IsOk());
  EXPECT_EQ(array.operator[]<Float64>(1), 0.0);
}

TEST(ArrayTest, ABlockFromTheMiddleReachesToTheEnd) {
  const Array<Int32> array = *Array<Int32>::Create({1, 2, 3, 4});
  const Block<Generic> block = array.GetReference()->GetBlock(3);
  EXPECT_EQ(block.GetCount(), 1);
  EXPECT_EQ(block.operator[]<Int32>(0), 4);
}

TEST(GenericBaseArrayTest, ACopyIsIndependentAlsoWhenItIsEmpty) {
  GenericBaseArray source(*BaseArray<Int32>::Create({1, 2}));
  GenericBaseArray copy;
  ASSERT_THAT(copy.CopyFrom(source), IsOk());
  copy.GetBlock().operator[]<Int32>(0) = 9;
  EXPECT_EQ(source.GetBlock().operator[]<Int32>(0), 1);
  ASSERT_THAT(copy.CopyFrom(GenericBaseArray()), IsOk());
  EXPECT_EQ(copy.GetCount(), 0);
}

TEST(GenericBaseArrayTest, ElementsAreDestroyedWithTheArray) {
  const Int live = AllocationFaults::GetLiveCount();
  {
    BaseArray<String> texts;
    for (int i = 0; i < 10; ++i) ASSERT_THAT(texts.Append(*String::Create("a text with memory")), IsOk());
    GenericBaseArray array(std::move(texts));
    ASSERT_THAT(array.Resize(5), IsOk());
    ASSERT_THAT(array.Resize(8), IsOk());
    EXPECT_EQ(array.GetBlock().operator[]<String>(4), "a text with memory");
    EXPECT_EQ(array.GetBlock().operator[]<String>(7), "");
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
}

}  // namespace
}  // namespace ostra
