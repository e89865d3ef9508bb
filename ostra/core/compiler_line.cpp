#include "ostra/core/compiler_line.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "ostra/core/text_characters.h"

namespace ostra {
namespace {

// Takes a number from the front; false where there is none.
Bool TakeNumber(std::string_view& text, Int& number) {
  if (text.empty() || !IsDigit(text[0])) return false;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

Bool TakeText(std::string_view& text, std::string_view taken) {
  if (!text.starts_with(taken)) return false;
  text.remove_prefix(taken.size());
  return true;
}

// Takes ":12" from the end; 0 where there is none.
Int TakeLastNumber(std::string_view& place) {
  const std::size_t colon = place.rfind(':');
  if (colon == std::string_view::npos) return 0;
  std::string_view digits = place.substr(colon + 1);
  Int number = 0;
  if (!TakeNumber(digits, number) || !digits.empty()) return 0;
  place = place.substr(0, colon);
  return number;
}

// GCC and Clang: "file:12:5: error: text".
std::optional<CompilerLine> ReadPlaceFirst(std::string_view line) {
  constexpr std::pair<std::string_view, SourceSeverity> kKinds[] = {{": error: ", SourceSeverity::kError},
                                                                    {": fatal error: ", SourceSeverity::kError},
                                                                    {": warning: ", SourceSeverity::kWarning},
                                                                    {": note: ", SourceSeverity::kNote}};
  std::optional<CompilerLine> read;
  std::size_t first = line.size();
  for (const auto& [kind, severity] : kKinds) {
    const std::size_t at = line.find(kind);
    if (at >= first) continue;
    first = at;
    read = CompilerLine{.severity = severity, .file = line.substr(0, at), .text = line.substr(at + kind.size())};
  }
  if (!read) return read;
  read->line = TakeLastNumber(read->file);
  if (const Int before = TakeLastNumber(read->file); before > 0) read->column = std::exchange(read->line, before);
  return read;
}

// glslang: "ERROR: 0:12: text".
std::optional<CompilerLine> ReadKindFirst(std::string_view line) {
  CompilerLine read;
  if (TakeText(line, "WARNING: "))
    read.severity = SourceSeverity::kWarning;
  else if (!TakeText(line, "ERROR: "))
    return std::nullopt;
  read.text = line;
  Int file = 0;
  std::string_view rest = line;
  if (!TakeNumber(rest, file) || !TakeText(rest, ":") || !TakeNumber(rest, read.line) || !TakeText(rest, ":")) {
    read.line = 0;
    return read;
  }
  read.file = line.substr(0, line.find(':'));
  rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
  read.text = rest;
  return read;
}

// glslang's reader of HLSL: "(12): error at column 5, text".
std::optional<CompilerLine> ReadBareNumber(std::string_view line) {
  CompilerLine read;
  const Bool isForm = TakeText(line, "(") && TakeNumber(line, read.line) && TakeText(line, "): error at column ") &&
                      TakeNumber(line, read.column) && TakeText(line, ", ");
  if (!isForm) return std::nullopt;
  read.text = line;
  return read;
}

}  // namespace

std::optional<CompilerLine> ReadCompilerLine(std::string_view line) {
  if (auto read = ReadKindFirst(line)) return read;
  if (auto read = ReadBareNumber(line)) return read;
  return ReadPlaceFirst(line);
}

}  // namespace ostra
