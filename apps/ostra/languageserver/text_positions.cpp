#include "apps/ostra/languageserver/text_positions.h"

#include <algorithm>

#include "ostra/core/printable_text.h"

namespace ostra::tool {

namespace {

struct Character {
  UInt32 bytes = 1, units = 1;
};

// The character that begins at `text`.
Character Measure(std::string_view text) {
  const auto bytes = static_cast<UInt32>(GetCharacterSize(text));
  return {std::max(bytes, 1u), bytes == 4 ? 2u : 1u};
}

}  // namespace

TextLines::TextLines(std::string_view text) : _text(text), _begins{0} {
  for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1))
    _begins.push_back(static_cast<UInt32>(at + 1));
}

std::string_view TextLines::GetLine(UInt32 line) const {
  std::string_view text = _text.substr(_begins[line]);
  text = text.substr(0, text.find('\n'));
  if (text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

UInt32 TextLines::GetOffset(TextPosition position) const {
  if (position.line >= _begins.size()) return static_cast<UInt32>(_text.size());
  std::string_view rest = GetLine(position.line);
  UInt32 offset = _begins[position.line];
  for (UInt32 column = 0; column < position.column && !rest.empty();) {
    const Character character = Measure(rest);
    column += character.units;
    if (column > position.column) break;  // between the two units of a character
    offset += character.bytes;
    rest.remove_prefix(character.bytes);
  }
  return offset;
}

TextPosition TextLines::GetPosition(UInt32 offset) const {
  offset = std::min(offset, static_cast<UInt32>(_text.size()));
  const auto after = std::upper_bound(_begins.begin(), _begins.end(), offset);
  TextPosition position{.line = static_cast<UInt32>(after - _begins.begin()) - 1};
  std::string_view rest = _text.substr(_begins[position.line], offset - _begins[position.line]);
  while (!rest.empty()) {
    const Character character = Measure(rest);
    position.column += character.units;
    rest.remove_prefix(character.bytes);
  }
  return position;
}

}  // namespace ostra::tool
