// Statements that begin with a word of the language, and declarations.
#pragma once

#include "parallelprogram/kernellanguage/parse_types.h"

namespace ostra::kernellanguage {

class ParseDeclarations;
class ParseExpressions;

class ParseWordStatements : ParsePart {
 public:
  struct Uses {
    ParseUnknownTypes& unknownTypes;
    ParseTypes& types;
    ParseDeclarations& declarations;
    ParseExpressions& expressions;
  };

  ParseWordStatements(const ParseBasis& basis, const Uses& uses)
      : ParsePart(basis),
        _unknownTypes(uses.unknownTypes),
        _types(uses.types),
        _declarations(uses.declarations),
        _expressions(uses.expressions) {}

  // kNoNode when it is an expression.
  NodeIndex ReadWordStatement();

 private:
  NodeIndex ReadDeclaration();
  NodeIndex ReadMark();
  NodeIndex ReadSharedArray();
  NodeIndex ReadMakeLocal();
  NodeIndex ReadReport();

  ParseUnknownTypes& _unknownTypes;
  ParseTypes& _types;
  ParseDeclarations& _declarations;
  ParseExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
