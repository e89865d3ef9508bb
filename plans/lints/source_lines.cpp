#include "plans/lints/source_lines.h"

#include "ostra/core/silent_diagnostics.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

std::string_view TrimLine(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  return TrimText(line);
}

// Blanks out comments; `isInside` says whether a comment is open at the end of the line before.
std::string RemoveComments(std::string_view line, Bool& isInside) {
  std::string code(line);
  for (std::size_t at = 0; at < code.size(); ++at) {
    if (isInside) {
      const Bool isEnd = code.compare(at, 2, "*/") == 0;
      code[at] = ' ';
      if (isEnd) code[++at] = ' ';
      isInside = !isEnd;
    } else if (code.compare(at, 2, "//") == 0) {
      code.resize(at);
    } else if (code.compare(at, 2, "/*") == 0) {
      code[at] = code[at + 1] = ' ';
      ++at;
      isInside = true;
    }
  }
  return code;
}

}  // namespace

std::vector<SourceLine> SplitSource(std::string_view source) {
  std::vector<SourceLine> lines;
  Bool isInside = false;
  Int number = 0;
  while (!source.empty()) {
    const std::size_t end = source.find('\n');
    const std::string_view text = TrimLine(source.substr(0, end));
    source = end == std::string_view::npos ? std::string_view() : source.substr(end + 1);
    lines.push_back(
        {++number, std::string(text), RemoveComments(text, isInside), std::string(text.substr(0, text.find(' ')))});
  }
  return lines;
}

void SetNotes(std::vector<SourceLine>& lines, const LineNotes& notes) {
  for (SourceLine& line : lines) {
    if (line.number > notes.GetCount()) continue;
    line.use = notes[line.number - 1].use;
    line.block = notes[line.number - 1].block;
  }
}

Result<void> FindNotes(std::vector<SourceLine>& lines, std::string_view source) {
  const SilentDiagnosticStream silence;  // the translator has said what there is to say, or will
  OSTRA_ASSIGN_OR_RETURN(const LineNotes notes, NoteLines(source));
  SetNotes(lines, notes);
  return OK;
}

Bool HasName(std::string_view code, std::string_view name) {
  Bool found = false;
  ForEachName(code, [&](std::string_view known, std::size_t) { found = found || known == name; });
  return found;
}

Bool GetArguments(std::string_view code, std::size_t position, std::string_view& arguments) {
  const std::size_t open = code.find('(', position);
  if (open == std::string_view::npos) return false;
  Int depth = 0;
  for (std::size_t at = open; at < code.size(); ++at) {
    if (code[at] == '(') ++depth;
    if (code[at] == ')' && --depth == 0) {
      arguments = code.substr(open + 1, at - open - 1);
      return true;
    }
  }
  return false;
}

}  // namespace ostra::plans
