// Decoding of text files.
#include <cstring>

#include "ostra/io/file.h"

OSTRA_UNIT("text");

namespace ostra {

namespace {

// Bytes of the character that starts at `text`; 0 when it is not UTF-8 (overlong forms, surrogates and numbers beyond
// U+10FFFF included). Table 3-7 of the Unicode standard, "Well-Formed UTF-8 Byte Sequences".
Int GetCharacterSize(std::string_view text) {
  const auto byteAt = [text](std::size_t i) { return i < text.size() ? static_cast<Byte>(text[i]) : Byte(0); };
  const Byte first = byteAt(0);
  if (first < 0x80) return 1;
  const Int size = first >= 0xC2 && first <= 0xDF   ? 2
                   : first >= 0xE0 && first <= 0xEF ? 3
                   : first >= 0xF0 && first <= 0xF4 ? 4
                                                    : 0;
  const Byte lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const Byte highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (size == 0 || byteAt(1) < lowest || byteAt(1) > highest) return 0;
  for (Int i = 2; i < size; ++i)
    if ((byteAt(static_cast<std::size_t>(i)) & 0xC0) != 0x80) return 0;
  return size;
}

// Whether the next eight bytes are characters of one byte each, as most of a text are.
Bool IsAsciiWord(std::string_view text, std::size_t position) {
  UInt64 word;
  if (text.size() - position < sizeof(word)) return false;
  std::memcpy(&word, text.data() + position, sizeof(word));
  return (word & 0x8080808080808080) == 0;
}

}  // namespace

Result<String> DecodeText(Block<const Byte> bytes) {
  std::string_view text;
  if (!bytes.IsEmpty())
    text = {reinterpret_cast<const char*>(bytes.GetFirst()), static_cast<std::size_t>(bytes.GetCount())};
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  for (std::size_t i = 0; i < text.size();) {
    if (IsAsciiWord(text, i)) {
      i += sizeof(UInt64);
      continue;
    }
    const Int size = GetCharacterSize(text.substr(i));
    if (size == 0)
      return OSTRA_ILLEGAL_ARGUMENT("The text is not UTF-8: byte @ has the value @.", i,
                                    static_cast<Int>(static_cast<Byte>(text[i])));
    i += static_cast<std::size_t>(size);
  }
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) text.remove_prefix(kByteOrderMark.size());
  return String::Create(text);
}

}  // namespace ostra
