// Structs, and other names of types.
#pragma once

#include "parallelprogram/kernellanguage/parse_declarations.h"

namespace ostra::kernellanguage {

class ParseStructs : ParsePart {
 public:
  ParseStructs(const ParseBasis& basis, ParseTypes& types, ParseDeclarations& declarations)
      : ParsePart(basis), _types(types), _declarations(declarations) {}

  // struct Name { ... }; and, as C has it, typedef struct { ... } Name;
  void ReadStruct(NodeList& items);
  // typedef float4 Colour; or using Colour = float4; the tree has the type itself.
  void ReadAlias(NodeList& items);

 private:
  std::string_view ReadName();
  NodeList ReadMembers();

  ParseTypes& _types;
  ParseDeclarations& _declarations;
};

}  // namespace ostra::kernellanguage
