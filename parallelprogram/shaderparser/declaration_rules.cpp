// The rules for the first lines of inline functions.
#include "parallelprogram/shaderparser/parse_state.h"

namespace ostra {
namespace {

Result<RuleOutcome> HandleBlock(const RuleMatch& match) {
  const Int close = match.line.Find(">", match.position);
  if (close == NOT_FOUND) return RuleOutcome::Unchanged;
  OSTRA_RETURN_IF_ERROR(match.state.target.writeBlockType(match.line, match.position, close));
  return RuleOutcome::Changed;
}

}  // namespace

Result<void> AddDeclarationRules(ParseState& state) {
  RuleList& rules = state.declarationRules;
  OSTRA_RETURN_IF_ERROR(rules.Append({"CPU_CONSTREF"_s, &UnwrapKeyword, {}}));
  OSTRA_RETURN_IF_ERROR(rules.Append({"INOUT"_s, &ReplaceKeyword, "inout"_s}));
  return rules.Append(
      {String::FromStatic(kBlockKeyword.data(), kBlockKeyword.size()), &HandleBlock, {}, "there is no > after it"});
}

}  // namespace ostra
