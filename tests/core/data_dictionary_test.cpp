#include "ostra/core/data_dictionary.h"

#include <list>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/fault_injection.h"

namespace ostra {

struct ManyNumbers {
  Float32 numbers[16];
};

}  // namespace ostra

OSTRA_DATATYPE(ostra::ManyNumbers, "test.datatype.manynumbers", "manynumbers");

namespace ostra {
namespace {

using testing::ElementsAre;

std::vector<std::string> GetKeys(const DataDictionary& dictionary) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : dictionary) keys.emplace_back(key.GetView());
  return keys;
}

DataDictionary MakeDictionary() {
  DataDictionary dictionary;
  for (const InternedId key : {"zeta"_iid, "alpha"_iid, "mu"_iid})
    EXPECT_THAT(dictionary.Set(key, *String::Create(key.GetView())), IsOk());
  return dictionary;
}

TEST(DataDictionaryTest, GivesBackWhatWasSet) {
  DataDictionary dictionary;
  ASSERT_THAT(dictionary.Set("radius"_iid, Float32(3)), IsOk());
  EXPECT_EQ(*dictionary.Get<Float32>("radius"_iid), 3.0F);
  EXPECT_TRUE(dictionary.Contains("radius"_iid));
  EXPECT_EQ(dictionary.GetCount(), 1);
}

TEST(DataDictionaryTest, AValueThatIsSetAgainNeedsNoMemory) {
  DataDictionary dictionary;
  ASSERT_THAT(dictionary.SetValue("matrix"_iid, ManyNumbers{{1}}), IsOk());
  const Int allocations = AllocationFaults::GetCount();
  for (int i = 2; i < 10; ++i)
    ASSERT_THAT(dictionary.SetValue("matrix"_iid, ManyNumbers{{static_cast<Float32>(i)}}), IsOk());
  EXPECT_EQ(AllocationFaults::GetCount(), allocations);
  EXPECT_EQ((*dictionary.Get<ManyNumbers>("matrix"_iid)).numbers[0], 9.0F);
}

TEST(DataDictionaryTest, AValueThatIsSetAgainDoesNotReachCopies) {
  DataDictionary dictionary;
  ASSERT_THAT(dictionary.SetValue("matrix"_iid, ManyNumbers{{1}}), IsOk());
  const DataDictionary copy = dictionary;
  const Data value = *dictionary.GetData("matrix"_iid);
  ASSERT_THAT(dictionary.SetValue("matrix"_iid, ManyNumbers{{2}}), IsOk());
  EXPECT_EQ((*copy.Get<ManyNumbers>("matrix"_iid)).numbers[0], 1.0F);
  EXPECT_EQ(value.GetIf<ManyNumbers>()->numbers[0], 1.0F);
  EXPECT_EQ((*dictionary.Get<ManyNumbers>("matrix"_iid)).numbers[0], 2.0F);
  ASSERT_THAT(dictionary.SetValue("matrix"_iid, String("none"_s)), IsOk());
  EXPECT_EQ(*dictionary.Get<String>("matrix"_iid), "none"_s);
}

TEST(DataDictionaryTest, MissingKeysAndOtherTypesAreErrors) {
  const DataDictionary dictionary = MakeDictionary();
  EXPECT_THAT(dictionary.GetData("beta"_iid),
              IsErrorWith(kIllegalArgumentError, "The dictionary has no entry \"beta\"."));
  EXPECT_THAT(dictionary.Get<Int32>("alpha"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(dictionary.FindData("beta"_iid), nullptr);
  EXPECT_THAT(DataDictionary().GetData("alpha"_iid), IsErrorOfKind(kIllegalArgumentError));
}

TEST(DataDictionaryTest, IteratesInTheOrderOfFirstInsertion) {
  DataDictionary dictionary = MakeDictionary();
  EXPECT_THAT(GetKeys(dictionary), ElementsAre("zeta", "alpha", "mu"));
  ASSERT_THAT(dictionary.Set("alpha"_iid, Int32(5)), IsOk());
  EXPECT_THAT(GetKeys(dictionary), ElementsAre("zeta", "alpha", "mu"));
  EXPECT_EQ(*dictionary.Get<Int32>("alpha"_iid), 5);
}

TEST(DataDictionaryTest, AKeyThatWasErasedComesBackAtTheEnd) {
  DataDictionary dictionary = MakeDictionary();
  ASSERT_THAT(dictionary.EraseData("zeta"_iid), IsOk());
  EXPECT_THAT(GetKeys(dictionary), ElementsAre("alpha", "mu"));
  ASSERT_THAT(dictionary.Set("zeta"_iid, Int32(5)), IsOk());
  EXPECT_THAT(GetKeys(dictionary), ElementsAre("alpha", "mu", "zeta"));
}

TEST(DataDictionaryTest, ErasingAnAbsentKeyIsAnError) {
  DataDictionary dictionary = MakeDictionary();
  EXPECT_THAT(dictionary.EraseData("beta"_iid),
              IsErrorWith(kIllegalArgumentError, "The dictionary has no entry \"beta\"."));
  EXPECT_EQ(dictionary.GetCount(), 3);
}

TEST(DataDictionaryTest, ChangingTheOriginalLeavesTheCopy) {
  DataDictionary original = MakeDictionary();
  const DataDictionary copy = original;
  ASSERT_THAT(original.Set("alpha"_iid, Int32(1)), IsOk());
  ASSERT_THAT(original.EraseData("zeta"_iid), IsOk());
  EXPECT_EQ(*copy.Get<String>("alpha"_iid), "alpha");
  EXPECT_THAT(GetKeys(copy), ElementsAre("zeta", "alpha", "mu"));
}

TEST(DataDictionaryTest, ChangingTheCopyLeavesTheOriginal) {
  const DataDictionary original = MakeDictionary();
  DataDictionary copy = original;
  ASSERT_THAT(copy.Set("nu"_iid, Int32(1)), IsOk());
  ASSERT_THAT(copy.EraseData("mu"_iid), IsOk());
  EXPECT_THAT(GetKeys(original), ElementsAre("zeta", "alpha", "mu"));
  EXPECT_THAT(GetKeys(copy), ElementsAre("zeta", "alpha", "nu"));
}

TEST(DataDictionaryTest, CopiesShareTheirValues) {
  const DataDictionary original = MakeDictionary();
  DataDictionary copy = original;
  EXPECT_EQ(copy.FindData("alpha"_iid), original.FindData("alpha"_iid));
  ASSERT_THAT(copy.Set("nu"_iid, Int32(1)), IsOk());
  const void* value = original.FindData("alpha"_iid)->GetPointer();
  EXPECT_EQ(copy.FindData("alpha"_iid)->GetPointer(), value);
}

TEST(DataDictionaryTest, ResettingOneLeavesTheOthers) {
  DataDictionary original = MakeDictionary();
  const DataDictionary copy = original;
  original.Reset();
  EXPECT_TRUE(original.IsEmpty());
  EXPECT_TRUE(original.begin() == original.end());
  EXPECT_EQ(copy.GetCount(), 3);
}

TEST(DataDictionaryTest, OptionsAreFoundByTheirId) {
  DataDictionary options;
  const Id key = "net.ostra.option.size"_id;
  EXPECT_THAT(options.GetData(key),
              IsErrorWith(kIllegalArgumentError, "The dictionary has no entry \"net.ostra.option.size\"."));
  ASSERT_THAT(options.Set(key, Int32(8)), IsOk());
  EXPECT_EQ(*options.Get<Int32>(key), 8);
  EXPECT_EQ(*options.Get<Int32>("net.ostra.option.size"_iid), 8);
}

TEST(DataDictionaryTest, TheEmptyNameIsAKey) {
  DataDictionary dictionary;
  ASSERT_THAT(dictionary.Set(InternedId(), Int32(8)), IsOk());
  EXPECT_EQ(*dictionary.Get<Int32>(InternedId()), 8);
}

TEST(DataDictionaryTest, BehavesLikeAListOfPairsUnderRandomOperations) {
  std::mt19937 random(11);
  DataDictionary dictionary;
  std::list<std::pair<InternedId, Int32>> expected;
  DataDictionary snapshot;
  std::list<std::pair<InternedId, Int32>> expectedSnapshot;
  const auto expectEqual = [](const DataDictionary& actual, const std::list<std::pair<InternedId, Int32>>& pairs) {
    ASSERT_EQ(actual.GetCount(), static_cast<Int>(pairs.size()));
    auto next = pairs.begin();
    for (const auto& [key, value] : actual) {
      ASSERT_EQ(key, next->first);
      ASSERT_EQ(*value.Get<Int32>(), next++->second);
    }
  };
  for (Int32 i = 0; i < 3000; ++i) {
    const InternedId key = *InternedId::Create("key@", static_cast<Int>(random() % 20));
    const auto known = std::find_if(expected.begin(), expected.end(), [key](auto& pair) { return pair.first == key; });
    if (random() % 3 == 0) {
      ASSERT_EQ(dictionary.EraseData(key).IsOk(), known != expected.end());
      if (known != expected.end()) expected.erase(known);
    } else {
      ASSERT_THAT(dictionary.Set(key, i), IsOk());
      if (known != expected.end())
        known->second = i;
      else
        expected.emplace_back(key, i);
    }
    if (random() % 50 == 0) {
      snapshot = dictionary;
      expectedSnapshot = expected;
    }
    ASSERT_NO_FATAL_FAILURE(expectEqual(dictionary, expected));
    ASSERT_NO_FATAL_FAILURE(expectEqual(snapshot, expectedSnapshot));
  }
}

}  // namespace
}  // namespace ostra
