// What is said where a type is expected and an unknown word stands: a mistake, if no C++ compiler can take it for
// something else.
#pragma once

#include "parallelprogram/kernellanguage/parse_part.h"

namespace ostra::kernellanguage {

struct Word;

class ParseUnknownTypes : ParsePart {
 public:
  explicit ParseUnknownTypes(const ParseBasis& basis) : ParsePart(basis) {}

  // Of the next word, which is no type.
  NodeIndex FailUnknownType();
  // Elements of buffers are of the language's types or structs.
  void CheckElementType();
  // Whether the next word is C++ beyond the language or of graphics stages, where reading stops.
  Bool StopBeyond(const Word* known);

 private:
  // The type that is almost the next word, as the end of a message; empty if there is none.
  std::string FindHint(std::size_t maxChanges, Bool withWords) const;
  // "flaot x = ...": two words side by side begin a declaration, unless one is a macro of the host.
  Bool IsDeclaration() const;
};

}  // namespace ostra::kernellanguage
