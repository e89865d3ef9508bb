#include "ostra/core/delegate.h"

#include <memory>

#include "ostra/core/format.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

TEST(DelegateTest, CallsWithItsCapturesAndArguments) {
  Int offset = 10;
  const auto add = *Delegate<Int(Int, Int)>::Create([&offset](Int a, Int b) { return a + b + offset; });
  offset = 20;
  EXPECT_EQ(add(1, 2), 23);
}

TEST(DelegateTest, PassesReferencesAndMovesValues) {
  const auto take = *Delegate<Int(std::unique_ptr<Int>, Int&)>::Create([](std::unique_ptr<Int> value, Int& target) {
    target = *value;
    return target + 1;
  });
  Int target = 0;
  EXPECT_EQ(take(std::make_unique<Int>(6), target), 7);
  EXPECT_EQ(target, 6);
}

TEST(DelegateTest, CopiesShareOneStateUntilTheLastIsReleased) {
  const auto token = std::make_shared<Int>(0);
  {
    const auto count = *Delegate<Int()>::Create([token] { return ++*token; });
    const auto copy = count;
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(copy(), 2);
    EXPECT_EQ(token.use_count(), 2);
  }
  EXPECT_EQ(token.use_count(), 1);
}

TEST(DelegateTest, AnEmptyDelegateSaysSo) {
  EXPECT_FALSE(static_cast<bool>(Delegate<void()>()));
  EXPECT_TRUE(static_cast<bool>(*Delegate<void()>::Create([] {})));
}

TEST(DelegateTest, CapturesAreReleasedWhenThereIsNoMemory) {
  const auto token = std::make_shared<Int>(0);
  ExpectEveryAllocationFailureIsReported([&token]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const auto read, Delegate<Int()>::Create([token] { return *token; }));
    EXPECT_EQ(read(), 0);
    return OK;
  });
  EXPECT_EQ(token.use_count(), 1);
}

class Shared : public RefCounted<Shared> {
 public:
  explicit Shared(Int& alive) : _alive(alive) { ++_alive; }
  ~Shared() { --_alive; }

 private:
  Int& _alive;
};

TEST(StrongRefTest, TheLastReferenceDestroysTheObject) {
  Int alive = 0;
  auto first = StrongRef<Shared>::Adopt(NewObj<Shared>(alive));
  EXPECT_TRUE(first->IsUnique());
  StrongRef<Shared> second = first;
  EXPECT_FALSE(first->IsUnique());
  EXPECT_TRUE(first == second);
  first = nullptr;
  EXPECT_EQ(alive, 1);
  StrongRef<Shared> third = std::move(second);
  EXPECT_FALSE(static_cast<bool>(second));
  third = StrongRef<Shared>();
  EXPECT_EQ(alive, 0);
}

TEST(StrongRefTest, ADetachedCountBelongsToTheCaller) {
  Int alive = 0;
  auto reference = StrongRef<Shared>::Adopt(NewObj<Shared>(alive));
  Shared* object = reference.Detach();
  EXPECT_FALSE(static_cast<bool>(reference));
  EXPECT_EQ(alive, 1);
  object->Release();
  EXPECT_EQ(alive, 0);
}

TEST(StrongRefTest, AssigningAReferenceToItselfKeepsTheObject) {
  Int alive = 0;
  auto reference = StrongRef<Shared>::Adopt(NewObj<Shared>(alive));
  const auto& same = reference;
  reference = same;
  EXPECT_EQ(alive, 1);
  EXPECT_TRUE(reference->IsUnique());
}

}  // namespace
}  // namespace ostra
