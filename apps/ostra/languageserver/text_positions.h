// Places in a text as the language server protocol counts them: lines and columns from 0, columns in UTF-16 units.
#pragma once

#include <string_view>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::tool {

struct TextPosition {
  UInt32 line = 0, column = 0;
  friend Bool operator==(const TextPosition&, const TextPosition&) = default;
};

// The lines of a text, which must outlive it. Bytes that are no UTF-8 count as one unit each.
class TextLines {
 public:
  explicit TextLines(std::string_view text);

  // The byte at a position; the end of the line for a column behind it, the end of the text for a line behind it.
  UInt32 GetOffset(TextPosition position) const;
  // The position of a byte; that of the end for one behind it.
  TextPosition GetPosition(UInt32 offset) const;

 private:
  std::string_view GetLine(UInt32 line) const;

  std::string_view _text;
  std::vector<UInt32> _begins;
};

}  // namespace ostra::tool
