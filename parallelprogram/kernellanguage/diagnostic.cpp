#include "parallelprogram/kernellanguage/diagnostic.h"

#include <algorithm>

#include "ostra/core/printable_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

// Columns of the source line that a message shows.
constexpr std::size_t kShownColumns = 120;
// Bytes of a message's own text.
constexpr std::size_t kShownText = 1000;

// Takes the first character off `text`; one that a terminal would obey, and a byte that is not UTF-8, becomes "\xNN".
// Gives the number of columns that it takes.
std::size_t TakeCharacter(std::string_view& text, std::string& to) {
  constexpr char kDigits[] = "0123456789abcdef";
  const Int size = GetCharacterSize(text);
  const std::string_view character = text.substr(0, size == 0 ? 1 : static_cast<std::size_t>(size));
  text.remove_prefix(character.size());
  const Bool isLow = static_cast<unsigned char>(character[0]) < 0x20;  // line ends and tabs, too
  if (!isLow && !HasControlCharacters(character)) {
    to += character;
    return 1;
  }
  for (const char c : character) {
    const auto byte = static_cast<unsigned char>(c);
    to += Join({"\\x", {&kDigits[byte >> 4], 1}, {&kDigits[byte & 15], 1}});
  }
  return 4 * character.size();
}

std::string Escape(std::string_view text) {
  std::string escaped;
  for (std::string_view rest = text.substr(0, kShownText); !rest.empty();) TakeCharacter(rest, escaped);
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
  for (std::string_view rest = line.substr(begin, end - begin); !rest.empty();) {
    const Bool isBefore = end - rest.size() < column;
    if (rest[0] == '\t') {
      shown += '\t';
      if (isBefore) caret += '\t';
      rest.remove_prefix(1);
      continue;
    }
    const std::size_t width = TakeCharacter(rest, shown);
    if (isBefore) caret.append(width, ' ');
  }
  if (end < line.size()) shown += "...";
  return Join({shown, "\n", caret, "^"});
}

SourceMessage MakePart(const SourceMap& sources, Severity severity, SourceOffset offset, std::string_view text) {
  const SourceLocation location = sources.Locate(offset);
  SourceMessage part{.severity = severity, .text = Escape(text)};
  if (location.line > 0) {
    part.file = Escape(location.file);
    part.line = location.line;
    part.column = location.column;
  }
  if (sources.MayShowLine(offset))
    part.excerpt = ShowLine(sources.GetLine(offset), static_cast<std::size_t>(location.column) - 1);
  return part;
}

}  // namespace

SourceMessage MakeSourceMessage(const SourceMap& sources, const Diagnostic& diagnostic) {
  SourceMessage message = MakePart(sources, diagnostic.severity, diagnostic.offset, diagnostic.text);
  if (SourceMap::IsExpansion(diagnostic.offset)) {
    const SourceOffset spelling = sources.GetSpelling(diagnostic.offset);
    if (spelling != sources.GetUse(diagnostic.offset))
      message.notes.push_back(MakePart(sources, Severity::kNote, spelling, "in the definition of the macro"));
  }
  for (const DiagnosticNote& note : diagnostic.notes)
    message.notes.push_back(MakePart(sources, Severity::kNote, note.offset, note.text));
  return message;
}

std::vector<SourceMessage> MakeSourceMessages(const SourceMap& sources, const std::vector<Diagnostic>& diagnostics) {
  std::vector<SourceMessage> messages;
  for (const Diagnostic& diagnostic : diagnostics) messages.push_back(MakeSourceMessage(sources, diagnostic));
  return messages;
}

SourceMessage MakeSourceMessage(const SourceText& source, std::size_t position, std::string_view text) {
  SourceMap sources;
  const Bool isAdded = sources.AddFile(source.name, source.text, source.isHidden) == 0;
  return MakeSourceMessage(sources, Diagnostic{.offset = isAdded ? static_cast<SourceOffset>(position) : kNoOffset,
                                               .text = std::string(text)});
}

std::string FormatDiagnostic(const SourceMap& sources, const Diagnostic& diagnostic) {
  return FormatSourceMessage(MakeSourceMessage(sources, diagnostic));
}

std::string FormatDiagnostics(const SourceMap& sources, const std::vector<Diagnostic>& diagnostics) {
  return FormatSourceMessages(MakeSourceMessages(sources, diagnostics));
}

std::string FormatNotUnderstood(const SourceMap& sources, const NotUnderstood& notUnderstood) {
  const SourceMessage part = MakePart(sources, Severity::kNote, notUnderstood.offset, notUnderstood.reason);
  return Join({FormatSourcePlace(part), "not understood: ", part.text, part.excerpt.empty() ? "" : "\n", part.excerpt});
}

}  // namespace ostra::kernellanguage
