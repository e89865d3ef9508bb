#include "parallelprogram/shaderparser/line_rules.h"

#include "parallelprogram/shaderparser/parse_state.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

// A line that is longer than this after a rule was applied to it is growing without end: rules that do end lengthen a
// line by little, and the few that repeat it do so once.
Int GetLongestEnd(Int count) { return 4 * count + 8192; }

// What one rule may cost on one line: bytes looked at and moved. Only lines of many thousands of nested keywords, whose
// cost grows with the square of their length, come near.
constexpr Int kMaxWork = Int(1) << 30;

Error MakeEndlessError(const ParseState& state, const LineRule& rule, std::string_view reason) {
  const auto text = Format("the replacement of \"@\" meets this line again and again: @", rule.keyword, reason);
  return text ? state.MakeLocatedError(*text) : text.GetError();
}

Error MakeWorkError(const ParseState& state, const LineRule& rule) {
  const auto text = Format("the replacement of \"@\" takes too long in this line", rule.keyword);
  return text ? state.MakeLocatedError(*text) : text.GetError();
}

Result<void> ApplyRule(ParseState& state, const LineRule& rule, LineText& line) {
  const Bool refuses = state.endless == EndlessSource::Refuse;
  const Bool isReplacement = rule.handler == &ReplaceKeyword;
  const Int longest = GetLongestEnd(line.GetCount());
  const Int mostWork = line.GetWork() + kMaxWork;
  for (Int at = line.Find(rule.keyword, 0); at != NOT_FOUND; at = line.Find(rule.keyword, at)) {
    if (refuses && isReplacement && rule.replacement.Contains(rule.keyword))
      return MakeEndlessError(state, rule, "what takes its place holds it again");
    OSTRA_ASSIGN_OR_RETURN(const RuleOutcome outcome, rule.handler({state, rule, line, at}));
    if (refuses && outcome == RuleOutcome::Unchanged) return MakeEndlessError(state, rule, rule.whyUnchanged);
    if (refuses && line.GetWork() > mostWork) return MakeWorkError(state, rule);
    if (refuses && !isReplacement && line.GetCount() > longest)
      return MakeEndlessError(state, rule, "what takes its place holds it again");
  }
  return OK;
}

}  // namespace

Result<RuleOutcome> ReplaceKeyword(const RuleMatch& match) {
  OSTRA_RETURN_IF_ERROR(match.line.Replace(match.position, match.rule.keyword.GetCount(), match.rule.replacement));
  return RuleOutcome::Changed;
}

Result<RuleOutcome> UnwrapKeyword(const RuleMatch& match) {
  OSTRA_RETURN_IF_ERROR(match.line.Erase(match.position, match.rule.keyword.GetCount() + 1));
  const Int close = match.line.Find(")", match.position);
  if (close != NOT_FOUND) OSTRA_RETURN_IF_ERROR(match.line.Erase(close, 1));
  return RuleOutcome::Changed;
}

Result<void> RuleList::Append(LineRule rule) {
  const std::string_view keyword = rule.keyword;
  const auto allow = [this](UInt32 first, UInt32 second) {
    const UInt32 pair = first | second << 8;
    _pairs[pair / 64] |= UInt64(1) << pair % 64;
  };
  if (keyword.empty()) _matchesAlways = true;
  if (keyword.size() == 1) {
    for (UInt32 second = 0; second < 256; ++second) allow(static_cast<UInt8>(keyword[0]), second);
  }
  if (keyword.size() > 1) allow(static_cast<UInt8>(keyword[0]), static_cast<UInt8>(keyword[1]));
  OSTRA_RETURN_IF_ERROR(_rules.Append(std::move(rule)));
  return OK;
}

Bool RuleList::Matches(std::string_view line) const {
  if (_matchesAlways) return true;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const UInt32 second = i + 1 < line.size() ? static_cast<UInt8>(line[i + 1]) : 0;
    const UInt32 pair = static_cast<UInt8>(line[i]) | second << 8;
    if ((_pairs[pair / 64] >> pair % 64 & 1) != 0 && HasKeywordAt(line, i)) return true;
  }
  return false;
}

Bool RuleList::HasKeywordAt(std::string_view line, std::size_t position) const {
  for (const LineRule& rule : _rules)
    if (line.substr(position).starts_with(rule.keyword.GetView())) return true;
  return false;
}

Result<void> RuleList::Apply(ParseState& state, LineText& line) const {
  for (const LineRule& rule : _rules) OSTRA_RETURN_IF_ERROR(ApplyRule(state, rule, line));
  return OK;
}

Result<std::string_view> TranslateLine(ParseState& state, const RuleList& rules, std::string_view line) {
  if (!rules.Matches(line)) return line;
  OSTRA_RETURN_IF_ERROR(state.line.Assign(line));
  OSTRA_RETURN_IF_ERROR(rules.Apply(state, state.line));
  return state.line.GetView();
}

Result<String> CopyTranslated(ParseState& state, const RuleList& rules, std::string_view line) {
  OSTRA_ASSIGN_OR_RETURN(const std::string_view translated, TranslateLine(state, rules, line));
  return String::Create(translated);
}

}  // namespace ostra
