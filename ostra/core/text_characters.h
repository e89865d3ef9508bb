// Characters of names and numbers in sources and messages, whatever the language settings of the process are.
#pragma once

#include "ostra/core/types.h"

namespace ostra {

constexpr Bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// What a name may begin with: letters and the underscore.
constexpr Bool IsWordStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

// What a name is made of.
constexpr Bool IsWordCharacter(char c) { return IsWordStart(c) || IsDigit(c); }

constexpr char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace ostra
