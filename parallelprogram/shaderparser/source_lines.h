// The lines of a source and the words of a line, as views of its text.
#pragma once

#include <string_view>

#include "ostra/core/base_array.h"

namespace ostra {

using SourceLines = BaseArray<std::string_view>;

// The pieces between line feeds; carriage returns stay. A text without a line feed is one line. Error: out of memory.
Result<SourceLines> SplitLines(std::string_view text);

std::string_view TrimLeft(std::string_view line);

// Whether `word` stands at the start of `line`, before its first blank. Commas, parentheses, tabs and the like belong
// to a word.
inline Bool IsFirstWord(std::string_view line, std::string_view word) {
  return line.starts_with(word) && (line.size() == word.size() || line[word.size()] == ' ');
}

// The words of a line: the pieces between its blanks, empty ones included.
class SourceWords {
 public:
  explicit SourceWords(std::string_view line);

  Int GetCount() const { return _count; }
  // The words that declarations have a use for; an empty text for those that are missing.
  std::string_view operator[](Int index) const { return _words[index]; }

 private:
  static constexpr Int kKept = 4;
  std::string_view _words[kKept];
  Int _count = 0;
};

}  // namespace ostra
