// Words of other languages for kernels, which users bring along, and what they are called here.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

// Where the word stands in its own language.
enum class ForeignUse : UInt8 {
  kValue,        // in expressions, as a value or a function
  kDeclaration,  // where a declaration begins, or as a type
};

// What to write in place of the word, the end of a sentence: "write InLocalInvocationID". Empty for other words.
// Callers look the name up among those that the kernel declares first.
std::string_view FindForeignWord(std::string_view name, ForeignUse use);

// The message about the word with that end.
std::string MakeForeignWordText(std::string_view name, std::string_view instead);

}  // namespace ostra::kernellanguage
