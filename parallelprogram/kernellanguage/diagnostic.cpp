#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/join.h"

#include <algorithm>

namespace ostra::kernellanguage {
namespace {

// Columns of the source line that a message shows.
constexpr std::size_t kShownColumns = 120;
// Bytes of a message's own text.
constexpr std::size_t kShownText = 1000;

void AppendEscaped(std::string& to, char c) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  if (byte >= 0x20 && byte != 0x7f) {
    to += c;
  } else {
    to += "\\x";
    to += kDigits[byte >> 4];
    to += kDigits[byte & 15];
  }
}

std::string Escape(std::string_view text) {
  std::string escaped;
  for (const char c : text.substr(0, kShownText)) AppendEscaped(escaped, c);
  if (text.size() > kShownText) escaped += "...";
  return escaped;
}

Bool IsContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; }

// The line with a caret below `column`; tabs stay, so that the caret stands where a terminal shows the byte.
std::string ShowLine(std::string_view line, std::size_t column) {
  std::size_t begin = column > kShownColumns / 2 && line.size() > kShownColumns ? column - kShownColumns / 2 : 0;
  std::size_t end = std::min(line.size(), begin + kShownColumns);
  while (begin > 0 && begin < line.size() && IsContinuationByte(line[begin])) --begin;
  while (end < line.size() && IsContinuationByte(line[end])) ++end;
  std::string shown = begin > 0 ? "..." : "", caret = begin > 0 ? "   " : "";
  for (std::size_t i = begin; i < end; ++i) {
    if (line[i] == '\t') {
      shown += '\t';
      if (i < column) caret += '\t';
      continue;
    }
    const std::size_t before = shown.size();
    AppendEscaped(shown, line[i]);
    if (i < column && !IsContinuationByte(line[i])) caret.append(shown.size() - before, ' ');
  }
  if (end < line.size()) shown += "...";
  return Join({shown, "\n", caret, "^"});
}

std::string FormatPart(const SourceMap& sources, SourceOffset offset, std::string_view kind, std::string_view text) {
  const SourceLocation location = sources.Locate(offset);
  std::string part;
  if (location.line > 0) {
    part += Escape(location.file);
    part += Join({":", std::to_string(location.line), ":", std::to_string(location.column), ": "});
  }
  part += kind;
  part += ": ";
  part += Escape(text);
  if (location.line > 0)
    part += Join({"\n", ShowLine(sources.GetLine(offset), static_cast<std::size_t>(location.column) - 1)});
  return part;
}

std::string_view GetWord(Severity severity) {
  return severity == Severity::kError ? "error" : severity == Severity::kWarning ? "warning" : "note";
}

}  // namespace

std::string FormatDiagnostic(const SourceMap& sources, const Diagnostic& diagnostic) {
  std::string text = FormatPart(sources, diagnostic.offset, GetWord(diagnostic.severity), diagnostic.text);
  if (SourceMap::IsExpansion(diagnostic.offset)) {
    const SourceOffset spelling = sources.GetSpelling(diagnostic.offset);
    if (spelling != sources.GetUse(diagnostic.offset))
      text += Join({"\n", FormatPart(sources, spelling, "note", "in the definition of the macro")});
  }
  for (const DiagnosticNote& note : diagnostic.notes)
    text += Join({"\n", FormatPart(sources, note.offset, "note", note.text)});
  return text;
}

std::string FormatDiagnostics(const SourceMap& sources, const std::vector<Diagnostic>& diagnostics) {
  std::string text;
  for (const Diagnostic& diagnostic : diagnostics) {
    if (!text.empty()) text += "\n";
    text += FormatDiagnostic(sources, diagnostic);
  }
  return text;
}

std::string FormatNotUnderstood(const SourceMap& sources, const NotUnderstood& notUnderstood) {
  return FormatPart(sources, notUnderstood.offset, "not understood", notUnderstood.reason);
}

}  // namespace ostra::kernellanguage
