// Whole scenarios in which each allocation in turn fails: the error is reported, the promised state is kept, and
// nothing leaks.
#include <vector>

#include "ostra/core/data_dictionary.h"
#include "ostra/core/delegate.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

TEST(OutOfMemoryTest, WorkingWithTexts) {
  const Int failures = ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(String text, String::Create("one,two,three"));
    OSTRA_RETURN_IF_ERROR(text.Append(",four"));
    OSTRA_RETURN_IF_ERROR(text.Insert(0, "zero,"));
    OSTRA_ASSIGN_OR_RETURN(const auto pieces, text.Split(","));
    OSTRA_ASSIGN_OR_RETURN(const String joined, String::Join(pieces, ";"));
    OSTRA_ASSIGN_OR_RETURN(const String message, Format("@ pieces: @", pieces.GetCount(), joined));
    EXPECT_EQ(message, "5 pieces: zero;one;two;three;four");
    return OK;
  });
  EXPECT_GE(failures, 6);
}

TEST(OutOfMemoryTest, ATextThatCannotBeChangedStaysAsItWas) {
  String text = *String::Create("unchanged");
  const auto expectUnchanged = [&text] { EXPECT_EQ(text, "unchanged"); };
  ExpectEveryAllocationFailureIsReported(
      [&text]() -> Result<void> {
        String changed = text;
        const auto result = changed.Append(" no longer");
        if (!result) {
          EXPECT_EQ(changed, "unchanged");
        }
        return result;
      },
      expectUnchanged);
}

TEST(OutOfMemoryTest, FillingADictionary) {
  const Int failures = ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    DataDictionary dictionary;
    OSTRA_RETURN_IF_ERROR(dictionary.Set("first"_iid, "a text"_s));
    OSTRA_RETURN_IF_ERROR(dictionary.Set("second"_iid, Int32(2)));
    DataDictionary copy = dictionary;
    OSTRA_RETURN_IF_ERROR(copy.Set("third"_iid, "another text"_s));
    OSTRA_RETURN_IF_ERROR(copy.EraseData("first"_iid));
    EXPECT_EQ(copy.GetCount(), 2);
    EXPECT_EQ(dictionary.GetCount(), 2);
    return OK;
  });
  EXPECT_GE(failures, 10);
}

TEST(OutOfMemoryTest, ADictionaryThatCannotBeChangedStaysAsItWas) {
  DataDictionary dictionary;
  ASSERT_THAT(dictionary.Set("first"_iid, Int32(1)), IsOk());
  ASSERT_THAT(dictionary.Set("second"_iid, Int32(2)), IsOk());
  const auto expectUnchanged = [](const DataDictionary& unchanged) {
    EXPECT_EQ(unchanged.GetCount(), 2);
    EXPECT_EQ(*unchanged.Get<Int32>("first"_iid), 1);
    EXPECT_EQ(*unchanged.Get<Int32>("second"_iid), 2);
  };
  ExpectEveryAllocationFailureIsReported(
      [&]() -> Result<void> {
        DataDictionary copy = dictionary;
        auto added = copy.Set("third"_iid, Int32(3));
        if (!added) expectUnchanged(copy);
        return added;
      },
      [&] { expectUnchanged(dictionary); });
  ExpectEveryAllocationFailureIsReported(
      [&]() -> Result<void> {
        DataDictionary copy = dictionary;
        auto erased = copy.EraseData("first"_iid);
        if (!erased) expectUnchanged(copy);
        return erased;
      },
      [&] { expectUnchanged(dictionary); });
}

TEST(OutOfMemoryTest, SharingResizingAndAdoptingArrays) {
  const Int failures = ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(Array<Float32> array, Array<Float32>::Create({1, 2, 3}));
    OSTRA_ASSIGN_OR_RETURN(const Data shared, Data::Create(array));
    auto resized = array.Resize(10);
    if (!resized) {
      EXPECT_EQ(array.GetCount(), 3);
    }
    OSTRA_RETURN_IF_ERROR(std::move(resized));
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& kept, shared.Get<Array<Generic>>());
    EXPECT_EQ(kept.GetCount(), 3);
    EXPECT_EQ(array.GetCount(), 10);
    OSTRA_ASSIGN_OR_RETURN(Array<Generic> copy, NewBaseArray(GetDataType<Float32>(), {}));
    return copy.Resize(5);
  });
  EXPECT_GE(failures, 7);
}

TEST(OutOfMemoryTest, ArraysOfTextsAreCopiedElementByElement) {
  ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    BaseArray<BaseArray<String>> rows;
    for (int i = 0; i < 3; ++i) {
      OSTRA_ASSIGN_OR_RETURN(String text, String::Create("cell"));
      OSTRA_ASSIGN_OR_RETURN(BaseArray<String> row, BaseArray<String>::Create({text, text}));
      OSTRA_RETURN_IF_ERROR(rows.Append(std::move(row)));
    }
    GenericBaseArray generic(std::move(rows));
    GenericBaseArray copy;
    return copy.CopyFrom(generic);
  });
}

TEST(OutOfMemoryTest, NumberedNames) {
  ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create("outOfMemory_@", 4));
    EXPECT_EQ(name.GetView(), "outOfMemory_4");
    return OK;
  });
}

}  // namespace
}  // namespace ostra
