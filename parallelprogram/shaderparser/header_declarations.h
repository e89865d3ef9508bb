// Structs and inline functions of headers. Their braces stand on lines of their own.
#pragma once

#include "parallelprogram/shaderparser/parse_state.h"

namespace ostra {

// A definition and the index of its last line.
template <class Definition>
struct HeaderDefinition {
  Definition definition;
  Int lastLine = 0;
};

// Read the definition that starts at line `first` of the file that `state.origin` is in. Errors: illegal argument for a
// definition that does not end, or has another one inside; illegal state when there is none at that line; out of
// memory.
Result<HeaderDefinition<ShaderStructDefinition>> ParseStruct(ParseState& state, const SourceLines& lines, Int first);
Result<HeaderDefinition<ShaderFunctionDefinition>> ParseInlineFunction(ParseState& state, const SourceLines& lines,
                                                                       Int first);

// The declaration of an inline function: `line` without its first word, after the declaration rules.
Result<String> ReadFunctionDeclaration(ParseState& state, std::string_view line);

}  // namespace ostra
