#include "ostra/core/intrusive_list.h"

#include <gmock/gmock.h>

#include <array>
#include <vector>

namespace ostra {
namespace {

struct Number : ListNode<Number> {
  explicit Number(Int number) : value(number) {}
  Int value;
};

std::vector<Int> Read(const IntrusiveList<Number>& list) {
  std::vector<Int> values;
  for (const Number* node = list.GetFirst(); node; node = node->GetNext()) values.push_back(node->value);
  return values;
}

class IntrusiveListTest : public testing::Test {
 protected:
  void SetUp() override {
    for (std::size_t i = 0; i < _nodes.size(); ++i) {
      _nodes[i] = NewObj<Number>(static_cast<Int>(i));
      _list.Append(_nodes[i]);
    }
  }
  IntrusiveList<Number> _list;
  std::array<Number*, 4> _nodes{};
};

TEST_F(IntrusiveListTest, KeepsTheOrderOfAppending) { EXPECT_THAT(Read(_list), testing::ElementsAre(0, 1, 2, 3)); }

TEST_F(IntrusiveListTest, NodesInTheMiddleAndAtBothEndsCanBeFreed) {
  _list.Free(_nodes[1]);
  EXPECT_THAT(Read(_list), testing::ElementsAre(0, 2, 3));
  _list.Free(_nodes[3]);
  EXPECT_THAT(Read(_list), testing::ElementsAre(0, 2));
  _list.Free(_nodes[0]);
  EXPECT_THAT(Read(_list), testing::ElementsAre(2));
  _list.Append(NewObj<Number>(9));
  EXPECT_THAT(Read(_list), testing::ElementsAre(2, 9));
}

TEST_F(IntrusiveListTest, FreeingAllLeavesAnEmptyListThatCanBeFilledAgain) {
  const Int live = AllocationFaults::GetLiveCount();
  _list.FreeAll();
  EXPECT_TRUE(_list.IsEmpty());
  EXPECT_EQ(AllocationFaults::GetLiveCount(), live - static_cast<Int>(_nodes.size()));
  _list.Append(NewObj<Number>(5));
  EXPECT_THAT(Read(_list), testing::ElementsAre(5));
}

}  // namespace
}  // namespace ostra
