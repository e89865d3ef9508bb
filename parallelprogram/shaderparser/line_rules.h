// Replacement rules: what happens to a line in which a keyword is found.
//
// A list of rules is applied to a line rule by rule, in order. For each rule the line is searched from its start for
// the keyword, as a plain part of the text without regard to words; what is found is handed to the rule's handler, and
// the search goes on at the same position in the line as it is then. So a handler that leaves its keyword where it was
// is called for ever, unless the parse refuses endless sources.
#pragma once

#include "ostra/core/base_array.h"
#include "parallelprogram/shaderparser/line_text.h"

namespace ostra {

struct ParseState;
struct LineRule;

// One place where a rule's keyword was found.
struct RuleMatch {
  ParseState& state;
  const LineRule& rule;
  LineText& line;
  Int position;
};

// Whether the handler did something.
enum class RuleOutcome { Changed, Unchanged };
using RuleHandler = Result<RuleOutcome> (*)(const RuleMatch& match);

struct LineRule {
  String keyword;
  RuleHandler handler;
  String replacement;                  // used by ReplaceKeyword
  std::string_view whyUnchanged = {};  // what is missing in a line that the handler leaves as it is
};

// Handlers that several rules share: the keyword becomes the rule's replacement; the keyword, the character after it
// and the next ")" go.
Result<RuleOutcome> ReplaceKeyword(const RuleMatch& match);
Result<RuleOutcome> UnwrapKeyword(const RuleMatch& match);

class RuleList {
 public:
  // Error: out of memory.
  Result<void> Append(LineRule rule);

  // False when no keyword of the list is in the line: then no rule would change it. One pass over the line, whatever
  // the number of rules.
  Bool Matches(std::string_view line) const;

  // Applies all rules. Errors: those of the handlers; illegal argument for an endless source that is to be refused.
  Result<void> Apply(ParseState& state, LineText& line) const;

 private:
  Bool HasKeywordAt(std::string_view line, std::size_t position) const;

  BaseArray<LineRule> _rules;
  // For each pair of characters, whether a keyword begins with it: what lets most of a line be passed over quickly.
  UInt64 _pairs[65536 / 64] = {};
  Bool _matchesAlways = false;
};

}  // namespace ostra
