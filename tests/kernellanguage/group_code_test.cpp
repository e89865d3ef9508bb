// The form of a kernel that runs a whole work group, piece by piece between its barriers.
#include "parallelprogram/kernellanguage/group_code.h"

#include <gmock/gmock.h>

#include "kernel_text.h"

namespace ostra::kernellanguage {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string PrintGroups(std::string_view body, std::string_view before = {}) {
  const AnalyzedKernel kernel = AnalyzeBody(
      "GROUPSHAREDMEM(float, tile, 256)\nuint k = InLocalInvocationID.x; tile[k] = 1.0;\n" + std::string(body), before);
  EXPECT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  EXPECT_TRUE(kernel.groups.isNeeded);
  const GroupCode code = PrintGroupCode(kernel, {.className = "Test", .parameters = "Parameters"});
  EXPECT_FALSE(code.refusal) << code.refusal->reason;
  return code.text;
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

}  // namespace
}  // namespace ostra::kernellanguage
