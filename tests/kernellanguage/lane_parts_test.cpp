// Parts of the printer of the wide form alone: what they find out about a kernel, masks, exits.
#include <gtest/gtest.h>

#include "kernel_text.h"
#include "parallelprogram/kernellanguage/lane_exits.h"
#include "parallelprogram/kernellanguage/lane_jumps.h"
#include "parallelprogram/kernellanguage/lane_masks.h"
#include "parallelprogram/kernellanguage/lane_pairs.h"
#include "parallelprogram/kernellanguage/lane_steps.h"
#include "parallelprogram/kernellanguage/lane_uses.h"
#include "parallelprogram/kernellanguage/lane_walks.h"

namespace ostra::kernellanguage {
namespace {

// A kernel of a body, in which i is the number of the invocation.
struct LaneBody {
  explicit LaneBody(const std::string& body) : analyzed(AnalyzeBody("uint i = LinearInvocation();" + body)) {
    EXPECT_TRUE(analyzed.IsUnderstood()) << ListErrors(analyzed);
  }

  const AnalyzedKernel analyzed;
  const LaneKernel kernel{analyzed, analyzed.uniformity, nullptr};
};

TEST(LaneJumpsTest, LanesLeaveALoopOneByOneIfItsConditionOrABreakDiffers) {
  const auto isMasked = [](const std::string& body) {
    const LaneBody lanes(body);
    return LaneJumps(lanes.kernel).IsMaskedLoop(FindNode(lanes.analyzed, NodeKind::kFor));
  };
  EXPECT_FALSE(isMasked("float s = 0.0; for (uint k = 0u; k < UNIFORM(n); ++k) s += 1.0;"));
  EXPECT_TRUE(isMasked("float s = 0.0; for (uint k = 0u; k < i; ++k) s += 1.0;"));
  EXPECT_TRUE(isMasked("float s = 0.0; for (uint k = 0u; k < 9u; ++k) { if (k > i) break; s += 1.0; }"));
  EXPECT_FALSE(isMasked("float s = 0.0; for (uint k = 0u; k < 9u; ++k) { if (k > 3u) break; s += 1.0; }"));
  EXPECT_FALSE(isMasked("float s = 0.0; for (uint k = 0u; k < 9u; ++k) { if (k > i) continue; s += 1.0; }"));
}

TEST(LaneJumpsTest, AJumpThatALoopOrSwitchTakesLeavesNothingElse) {
  const LaneBody lanes("for (uint k = 0u; k < 9u; ++k) { switch (k) { case 1: break; default: continue; } }");
  const LaneJumps jumps(lanes.kernel);
  EXPECT_FALSE(jumps.HasExit(FindNode(lanes.analyzed, NodeKind::kFor)));
  const NodeIndex choice = FindNode(lanes.analyzed, NodeKind::kSwitch);
  EXPECT_FALSE(jumps.HasJump(choice, NodeKind::kBreak, false));
  EXPECT_TRUE(jumps.HasJump(choice, NodeKind::kContinue, false));
  EXPECT_TRUE(jumps.HasExit(choice));
  EXPECT_FALSE(jumps.HasReturn(choice));
}

TEST(LaneUsesTest, AVariableIsReadBehindABranchOrInTheNextTurn) {
  const LaneBody lanes("float a = 0.0, b = 0.0; if (i > 3u) { a = 1.0; b = 2.0; } UNIFORM_BUFFER(out)[i] = a;");
  const LaneUses uses(lanes.kernel);
  const NodeIndex branch = FindNode(lanes.analyzed, NodeKind::kIf);
  EXPECT_TRUE(uses.IsReadBehind(FindVariable(lanes.analyzed, "a"), branch));
  EXPECT_FALSE(uses.IsReadBehind(FindVariable(lanes.analyzed, "b"), branch));
  EXPECT_TRUE(uses.IsChanged(FindVariable(lanes.analyzed, "b")));
  EXPECT_FALSE(uses.IsChanged(FindVariable(lanes.analyzed, "i")));
  const LaneBody turns("float s = 0.0; for (uint k = 0u; k < 9u; ++k) { if (k > i) s += 1.0; }");
  const NodeIndex inner = FindNode(turns.analyzed, NodeKind::kIf);
  EXPECT_TRUE(LaneUses(turns.kernel).IsReadBehind(FindVariable(turns.analyzed, "s"), inner));
}

TEST(LaneWalksTest, ALoopThroughElementsOfItsOwnNeedsMuchToDoWithEach) {
  const auto isSlow = [](const std::string& body) {
    const LaneBody lanes("float s = 0.0; uint k = i * i; while (k < 1000u) { " + body + " k += i; }");
    return LaneWalks(lanes.kernel).IsSlowWalk(FindNode(lanes.analyzed, NodeKind::kWhile));
  };
  EXPECT_TRUE(isSlow("s += UNIFORM_BUFFER(in)[k];"));
  EXPECT_FALSE(isSlow("s += float(k);"));
  EXPECT_FALSE(isSlow("float e = UNIFORM_BUFFER(in)[k]; s += sin(e) * cos(e) + exp(e) * sqrt(e) - e * e + e * s;"));
}

TEST(LaneRowsTest, VectorsStayInRowsUnlessTheyAreTakenApart) {
  const auto isInRows = [](const std::string& body) {
    const LaneBody lanes("vec3 a = UNIFORM(v) * float(i), b = a * 2.0;" + body);
    return LaneRows(lanes.kernel).IsInRows(FindVariable(lanes.analyzed, "b"));
  };
  EXPECT_TRUE(isInRows(""));
  EXPECT_TRUE(isInRows("b += a;"));
  EXPECT_FALSE(isInRows("float c = b.x;"));
  EXPECT_FALSE(isInRows("float c = dot(a, b);"));
}

TEST(LaneStepsTest, OneStepOfArithmeticIsAsFastWithoutLanes) {
  const auto isOneStep = [](const std::string& body) { return IsOneStep(LaneBody(body).kernel); };
  EXPECT_TRUE(isOneStep("if (i < UNIFORM(n)) UNIFORM_BUFFER(out)[i] = UNIFORM_BUFFER(in)[i] * 2.0;"));
  EXPECT_FALSE(isOneStep("if (i < UNIFORM(n)) UNIFORM_BUFFER(out)[i] = sin(UNIFORM_BUFFER(in)[i]);"));
  EXPECT_FALSE(isOneStep("for (int k = 0; k < 4; ++k) UNIFORM_BUFFER(out)[i] = 2.0;"));
}

TEST(LanePairsTest, ShortLoopsOfArithmeticRunTwoVectorsAtATime) {
  const auto count = [](const std::string& body) {
    const LaneBody lanes(body);
    return CountPairedNumbers(lanes.kernel, LaneRows(lanes.kernel), LaneUses(lanes.kernel));
  };
  const auto loop = count(
      "float s = 0.0, t = float(i); for (int k = 0; k < 9; ++k) { float u = s * s; s = u + float(i); } "
      "UNIFORM_BUFFER(out)[i] = s * t;");
  ASSERT_TRUE(loop);
  EXPECT_EQ(loop->all, 3u);
  EXPECT_EQ(loop->kept, 1u);
  EXPECT_FALSE(count("float s = float(i); UNIFORM_BUFFER(out)[i] = s * s;"));
  EXPECT_FALSE(count("float s = 0.0; for (int k = 0; k < 9; ++k) s += sin(float(i)); UNIFORM_BUFFER(out)[i] = s;"));
}

TEST(LaneMasksTest, AVariableIsBelowAMaskThatIsPushedBehindItsDeclaration) {
  LaneMasks masks;
  masks.Begin("all");
  masks.SetVariableDepth(1, masks.GetDepth());
  masks.SetVariableDepth(2, 0);
  EXPECT_FALSE(masks.IsBelow(1));
  masks.Push("some", 7);
  EXPECT_TRUE(masks.IsBelow(1));
  EXPECT_FALSE(masks.IsOutside(1));
  EXPECT_TRUE(masks.IsOutside(2));
  EXPECT_TRUE(masks.IsOutside(3));
  EXPECT_EQ(masks.Get(), "some");
  EXPECT_EQ(masks.GetOuter(), "all");
  EXPECT_EQ(masks.GetRegion(), 7u);
  masks.Pop();
  EXPECT_EQ(masks.Get(), "all");
  EXPECT_EQ(masks.GetRegion(), kNoNode);
}

TEST(LaneExitsTest, AContinueGoesOnWithTheLoopAroundASwitch) {
  LaneExits exits;
  EXPECT_EQ(exits.FindAny(), nullptr);
  exits.Push({.isSwitch = true});
  EXPECT_EQ(exits.FindLoop(), nullptr);
  exits.Push({.continued = "later"});
  exits.Push({.isSwitch = true});
  ASSERT_NE(exits.FindLoop(), nullptr);
  EXPECT_EQ(exits.FindLoop()->continued, "later");
  EXPECT_TRUE(exits.FindAny()->isSwitch);
  exits.Clear();
  EXPECT_EQ(exits.FindLoop(), nullptr);
}

}  // namespace
}  // namespace ostra::kernellanguage
