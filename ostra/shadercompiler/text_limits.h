// Limits of texts that compilers are given. Compilers walk nested expressions with functions that call themselves, and
// put in what macros stand for without a limit: beyond these limits they would end the process or take all memory.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::shadercompiler {

// Brackets in brackets. Clang, which other compilers are made of, has the same limit.
inline constexpr Int kMaxNestedBrackets = 256;
// Words and operators of one expression or one chain of statements: each may be a level of the syntax tree. Operators
// in front of an operand take compilers more of their stack, and count as kPrefixWeight.
inline constexpr Int kMaxChainedWords = 10000;
inline constexpr Int kPrefixWeight = 4;
// Macros in macros.
inline constexpr Int kMaxNestedMacros = 256;
// Words and operators of a text, with what its macros stand for.
inline constexpr Int kMaxExpandedWords = 2000000;

// What RunOnLargeStack must offer for texts within these limits.
inline constexpr std::size_t kStackSize = std::size_t{128} << 20;

struct TextLimitError {
  Int line = 0;  // of the text, from 1
  std::string text;
};

// The first place where a text in GLSL, HLSL, Metal or C++ exceeds a limit; nothing for other texts. Both branches of
// conditions count. Throws std::bad_alloc. Thread-safe.
std::optional<TextLimitError> FindTextLimitError(std::string_view text);

}  // namespace ostra::shadercompiler
