// Looks for a word in a text, such as a source.
#pragma once

#include <string_view>

#include "ostra/core/text_characters.h"

namespace ostra {

// Whether the word stands in the text by itself, not as a part of a longer one.
inline Bool HasWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    if ((at == 0 || !IsWordCharacter(text[at - 1])) && (end == text.size() || !IsWordCharacter(text[end]))) return true;
  }
  return false;
}

}  // namespace ostra
