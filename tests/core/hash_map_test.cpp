#include "ostra/core/hash_map.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "ostra/core/interned_id.h"
#include "ostra/core/strong_ref.h"
#include "ostra/core/synchronized_hash_map.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

TEST(HashMapTest, TheFirstInsertionMakesAValueAndLaterOnesFindIt) {
  HashMap<InternedId, Int> map;
  const auto first = *map.Insert("radius"_iid, 3);
  EXPECT_TRUE(first.isNew);
  EXPECT_EQ(*first.value, 3);
  const auto second = *map.Insert("radius"_iid, 9);
  EXPECT_FALSE(second.isNew);
  EXPECT_EQ(*second.value, 3);
  EXPECT_EQ(first.value, second.value);
}

TEST(HashMapTest, TheAddressOfAValueStaysUntilItIsErased) {
  HashMap<Int, Int> map;
  Int* address = map.Insert(0, 42)->value;
  for (Int i = 1; i < 1000; ++i) ASSERT_THAT(map.Insert(i, i), IsOk());
  EXPECT_EQ(map.Find(0), address);
  EXPECT_EQ(*address, 42);
}

TEST(HashMapTest, BehavesLikeAnOrderedMapUnderRandomOperations) {
  std::mt19937 random(5);
  HashMap<Int, Int> map;
  std::map<Int, Int> expected;
  for (int i = 0; i < 20000; ++i) {
    const Int key = static_cast<Int>(random() % 300);
    if (random() % 3 == 0) {
      ASSERT_EQ(map.Erase(key), expected.erase(key) != 0);
    } else {
      ASSERT_EQ(map.Insert(key, i)->isNew, expected.emplace(key, i).second);
    }
    ASSERT_EQ(map.GetCount(), static_cast<Int>(expected.size()));
  }
  std::map<Int, Int> contents;
  for (const auto& [key, value] : map) contents[key] = value;
  EXPECT_EQ(contents, expected);
  map.Reset();
  EXPECT_TRUE(map.IsEmpty());
}

TEST(HashMapTest, AFailedInsertionLeavesTheTableAsItWas) {
  const Int failures = ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    HashMap<Int, Int> map;
    for (Int i = 0; i < 50; ++i) OSTRA_RETURN_IF_ERROR(map.Insert(i, i));
    return OK;
  });
  EXPECT_GE(failures, 50);
  HashMap<Int, Int> map;
  for (Int next = 0; next < 100; ++next) {
    {
      const FailingAllocation failure(1);
      ASSERT_THAT(map.Insert(next, next), IsErrorOfKind(kOutOfMemoryError));
    }
    ASSERT_EQ(map.GetCount(), next);
    ASSERT_FALSE(map.Contains(next));
    ASSERT_THAT(map.Insert(next, next), IsOk());
  }
}

TEST(HashMapTest, SizesThatCannotBeAreOutOfMemory) {
  HashMap<Int, Int> map;
  EXPECT_THAT(map.Resize(1000), IsOk());
  EXPECT_THAT(map.Resize(INT64_MAX / 4), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(map.Resize(-1), IsErrorWith(kIllegalArgumentError, "A table cannot have a negative count."));
  EXPECT_THAT(map.Insert(1, 2), IsOk());
}

struct Thing : RefCounted<Thing> {
  Int number = 0;
};

TEST(HashMapTest, ReferencesAndAddressesAreKeysByIdentity) {
  const auto first = StrongRef<Thing>::Adopt(NewObj<Thing>());
  const auto second = StrongRef<Thing>::Adopt(NewObj<Thing>());
  HashMap<StrongRef<Thing>, Int> byReference;
  HashMap<const Thing*, Int> byAddress;
  Int next = 0;
  for (const StrongRef<Thing>& thing : {first, second, StrongRef<Thing>()}) {
    EXPECT_TRUE(byReference.Insert(thing, next)->isNew);
    EXPECT_TRUE(byAddress.Insert(thing.GetPointer(), next++)->isNew);
  }
  first->number = 7;
  EXPECT_EQ(*byReference.Find(first), 0);
  EXPECT_EQ(*byReference.Find(StrongRef<Thing>(second.GetPointer())), 1);
  EXPECT_EQ(*byReference.Find(nullptr), 2);
  EXPECT_EQ(*byAddress.Find(second.GetPointer()), 1);
}

TEST(SynchronizedHashMapTest, PreparesForEntries) {
  SynchronizedHashMap<Int, Int> map;
  EXPECT_THAT(map.Resize(256), IsOk());
  EXPECT_THAT(map.Resize(-1), IsErrorWith(kIllegalArgumentError, "A table cannot have a negative count."));
  EXPECT_TRUE(*map.Insert(1, 10));
  EXPECT_EQ(map.GetCount(), 1);
}

TEST(SynchronizedHashMapTest, KeysAndValuesAreCollected) {
  SynchronizedHashMap<Int, Int> map;
  EXPECT_TRUE(map.GetKeys()->IsEmpty());
  for (Int key = 0; key < 20; ++key) ASSERT_THAT(map.Insert(key, key * key), IsOk());
  const auto collect = [&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(BaseArray<Int> keys, map.GetKeys());
    OSTRA_ASSIGN_OR_RETURN(BaseArray<Int> values, map.GetValues());
    std::sort(keys.begin(), keys.end());
    std::sort(values.begin(), values.end());
    EXPECT_EQ(keys.GetCount(), 20);
    EXPECT_EQ(values.GetCount(), 20);
    for (Int key = 0; key < 20; ++key) {
      EXPECT_EQ(keys[key], key);
      EXPECT_EQ(values[key], key * key);
    }
    return OK;
  };
  EXPECT_EQ(ExpectEveryAllocationFailureIsReported(collect), 2);
}

TEST(SynchronizedHashMapTest, KeepsTheFirstOfSeveralValues) {
  SynchronizedHashMap<Int, Int> map;
  EXPECT_TRUE(*map.Insert(1, 10));
  EXPECT_FALSE(*map.Insert(1, 20));
  Int value = 0;
  EXPECT_TRUE(map.Find(1, value));
  EXPECT_EQ(value, 10);
  EXPECT_FALSE(map.Find(2, value));
  EXPECT_TRUE(map.Erase(1));
  EXPECT_FALSE(map.Erase(1));
}

TEST(SynchronizedHashMapTest, ExactlyOneOfManyThreadsInsertsAKey) {
  SynchronizedHashMap<Int, Int> map;
  std::atomic<Int> inserted{0};
  std::vector<std::thread> threads;
  for (Int t = 0; t < 8; ++t) {
    threads.emplace_back([&map, &inserted, t] {
      for (Int key = 0; key < 1000; ++key) {
        if (*map.Insert(key, t)) ++inserted;
        Int value = -1;
        if (!map.Find(key, value)) inserted += 1000000;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(inserted, 1000);
  Int visited = 0;
  map.ForEach([&visited](Int, Int) { ++visited; });
  EXPECT_EQ(visited, map.GetCount());
}

}  // namespace
}  // namespace ostra
