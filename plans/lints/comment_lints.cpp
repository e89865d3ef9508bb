// The translator does not know what a comment is: it replaces words and counts braces in comments, too.
#include <algorithm>

#include "parallelprogram/shaderparser/kernel_words.h"
#include "plans/lints/lints.h"

namespace ostra::plans {

namespace {

struct CommentRule {
  std::string_view keyword;
  std::string_view name;
  std::string_view effect;
};

constexpr CommentRule kRules[] = {
    {"MAKELOCAL", "MAKELOCAL", "the whole line becomes a copy into group-shared memory"},
    {"GROUPSHAREDMEM", "GROUPSHAREDMEM", "it declares group-shared memory, and the whole line goes"},
    {"matoff", "matoff", "the whole line becomes a vector"},
    {"LOCALDATA", "LOCALDATA", "its arguments are taken apart"},
    {" GetFramebufferTexel(", "GetFramebufferTexel", "its arguments are changed"},
    {"ATOMIC", "ATOMIC", "everything up to the next blank goes"},
};

// What of the line is comment; blanks for the rest.
std::string TakeComment(const SourceLine& line) {
  std::string comment = line.text;
  for (std::size_t i = 0; i < line.code.size(); ++i)
    if (line.code[i] == line.text[i]) comment[i] = ' ';
  return comment;
}

// Braces that leave the depth as it is, and never go below it, change nothing.
Bool ChangesDepth(std::string_view comment) {
  Int depth = 0;
  for (const char c : comment) {
    if (c == '{') ++depth;
    if (c == '}' && --depth < 0) return true;
  }
  return depth != 0;
}

// Whether the translator looks for the end of a block in the line.
Bool AreBracesCounted(const SourceLine& line) {
  switch (line.use) {
    case LineUse::BlockStart:
      return true;
    case LineUse::BlockEnd:
      return !IsKernelEnd(line.text);
    case LineUse::Body:
    case LineUse::NoParameter:
      return true;
    case LineUse::NoiseCall:
      return line.block != BlockKind::None;
    default:
      return IsParameter(line.use);
  }
}

}  // namespace

void LintComments(const LintedFile& file, Findings& findings) {
  for (const SourceLine& line : file.lines) {
    if (line.code == line.text) continue;
    const std::string comment = TakeComment(line);
    for (const CommentRule& rule : kRules)
      if (IsTranslatedCode(line) && comment.find(rule.keyword) != std::string::npos)
        findings.Add({file.name, line.number, Severity::Warning,
                      Quote(rule.name) + " is replaced in comments, too: " + std::string(rule.effect)});
    if (AreBracesCounted(line) && ChangesDepth(comment))
      findings.Add({file.name, line.number, Severity::Warning,
                    "braces in comments are counted like others: this one changes where the block ends"});
  }
}

}  // namespace ostra::plans
