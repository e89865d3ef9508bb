// The form of a kernel that runs a whole work group, piece by piece between its barriers.
#include "parallelprogram/kernellanguage/group_code.h"

#include <gmock/gmock.h>

#include "kernel_text.h"

namespace ostra::kernellanguage {
namespace {

using testing::HasSubstr;
using testing::Not;

GroupCode PrintCode(std::string_view body, std::string_view before = {}) {
  const AnalyzedKernel kernel = AnalyzeBody(
      "GROUPSHAREDMEM(float, tile, 256)\nuint k = InLocalInvocationID.x; tile[k] = 1.0;\n" + std::string(body), before);
  EXPECT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  EXPECT_TRUE(kernel.groups.isNeeded);
  GroupCode code = PrintGroupCode(kernel, {.className = "Test", .parameters = "Parameters"});
  EXPECT_FALSE(code.refusal) << code.refusal->reason;
  return code;
}

std::string PrintGroups(std::string_view body, std::string_view before = {}) { return PrintCode(body, before).text; }

// The reasons why pieces have no wide form, one in a line.
std::string ListLaneRefusals(const GroupCode& code) {
  std::string reasons;
  for (const NotUnderstood& refusal : code.laneRefusals) reasons += refusal.reason + "\n";
  return reasons;
}

TEST(GroupCodeTest, NumbersOfTheInvocationAreComputedAgain) {
  const std::string code = PrintGroups("uint next = k + 1u; groupSharedBarrier; UNIFORM_BUFFER(out)[next] = tile[0];");
  EXPECT_THAT(code, Not(HasSubstr("ostraMemory.ostra_next")));
}

TEST(GroupCodeTest, ChangedNumbersAreKept) {
  const std::string code =
      PrintGroups("uint next = k + 1u; next += 2u; groupSharedBarrier; UNIFORM_BUFFER(out)[next] = tile[0];");
  EXPECT_THAT(code, HasSubstr("ostraMemory.ostra_next"));
}

TEST(GroupCodeTest, LongChainsOfNumbersTakeNoTime) {
  std::string body = "uint a0 = k;\n";
  for (int i = 1; i <= 2000; ++i) {
    const std::string before = "a" + std::to_string(i - 1);
    body += "uint a" + std::to_string(i) + " = " + before + " + " + before + ";\n";
  }
  const std::string code = PrintGroups(body + "groupSharedBarrier; UNIFORM_BUFFER(out)[a2000] = tile[0];");
  EXPECT_THAT(code, HasSubstr("ostra_a2000_"));
}

TEST(GroupCodeTest, AStepThatIsACallRunsForEachInvocation) {
  const std::string code = PrintGroups(
      "uint i = 0u; for (; i < 4u; Advance(2u, i)) { groupSharedBarrier; } UNIFORM_BUFFER(out)[i] = tile[0];",
      "inline void Advance(uint by, INOUT uint value)\n{\n\tvalue += by;\n}\n");
  EXPECT_THAT(code, HasSubstr("ostraMemory.ostra_i_"));
}

TEST(GroupLanesTest, NeighboursOfAGroupAreRunsOfElements) {
  const GroupCode code = PrintCode("groupSharedBarrier; UNIFORM_BUFFER(out)[k] = tile[k + 1u];");
  EXPECT_EQ(ListLaneRefusals(code), "");
  EXPECT_EQ(code.pieceCount, 2);
  EXPECT_THAT(code.lanes, HasSubstr("StoreRun(ostraMemory.ostra_tile_"));
  EXPECT_THAT(code.lanes, HasSubstr("LoadRun(ostraMemory.ostra_tile_"));
}

TEST(GroupLanesTest, KeptValuesAreLoadedAndStoredAroundPieces) {
  const GroupCode code =
      PrintCode("float sum = 0.0; groupSharedBarrier; sum += tile[255u - k]; groupSharedBarrier; tile[k] = sum;");
  EXPECT_EQ(ListLaneRefusals(code), "");
  EXPECT_THAT(code.lanes, HasSubstr("= LoadRun(ostraMemory.ostra_sum_"));
  EXPECT_THAT(code.lanes, HasSubstr("StoreRun(ostraMemory.ostra_sum_"));
}

TEST(GroupLanesTest, APieceWithoutAWideFormRunsOneInvocationAfterTheOther) {
  const GroupCode code = PrintCode(
      "groupSharedBarrier; uint at = uint(tile[k]); uint n = 0u; while (++n < at) { tile[k] = 2.0; }\n"
      "groupSharedBarrier; UNIFORM_BUFFER(out)[k] = tile[k];");
  EXPECT_EQ(ListLaneRefusals(code), "\"++\" inside an expression\n");
  EXPECT_EQ(code.pieceCount, 3);
  EXPECT_THAT(code.lanes, HasSubstr("ForEachInvocation<OstraGroupSize>"));
  EXPECT_THAT(code.lanes, HasSubstr("ForEachRow<OstraGroupSize>"));
}

TEST(GroupLanesTest, AtomicOperationsKeepTheirOrderWhereItMatters) {
  const std::string_view counts = "GROUPSHAREDMEM(uint, bins, 4)\nuint old = 0u; groupSharedBarrier; ";
  const auto refuse = [&](std::string_view body) {
    return ListLaneRefusals(PrintCode(std::string(counts) + std::string(body) + " groupSharedBarrier; tile[k] = 2.0;"));
  };
  const std::string reason = "atomic operations whose order matters\n";
  EXPECT_EQ(refuse("AtomicAdd(bins[k & 3u], 1u, old); tile[k] = float(old);"), "");
  EXPECT_EQ(refuse("AtomicAdd(bins[0], 1u, old); AtomicAdd(bins[1], 2u, old);"), "");
  EXPECT_EQ(refuse("for (int n = 0; n < 3; ++n) { AtomicMax(bins[0], k, old); }"), "");
  EXPECT_EQ(refuse("AtomicAdd(bins[0], 1u, old); AtomicMax(bins[1], 2u, old);"), reason);
  EXPECT_EQ(refuse("for (int n = 0; n < 3; ++n) { AtomicAdd(bins[0], k, old); tile[k] = float(old); }"), reason);
  EXPECT_EQ(refuse("AtomicExchange(bins[0], k, old); AtomicExchange(bins[1], k, old);"), reason);
}

TEST(GroupLanesTest, StoresHereAndThereWithLittleElseToDoStayAsTheyAre) {
  const std::string reason =
      "a store to group memory at places that differ, with little else to do, which is slower in lanes\n";
  EXPECT_EQ(ListLaneRefusals(PrintCode("groupSharedBarrier; tile[k ^ 5u] = 1.0;")), reason);
}

TEST(GroupLanesTest, AReturnBehindWhichOthersGoOnKeepsTheKernelAsItIs) {
  const GroupCode code = PrintCode(
      "if (UNIFORM(n) > 0u) { groupSharedBarrier; if (tile[k] > 0.0) return; } UNIFORM_BUFFER(out)[k] = 1.0;");
  EXPECT_EQ(ListLaneRefusals(code), "a return behind which the others come to more than one part\n");
  EXPECT_EQ(code.lanes, "");
  EXPECT_THAT(code.text, HasSubstr("ostraHasReturned"));
  EXPECT_THAT(PrintGroups("if (UNIFORM(n) > 0u) { groupSharedBarrier; if (tile[k] > 0.0) return; tile[k] = 2.0; }"),
              Not(HasSubstr("ostraHasReturned")));
}

}  // namespace
}  // namespace ostra::kernellanguage
