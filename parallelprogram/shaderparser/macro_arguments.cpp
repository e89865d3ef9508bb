#include "parallelprogram/shaderparser/macro_arguments.h"

#include <algorithm>

namespace ostra {

Bool MacroArguments::Read(const RuleMatch& match) {
  const Int close = match.line.Find(")", match.position);
  if (close != NOT_FOUND) Split(match, close);
  return close != NOT_FOUND;
}

void MacroArguments::Split(const RuleMatch& match, Int close) {
  constexpr std::string_view kSeparator = ", ";
  const Bool hasParenthesis = match.rule.keyword.EndsWith("(");
  const Int start = match.position + match.rule.keyword.GetCount() + (hasParenthesis ? 0 : 1);
  // Seen from the keyword on, where the search has put the gap.
  std::string_view text = match.line.ViewFrom(match.position);
  text = text.substr(0, static_cast<std::size_t>(std::max<Int>(0, close - match.position)));
  text.remove_prefix(std::min(text.size(), static_cast<std::size_t>(start - match.position)));
  _close = close;
  for (_count = 0; _count < 4;) {
    const std::size_t end = text.find(kSeparator);
    if (_count < 3) _arguments[static_cast<std::size_t>(_count)] = text.substr(0, end);
    ++_count;
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + kSeparator.size());
  }
}

}  // namespace ostra
