#include "ostra/core/owned.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

// Notes its number in a list when it is deleted.
struct Noted {
  Noted(int number, std::vector<int>& deletedNumbers) : number(number), deleted(deletedNumbers) {}
  ~Noted() { deleted.push_back(number); }
  const int number;
  std::vector<int>& deleted;
};

void Fill(OwnedArray<Noted>& array, int count, std::vector<int>& deleted) {
  for (int i = 0; i < count; ++i) ASSERT_THAT(array.Append(MakeOwned<Noted>(i, deleted)), IsOk());
}

TEST(OwnedTest, AnObjectIsDeletedWithItsOwner) {
  std::vector<int> deleted;
  {
    const Owned<Noted> object = MakeOwned<Noted>(7, deleted);
    ASSERT_TRUE(object);
    EXPECT_TRUE(deleted.empty());
  }
  EXPECT_EQ(deleted, std::vector<int>{7});
}

TEST(OwnedArrayTest, ObjectsAreDeletedFromTheLastToTheFirst) {
  std::vector<int> deleted;
  {
    OwnedArray<Noted> array;
    Fill(array, 3, deleted);
  }
  EXPECT_EQ(deleted, (std::vector<int>{2, 1, 0}));
}

TEST(OwnedArrayTest, TheLastObjectTakesThePlaceOfARemovedOne) {
  std::vector<int> deleted;
  OwnedArray<Noted> array;
  Fill(array, 4, deleted);
  Noted* const last = array[3];
  array.Remove(1);
  EXPECT_EQ(deleted, std::vector<int>{1});
  ASSERT_EQ(array.GetCount(), 3);
  EXPECT_EQ(array[1], last);
  array.Remove(2);
  EXPECT_EQ(deleted, (std::vector<int>{1, 2}));
  std::vector<int> left;
  for (const Noted* object : array) left.push_back(object->number);
  EXPECT_EQ(left, (std::vector<int>{0, 3}));
}

TEST(OwnedArrayTest, ObjectsKeepTheirAddressesWhileTheArrayGrows) {
  std::vector<int> deleted;
  OwnedArray<Noted> array;
  Fill(array, 1, deleted);
  Noted* const first = array[0];
  Fill(array, 100, deleted);
  EXPECT_EQ(array[0], first);
  EXPECT_TRUE(deleted.empty());
}

TEST(OwnedArrayTest, WithoutMemoryTheObjectIsGoneAndTheArrayAsItWas) {
  std::vector<int> deleted;
  OwnedArray<Noted> array;
  Fill(array, 4, deleted);
  Int expected = 4;
  const Int failures = ExpectEveryAllocationFailureIsReported(
      [&]() -> Result<void> {
        OwnedArray<Noted> grown;
        for (int i = 0; i < 20; ++i) {
          Owned<Noted> object = MakeOwned<Noted>(i, deleted);
          if (!object) return Error::MakeOutOfMemory("owned_test", __LINE__);
          const Int before = grown.GetCount();
          auto appended = grown.Append(std::move(object));
          if (!appended) {
            EXPECT_EQ(grown.GetCount(), before);
            EXPECT_EQ(deleted.back(), i);
            return appended.TakeError();
          }
        }
        return OK;
      },
      [&] { EXPECT_EQ(array.GetCount(), expected); });
  EXPECT_GT(failures, 20);
}

}  // namespace
}  // namespace ostra::test
