// Tokens of one file, and what they are made of. The preprocessor puts the files together.
#pragma once

#include <string_view>
#include <vector>

#include "parallelprogram/kernellanguage/source_map.h"

namespace ostra::kernellanguage {

enum class TokenKind : UInt8 {
  kWord,
  kNumber,
  kLiteral,      // in quotes
  kSign,         // an operator or separator, the longest that fits
  kOther,        // a byte that C++ has no use for
  kInputsBegin,  // before and after what #define KERNELINPUTS stands for
  kInputsEnd,
  kEnd,  // one, at the end
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  Bool isFirstInLine = false;
  Bool isAfterSpace = false;
  Bool isFinal = false;  // the name of a macro that is not expanded any more
  SourceOffset offset = kNoOffset;
  std::string_view text = {};

  Bool Is(std::string_view word) const { return text == word && kind != TokenKind::kLiteral; }
};

// What is wrong with the characters of a file.
struct LexerTrouble {
  enum class Kind : UInt8 { kNone, kOpenComment, kContinuedComment, kSplitWord, kTooManyTokens };
  Kind kind = Kind::kNone;
  SourceOffset offset = kNoOffset;
};

// Of all files together.
inline constexpr std::size_t kMaxTokens = 2'000'000;

// The tokens of `text`, whose first byte is `begin`, without a kEnd. Views refer to `text`. Comments, blanks, line ends
// of both kinds, line continuations and a byte order mark are left out. Stops at the first trouble.
std::vector<Token> ReadTokens(std::string_view text, SourceOffset begin, LexerTrouble& trouble);

}  // namespace ostra::kernellanguage
