#include "ostra/core/printable_text.h"

namespace ostra {

namespace {

Byte GetByte(std::string_view text, std::size_t i) { return i < text.size() ? static_cast<Byte>(text[i]) : Byte(0); }

// Whether a terminal obeys the character of `size` bytes at the start of `text`.
Bool IsControl(std::string_view text, Int size) {
  const Byte first = GetByte(text, 0), second = GetByte(text, 1), third = GetByte(text, 2);
  if (size == 1) return (first < ' ' && first != '\n' && first != '\t') || first == 0x7F;
  if (size == 2) return first == 0xC2 && second < 0xA0;  // C1
  // U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069: the direction of writing; U+2028, U+2029: line ends
  const Bool isMark = second == 0x80 && (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE));
  return size == 3 && first == 0xE2 && (isMark || (second == 0x81 && third >= 0xA6 && third <= 0xA9));
}

// The part of `text` behind its first bytes that can be shown as they are.
std::size_t CountShownBytes(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const Int size = GetCharacterSize(text.substr(i));
    if (size == 0 || IsControl(text.substr(i), size)) break;
    i += static_cast<std::size_t>(size);
  }
  return i;
}

// A position near `i` where no character is cut.
std::size_t MoveToCharacter(std::string_view text, std::size_t i) {
  for (int steps = 0; steps < 3 && i < text.size() && (GetByte(text, i) & 0xC0) == 0x80; ++steps) ++i;
  return i;
}

void WriteLine(std::FILE* stream, std::string_view line) {
  constexpr std::size_t kMaxSize = 1000, kBegin = 700, kEnd = 250;
  if (line.size() <= kMaxSize) return WritePrintable(stream, line);
  const std::size_t begin = MoveToCharacter(line, kBegin), end = MoveToCharacter(line, line.size() - kEnd);
  WritePrintable(stream, line.substr(0, begin));
  std::fprintf(stream, " ... (%zu bytes are left out) ... ", end - begin);
  WritePrintable(stream, line.substr(end));
}

void WriteLines(std::FILE* stream, std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
    WriteLine(stream, line);
    if (end == std::string_view::npos) return;
    std::fputc('\n', stream);
    text.remove_prefix(end + 1);
  }
}

}  // namespace

// Table 3-7 of the Unicode standard, "Well-Formed UTF-8 Byte Sequences".
Int GetCharacterSize(std::string_view text) {
  const Byte first = GetByte(text, 0);
  if (first < 0x80) return text.empty() ? 0 : 1;
  const Int size = first >= 0xC2 && first <= 0xDF   ? 2
                   : first >= 0xE0 && first <= 0xEF ? 3
                   : first >= 0xF0 && first <= 0xF4 ? 4
                                                    : 0;
  const Byte lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const Byte highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (size == 0 || GetByte(text, 1) < lowest || GetByte(text, 1) > highest) return 0;
  for (Int i = 2; i < size; ++i)
    if ((GetByte(text, static_cast<std::size_t>(i)) & 0xC0) != 0x80) return 0;
  return size;
}

Bool HasControlCharacters(std::string_view text) { return CountShownBytes(text) < text.size(); }

void WritePrintable(std::FILE* stream, std::string_view text) {
  while (!text.empty()) {
    const std::size_t shown = CountShownBytes(text);
    std::fwrite(text.data(), 1, shown, stream);
    text.remove_prefix(shown);
    if (text.empty()) return;
    Int size = GetCharacterSize(text);
    if (size == 0) size = 1;
    if (!text.starts_with("\r\n"))
      for (Int i = 0; i < size; ++i)
        std::fprintf(stream, "\\x%02X", static_cast<unsigned>(GetByte(text, static_cast<std::size_t>(i))));
    text.remove_prefix(static_cast<std::size_t>(size));
  }
}

void WriteMessage(std::FILE* stream, std::string_view text) {
  constexpr std::size_t kMaxSize = 64 << 10, kBegin = 48 << 10, kEnd = 12 << 10;
  if (text.size() <= kMaxSize) return WriteLines(stream, text);
  // Whole lines where there are any; one line of that length is shortened by itself.
  const std::size_t begin = text.rfind('\n', kBegin) + 1, end = text.find('\n', text.size() - kEnd) + 1;
  if (begin == 0 || end <= begin) return WriteLines(stream, text);
  WriteLines(stream, text.substr(0, begin));
  std::fprintf(stream, "... (%zu bytes are left out)\n", end - begin);
  WriteLines(stream, text.substr(end));
}

}  // namespace ostra
