#include "ostra/core/base_array.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

using testing::ElementsAre;

template <class T>
std::vector<T> Read(const BaseArray<T>& array) {
  return std::vector<T>(array.begin(), array.end());
}

TEST(BaseArrayTest, NewElementsAreZero) {
  BaseArray<Int32> numbers;
  ASSERT_THAT(numbers.Append(5), IsOk());
  ASSERT_THAT(numbers.Resize(4), IsOk());
  EXPECT_THAT(Read(numbers), ElementsAre(5, 0, 0, 0));
  ASSERT_THAT(numbers.Resize(0), IsOk());
  ASSERT_THAT(numbers.Resize(2), IsOk());
  EXPECT_THAT(Read(numbers), ElementsAre(0, 0));
}

TEST(BaseArrayTest, GrowsLikeAVectorAndKeepsItsElements) {
  BaseArray<String> texts;
  std::vector<std::string> expected;
  for (int i = 0; i < 1000; ++i) {
    expected.push_back("text number " + std::to_string(i));
    const auto added = texts.Append(*String::Create(expected.back()));
    ASSERT_THAT(added, IsOk());
    EXPECT_EQ(&*added, &texts[i]);
  }
  ASSERT_EQ(texts.GetCount(), 1000);
  for (Int i = 0; i < 1000; ++i) ASSERT_EQ(texts[i].GetView(), expected[static_cast<std::size_t>(i)]);
}

TEST(BaseArrayTest, AnElementOfTheArrayItselfCanBeAppendedWhileItGrows) {
  BaseArray<String> texts;
  ASSERT_THAT(texts.Append(*String::Create("the first element of the array")), IsOk());
  for (int i = 0; i < 100; ++i) ASSERT_THAT(texts.Append(texts[0]), IsOk());
  for (const String& text : texts) ASSERT_EQ(text, "the first element of the array");
}

TEST(BaseArrayTest, HoldsElementsThatCanOnlyBeMoved) {
  BaseArray<std::unique_ptr<Int>> pointers;
  for (Int i = 0; i < 20; ++i) ASSERT_THAT(pointers.Append(std::make_unique<Int>(i)), IsOk());
  for (Int i = 0; i < 20; ++i) EXPECT_EQ(*pointers[i], i);
}

TEST(BaseArrayTest, ReservedRoomKeepsTheAddressOfItsElements) {
  BaseArray<Int> numbers;
  ASSERT_THAT(numbers.Reserve(100), IsOk());
  const Int* first = numbers.GetFirst();
  const Int allocations = AllocationFaults::GetCount();
  for (Int i = 0; i < 100; ++i) ASSERT_THAT(numbers.Append(i), IsOk());
  EXPECT_EQ(numbers.GetFirst(), first);
  EXPECT_EQ(AllocationFaults::GetCount(), allocations);
}

TEST(BaseArrayTest, CountsThatCannotBeAreRefused) {
  BaseArray<Int> numbers = *BaseArray<Int>::Create({1, 2});
  EXPECT_THAT(numbers.Resize(-1), IsErrorWith(kIllegalArgumentError, "An array cannot have a negative count."));
  EXPECT_THAT(numbers.Resize(INT64_MAX), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(numbers.Reserve(INT64_MAX / 4), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(Read(numbers), ElementsAre(1, 2));
}

TEST(BaseArrayTest, ACopyIsIndependentAndAMoveEmptiesTheSource) {
  BaseArray<Int> source = *BaseArray<Int>::Create({1, 2, 3});
  BaseArray<Int> copy;
  ASSERT_THAT(copy.CopyFrom(source), IsOk());
  copy[0] = 9;
  EXPECT_THAT(Read(source), ElementsAre(1, 2, 3));
  const BaseArray<Int> moved = std::move(source);
  EXPECT_TRUE(source.IsEmpty());
  EXPECT_THAT(Read(moved), ElementsAre(1, 2, 3));
}

TEST(BaseArrayTest, ElementsAreDestroyedWhenTheyLeave) {
  const auto token = std::make_shared<int>(0);
  BaseArray<std::shared_ptr<int>> tokens;
  for (int i = 0; i < 10; ++i) ASSERT_THAT(tokens.Append(token), IsOk());
  EXPECT_EQ(token.use_count(), 11);
  ASSERT_THAT(tokens.Resize(4), IsOk());
  EXPECT_EQ(token.use_count(), 5);
  tokens.Clear();
  EXPECT_EQ(token.use_count(), 1);
}

TEST(BaseArrayTest, ElementsAreRemovedFromAnyPlace) {
  auto numbers = *BaseArray<Int32>::Create({1, 2, 3, 4, 5, 6});
  numbers.Remove(1);
  EXPECT_THAT(Read(numbers), ElementsAre(1, 3, 4, 5, 6));
  numbers.RemoveUnordered(0);
  EXPECT_THAT(Read(numbers), ElementsAre(6, 3, 4, 5));
  EXPECT_EQ(numbers.GetLast(), 5);
  numbers.RemoveLast();
  EXPECT_THAT(Read(numbers), ElementsAre(6, 3, 4));
  numbers.Remove(2);
  numbers.RemoveUnordered(1);
  EXPECT_THAT(Read(numbers), ElementsAre(6));
  numbers.RemoveUnordered(0);
  EXPECT_TRUE(numbers.IsEmpty());
}

TEST(BaseArrayTest, ShorteningKeepsTheFirstElementsAndTheMemory) {
  auto numbers = *BaseArray<Int32>::Create({1, 2, 3, 4});
  const Int32* const first = numbers.GetFirst();
  numbers.Shorten(4);
  EXPECT_THAT(Read(numbers), ElementsAre(1, 2, 3, 4));
  const FailingAllocation failure(1);
  numbers.Shorten(2);
  EXPECT_THAT(Read(numbers), ElementsAre(1, 2));
  EXPECT_THAT(numbers.Resize(4), IsOk());
  EXPECT_THAT(Read(numbers), ElementsAre(1, 2, 0, 0));
  EXPECT_EQ(numbers.GetFirst(), first);
}

TEST(BaseArrayTest, RemovedElementsAreDestroyedAndOthersKeepWhatTheyOwn) {
  BaseArray<std::shared_ptr<int>> numbers;
  std::vector<std::weak_ptr<int>> watched;
  for (int i = 0; i < 5; ++i) {
    auto number = std::make_shared<int>(i);
    watched.push_back(number);
    ASSERT_THAT(numbers.Append(std::move(number)), IsOk());
  }
  const auto countAlive = [&] {
    return std::count_if(watched.begin(), watched.end(), [](const auto& number) { return !number.expired(); });
  };
  numbers.Remove(0);
  EXPECT_TRUE(watched[0].expired());
  numbers.RemoveUnordered(1);
  EXPECT_TRUE(watched[2].expired());
  EXPECT_EQ(countAlive(), 3);
  EXPECT_EQ(*numbers[0], 1);
  EXPECT_EQ(*numbers[1], 4);
  EXPECT_EQ(*numbers[2], 3);
}

TEST(BaseArrayTest, AFailedAllocationLeavesTheArrayAsItWas) {
  BaseArray<String> texts = *BaseArray<String>::Create({"a"_s, "b"_s});
  ASSERT_THAT(texts.CopyFrom(texts), IsOk());
  const FailingAllocation failure(1);
  EXPECT_THAT(texts.Resize(1000), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(Read(texts), ElementsAre("a"_s, "b"_s));
}

TEST(BaseArrayTest, AValueThatFindsNoRoomIsNotLost) {
  BaseArray<String> texts;
  String value = *String::Create("still here");
  const FailingAllocation failure(1);
  EXPECT_THAT(texts.Append(std::move(value)), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_EQ(value, "still here");
}

TEST(BlockTest, ReachesEveryElementThroughItsStride) {
  struct Particle {
    Float32 position[3];
    Int32 id;
  };
  std::vector<Particle> particles(5);
  for (Int32 i = 0; i < 5; ++i) particles[static_cast<std::size_t>(i)].id = i * 10;
  const Block<Int32> ids(&particles[0].id, 5, sizeof(Particle));
  for (Int i = 0; i < 5; ++i) EXPECT_EQ(ids[i], i * 10);
  ids[3] = 7;
  EXPECT_EQ(particles[3].id, 7);
}

TEST(BlockTest, IsTightlyPackedByDefaultAndHasOneLayoutForAllElementTypes) {
  BaseArray<Int32> numbers = *BaseArray<Int32>::Create({1, 2, 3});
  const Block<Int32> block = numbers.GetBlock();
  EXPECT_EQ(block.GetStride(), 4);
  EXPECT_EQ(block.GetCount(), 3);
  static_assert(sizeof(Block<Byte>) == sizeof(Block<Float64>) && sizeof(Block<Generic>) == sizeof(Block<String>));
  const Block<Generic> generic(reinterpret_cast<Generic*>(block.GetFirst()), block.GetCount(), block.GetStride());
  EXPECT_EQ(generic.operator[]<Int32>(2), 3);
}

TEST(BlockTest, AStrideOfZeroRepeatsOneElementAndANegativeOneGoesBackwards) {
  Int32 numbers[] = {1, 2, 3};
  const Block<Int32> repeated(&numbers[1], 100, 0);
  EXPECT_EQ(repeated[99], 2);
  const Block<Int32> backwards(&numbers[2], 3, -4);
  EXPECT_EQ(backwards[2], 1);
}

}  // namespace
}  // namespace ostra
