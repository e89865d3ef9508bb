// Cuts kernel text into tokens. Comments and the insides of literals yield none, so they cannot be mistaken for code.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace ostra::kernelfront {

struct Token {
  enum class Kind { kWord, kNumber, kLiteral, kSign };

  Kind kind;
  std::size_t begin, end;  // bytes of the text
  int line;                // the first is 1
  bool isFirstInLine;
  bool isInDirective;  // part of a preprocessor directive, its continued lines included
};

// All tokens of `text`. A word, number or literal is one token; of everything else, each character is.
std::vector<Token> ReadTokens(std::string_view text);

}  // namespace ostra::kernelfront
