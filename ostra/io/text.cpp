// Decoding of text files.
#include <cstring>

#include "ostra/core/printable_text.h"
#include "ostra/io/file.h"

OSTRA_UNIT("text");

namespace ostra {

namespace {

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
