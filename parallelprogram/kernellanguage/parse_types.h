// Types as they are written: words with qualifiers, and lists of types in angle brackets.
#pragma once

#include "parallelprogram/kernellanguage/parse_unknown_types.h"

namespace ostra::kernellanguage {

class ParseTypes : ParsePart {
 public:
  ParseTypes(const ParseBasis& basis, ParseUnknownTypes& unknownTypes)
      : ParsePart(basis), _unknownTypes(unknownTypes) {}

  // Whether the next token, or one that many tokens further on, begins a type.
  Bool IsTypeStart(std::size_t ahead = 0) const;
  // const words before and after, & and *.
  NodeIndex ReadType();
  // The > that ends a list of types; false, and reading stops, if there is none.
  Bool TakeAngle();

 private:
  NodeIndex ReadQualified(UInt16 flags);
  // The name of a type, as the tree has it; empty if there is none.
  std::string_view ReadName();
  // What stands in angle brackets; false when it is broken.
  Bool ReadList(std::string_view name, NodeList& types);

  ParseUnknownTypes& _unknownTypes;
};

}  // namespace ostra::kernellanguage
