// Parts of the printer of the group form alone: where variables lie, values without a place of their own, returns
// before barriers, the order of atomic operations.
#include <gtest/gtest.h>

#include "kernel_text.h"
#include "parallelprogram/kernellanguage/atomic_order.h"
#include "parallelprogram/kernellanguage/group_returns.h"
#include "parallelprogram/kernellanguage/group_values.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kFirst =
    "GROUPSHAREDMEM(float, tile, 256)\nuint k = InLocalInvocationID.x; tile[k] = 0.0;\n";

AnalyzedKernel AnalyzeGroup(const std::string& body) {
  AnalyzedKernel kernel = AnalyzeBody(std::string(kFirst) + body);
  if (kernel.IsUnderstood()) return kernel;
  ADD_FAILURE() << body << ": " << ListErrors(kernel) << (kernel.notUnderstood ? kernel.notUnderstood->reason : "");
  return AnalyzeBody(kFirst);
}

// A kernel of a body with an array of the group, in which k is the number of the invocation.
struct GroupBody {
  explicit GroupBody(const std::string& body) : analyzed(AnalyzeGroup(body)) {}
  NodeIndex Find(std::string_view variable) const { return FindVariable(analyzed, variable); }

  const AnalyzedKernel analyzed;
  const GroupKernel kernel{analyzed};
  GroupVariables variables;
  const GroupValues values{kernel, variables};
};

TEST(GroupVariablesTest, WhatAnotherPieceNamesIsKept) {
  GroupVariables variables;
  EXPECT_TRUE(variables.Declare(7));
  variables.Use(7);
  EXPECT_TRUE(variables.IsAt(7, GroupPlace::kPiece));
  EXPECT_TRUE(variables.TakeKept().empty());
  variables.CountPiece();
  variables.Use(7);
  EXPECT_TRUE(variables.IsAt(7, GroupPlace::kKept));
  EXPECT_EQ(variables.TakeKept(), (std::vector<NodeIndex>{7}));
  EXPECT_TRUE(variables.TakeKept().empty());
  // The next time the piece that declares it keeps it.
  variables.BeginRun();
  EXPECT_EQ(variables.GetPieceCount(), 0);
  EXPECT_FALSE(variables.Declare(7));
  EXPECT_EQ(variables.TakeKept(), (std::vector<NodeIndex>{7}));
}

TEST(GroupVariablesTest, WhatCanBeRepeatedIsNotKept) {
  GroupVariables variables;
  EXPECT_TRUE(variables.Declare(7));
  variables.SetRepeatable(7);
  variables.CountPiece();
  EXPECT_FALSE(variables.IsRepeatedHere(7));
  variables.Use(7);
  EXPECT_TRUE(variables.IsAt(7, GroupPlace::kRepeated));
  EXPECT_TRUE(variables.IsRepeatedHere(7));
  EXPECT_TRUE(variables.TakeKept().empty());
  variables.ForgetRepeated();
  EXPECT_FALSE(variables.IsRepeatedHere(7));
}

TEST(GroupVariablesTest, SharedOnesAndConstantsStayWhereTheyAre) {
  GroupVariables variables;
  variables.DeclareShared(5);
  EXPECT_TRUE(variables.Declare(3));
  variables.SetPlace(3, GroupPlace::kConstant);
  variables.CountPiece();
  variables.Use(5);
  variables.Use(3);
  variables.Use(9);
  EXPECT_TRUE(variables.IsAt(5, GroupPlace::kShared));
  EXPECT_TRUE(variables.IsAt(3, GroupPlace::kConstant));
  EXPECT_FALSE(variables.IsKnown(9));
  EXPECT_EQ(variables.GetAll(), (std::vector<NodeIndex>{5, 3}));
  EXPECT_TRUE(variables.TakeKept().empty());
}

TEST(GroupValuesTest, CountersOfLoopsAroundBarriersAreShared) {
  const auto isShared = [](const std::string& loop, const std::string& inside = "") {
    const GroupBody group("uint other = k;" + loop + " { " + inside +
                          " groupSharedBarrier; other += i; } UNIFORM_BUFFER(counts)[k] = other;");
    return group.variables.IsAt(group.Find("i"), GroupPlace::kShared);
  };
  EXPECT_TRUE(isShared("for (uint i = 0u; i < 4u; ++i)"));
  EXPECT_TRUE(isShared("for (uint i = UNIFORM(n); i > 0u; i = i / 2u)"));
  EXPECT_TRUE(isShared("for (uint i = 0u; i < 9u; i += InWorkGroupSize.x)"));
  EXPECT_FALSE(isShared("for (uint i = 0u; i < 4u; ++i)", "if (UNIFORM(n) > 3u) ++i;"));
}

TEST(GroupValuesTest, NumbersOfTheInvocationCanBeRepeated) {
  const GroupBody group(
      "uint next = k + 1u; uint changed = k; changed += 1u; float read = UNIFORM_BUFFER(in)[k]; vec3 wide = UNIFORM(v);"
      "uint quotient = k / UNIFORM(n); uint half = k / 2u; groupSharedBarrier; UNIFORM_BUFFER(out)[next] = tile[0];");
  GroupVariables variables;
  const GroupValues values(group.kernel, variables);
  for (const std::string_view name : {"k", "next", "changed", "read", "wide", "quotient", "half"}) {
    const NodeIndex variable = group.Find(name);
    EXPECT_TRUE(variables.Declare(variable));
    const Bool isRepeatable = name == "k" || name == "next" || name == "half";
    EXPECT_EQ(values.CanBeRepeated(variable), isRepeatable) << name;
    if (isRepeatable) variables.SetRepeatable(variable);
  }
}

TEST(GroupValuesTest, ConstantsAreMadeOfLiteralsAndConstants) {
  GroupBody group(
      "const uint a = 4u; const uint b = a * 2u; const uint c = UNIFORM(n); groupSharedBarrier; tile[k] = 1.0;");
  const auto value = [&](std::string_view name) { return group.analyzed.tree.GetChild(group.Find(name), 2); };
  EXPECT_TRUE(group.values.IsConstant(value("a")));
  EXPECT_FALSE(group.values.IsConstant(value("b")));
  EXPECT_TRUE(group.variables.Declare(group.Find("a")));
  group.variables.SetPlace(group.Find("a"), GroupPlace::kConstant);
  EXPECT_TRUE(group.values.IsConstant(value("b")));
  EXPECT_FALSE(group.values.IsConstant(value("c")));
}

TEST(GroupReturnsTest, AReturnIsEarlyIfOthersComeToAnotherPiece) {
  const auto isEarly = [](const std::string& body) {
    const GroupBody group(body);
    return group.kernel.earlyReturn != kNoNode;
  };
  const std::string branch = "if (UNIFORM(n) > 3u) { groupSharedBarrier; if (k == 0u) return; }";
  EXPECT_TRUE(isEarly("if (UNIFORM(n) > 2u) { " + branch + " UNIFORM_BUFFER(out)[k] = tile[0]; }"));
  EXPECT_FALSE(isEarly("if (UNIFORM(n) > 2u) { " + branch + " }"));
  EXPECT_TRUE(isEarly(branch + " UNIFORM_BUFFER(out)[k] = tile[0];"));
  EXPECT_FALSE(isEarly(branch));
  EXPECT_FALSE(isEarly("groupSharedBarrier; if (k == 0u) return; UNIFORM_BUFFER(out)[k] = tile[0];"));
}

TEST(AtomicOrderTest, TheOrderOfOperationsOnOnePlaceMatters) {
  const auto isOrdered = [](const std::string& body) {
    const GroupBody group("uint old = 0u; uint other = 0u; groupSharedBarrier;" + body);
    const NodeIndex block = group.kernel.body;
    GroupPiece piece;
    for (const NodeIndex statement : group.analyzed.tree.GetChildren(block))
      piece.items.push_back({GroupPiece::Kind::kStatement, statement});
    return FindOrderedAtomic(group.analyzed.tree, group.analyzed.resolved, piece) != kNoNode;
  };
  const std::string add = "AtomicAdd(UNIFORM_BUFFER(counts)[0], 1u, old);";
  EXPECT_FALSE(isOrdered("tile[k] = 1.0;"));
  EXPECT_FALSE(isOrdered(add + add));
  EXPECT_FALSE(isOrdered(add + "UNIFORM_BUFFER(counts)[k] = old;"));
  EXPECT_TRUE(isOrdered(add + add + "UNIFORM_BUFFER(counts)[k] = old;"));
  EXPECT_TRUE(isOrdered(add + "AtomicMax(UNIFORM_BUFFER(counts)[0], 1u, other);"));
  EXPECT_TRUE(
      isOrdered("for (uint i = 0u; i < 3u; ++i) { " + add + " other += old; } UNIFORM_BUFFER(counts)[k] = other;"));
}

}  // namespace
}  // namespace ostra::kernellanguage
