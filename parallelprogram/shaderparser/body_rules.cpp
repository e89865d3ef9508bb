// The rules for lines of code.
#include <algorithm>

#include "parallelprogram/shaderparser/macro_arguments.h"
#include "parallelprogram/shaderparser/parse_state.h"
#include "parallelprogram/shaderparser/text_buffer.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

// How many samples a framebuffer has at least when its texels are read sample by sample.
constexpr Int32 kFewestSamples = 2;
constexpr std::string_view kSampleArgument = "InSampleID";
constexpr std::string_view kFurtherSampleArgument = ", InSampleID";
constexpr std::string_view kTexelKeyword = " GetFramebufferTexel(";

Result<RuleOutcome> HandleMakeLocal(const RuleMatch& match) {
  constexpr std::string_view kText =
      "uint groupIndex = InLocalInvocationID.z * InWorkGroupSize.x * InWorkGroupSize.y + InLocalInvocationID.y * "
      "InWorkGroupSize.x + InLocalInvocationID.x; \n\tif (groupIndex < @) \n\t{\n\t@[groupIndex] =  "
      "UNIFORM_BUFFER(@)[@(InGlobalInvocationID, groupIndex)]; \n } \n\tgroupSharedBarrier;";
  MacroArguments arguments;
  if (!arguments.Read(match)) return OSTRA_ILLEGAL_ARGUMENT("MAKELOCAL missing )");
  if (arguments.GetCount() != 3) return OSTRA_ILLEGAL_ARGUMENT("MAKELOCAL macro needs three parameters");
  const auto [name, count, indexFunction] = arguments.GetThree();
  OSTRA_ASSIGN_OR_RETURN(const String text, Format(kText, count, name, name, indexFunction));
  OSTRA_RETURN_IF_ERROR(match.line.Assign(text));
  return RuleOutcome::Changed;
}

Result<RuleOutcome> HandleOnlyFirstSample(const RuleMatch& match) {
  const Bool hasSamples = match.state.multisampling >= kFewestSamples;
  OSTRA_RETURN_IF_ERROR(match.line.Replace(match.position, match.rule.keyword.GetCount(),
                                           hasSamples ? "if (InSampleID > 0) discard;" : ""));
  return RuleOutcome::Changed;
}

Result<RuleOutcome> HandleFramebufferTexel(const RuleMatch& match) {
  const Int close = match.line.FindLast(")");
  if (close == NOT_FOUND) return OSTRA_ILLEGAL_ARGUMENT("GetFramebufferTexel missing )");
  MacroArguments arguments;
  arguments.Split(match, close);
  const Bool hasSample = arguments.GetCount() == 3 && arguments.GetThree()[2] == kSampleArgument;
  if (arguments.GetCount() != 2 && !hasSample)
    return OSTRA_ILLEGAL_ARGUMENT(
        "GetFramebufferTexel function needs two parameters or three with the last being InSampleID");
  const Bool needsSample = match.state.multisampling >= kFewestSamples;
  constexpr Int kSize = static_cast<Int>(kFurtherSampleArgument.size());
  if (needsSample && !hasSample) OSTRA_RETURN_IF_ERROR(match.line.Replace(close, 0, kFurtherSampleArgument));
  if (!needsSample && hasSample) OSTRA_RETURN_IF_ERROR(match.line.Erase(close - kSize, kSize));
  // Without its blank the call is not found again.
  OSTRA_RETURN_IF_ERROR(match.line.Erase(match.position, 1));
  return RuleOutcome::Changed;
}

Result<RuleOutcome> HandleLocalData(const RuleMatch& match) {
  MacroArguments arguments;
  if (!arguments.Read(match)) return OSTRA_ILLEGAL_ARGUMENT("LOCALDATA missing )");
  if (arguments.GetCount() != 3) return OSTRA_ILLEGAL_ARGUMENT("LOCALDATA macro needs three parameters");
  const auto [name, index, unused] = arguments.GetThree();
  OSTRA_ASSIGN_OR_RETURN(const String text, Format("@[@]", name, index));
  OSTRA_RETURN_IF_ERROR(match.line.Replace(match.position, arguments.GetClose() + 1 - match.position, text));
  return RuleOutcome::Changed;
}

Result<RuleOutcome> HandleAtomic(const RuleMatch& match) {
  const Int blank = match.line.Find(" ", match.position);
  if (blank == NOT_FOUND) return RuleOutcome::Unchanged;
  OSTRA_RETURN_IF_ERROR(
      match.line.Replace(match.position, blank + 1 - match.position, match.state.target.atomicPrefix));
  return RuleOutcome::Changed;
}

Result<RuleOutcome> HandleGroupSharedMemory(const RuleMatch& match) {
  MacroArguments arguments;
  if (!arguments.Read(match)) return OSTRA_ILLEGAL_ARGUMENT("GROUPSHAREDMEM missing )");
  if (arguments.GetCount() != 3) return OSTRA_ILLEGAL_ARGUMENT("GROUPSHAREDMEM macro needs two parameters");
  const auto [type, name, size] = arguments.GetThree();
  OSTRA_ASSIGN_OR_RETURN(String declaration, Format("groupSharedMemory @ @[@]; \n", type, name, size));
  ShaderPieces& pieces = match.state.pieces;
  OSTRA_RETURN_IF_ERROR(pieces.groupSharedDeclarations.Append(std::move(declaration)));
  OSTRA_RETURN_IF_ERROR(pieces.groupSharedDeclarationOrigins.Append(match.state.origin));
  LineNote& note = match.state.GetNote();
  OSTRA_ASSIGN_OR_RETURN(note.name, String::Create(name));
  note.use = LineUse::GroupShared;
  OSTRA_RETURN_IF_ERROR(match.line.Assign(""));
  return RuleOutcome::Changed;
}

// What stands in parentheses from the keyword to the end of the line. Closing parentheses are not collected, and the
// first that matches does not end the walk.
Result<void> CollectParenthesized(std::string_view text, TextBuffer& collected) {
  Int depth = 0;
  while (true) {
    const std::size_t size = std::min(text.find_first_of("()"), text.size());
    if (depth > 0) OSTRA_RETURN_IF_ERROR(collected.Append(text.substr(0, size)));
    if (size == text.size()) return OK;
    depth += text[size] == '(' ? 1 : -1;
    if (text[size] == '(' && depth > 0) OSTRA_RETURN_IF_ERROR(collected.Append("("));
    text.remove_prefix(size + 1);
  }
}

Result<RuleOutcome> HandleMatrixOffset(const RuleMatch& match) {
  TextBuffer matrix, text;
  OSTRA_RETURN_IF_ERROR(CollectParenthesized(match.line.ViewFrom(match.position), matrix));
  OSTRA_RETURN_IF_ERROR(text.Append("vec3("));
  for (const std::string_view end : {".v0.w, ", ".v1.w, ", ".v2.w)"}) {
    OSTRA_RETURN_IF_ERROR(text.Append(matrix.GetView()));
    OSTRA_RETURN_IF_ERROR(text.Append(end));
  }
  OSTRA_RETURN_IF_ERROR(match.line.Assign(text.GetView()));
  return RuleOutcome::Changed;
}

}  // namespace

Result<void> AddBodyRules(ParseState& state) {
  RuleList& rules = state.codeRules;
  OSTRA_RETURN_IF_ERROR(rules.Append({"CPU_CONSTREF"_s, &UnwrapKeyword, {}}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"CPU_PASS_BUFFER"_s, &UnwrapKeyword, {}}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"GetAtomicCounter"_s, &ReplaceKeyword, {}}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"Sqrt"_s, &ReplaceKeyword, "sqrt"_s}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"sqmat"_s, &ReplaceKeyword, "mat3"_s}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"MAKELOCAL"_s, &HandleMakeLocal, {}}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"ONLY_USE_FIRST_MSAA_SAMPLE"_s, &HandleOnlyFirstSample, {}}));
  if (state.multisampling >= 0)
    OSTRA_RETURN_IF_ERROR(
        rules.Append({String::FromStatic(kTexelKeyword.data(), kTexelKeyword.size()), &HandleFramebufferTexel, {}}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"LOCALDATA"_s, &HandleLocalData, {}}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"ATOMIC"_s, &HandleAtomic, {}, "there is no blank after it"}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"GROUPSHAREDMEM"_s, &HandleGroupSharedMemory, {}}));
  return rules.Append({"matoff"_s, &HandleMatrixOffset, {}});
}

}  // namespace ostra
