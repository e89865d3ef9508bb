// Functions and the kernel.
#pragma once

#include "parallelprogram/kernellanguage/parse_declarations.h"

namespace ostra::kernellanguage {

class ParseStatements;

class ParseFunctions : ParsePart {
 public:
  struct Uses {
    ParseTypes& types;
    ParseDeclarations& declarations;
    ParseExpressions& expressions;
    ParseStatements& statements;
  };

  ParseFunctions(const ParseBasis& basis, const Uses& uses)
      : ParsePart(basis),
        _types(uses.types),
        _declarations(uses.declarations),
        _expressions(uses.expressions),
        _statements(uses.statements) {}

  // What stands behind the type of the result.
  NodeIndex ReadFunction(NodeIndex type, Bool isInline);
  void ReadKernel(NodeList& items);

 private:
  NodeIndex ReadParameter();
  // The type, with the flags that the words before it give.
  NodeIndex ReadParameterType(UInt16& flags);

  ParseTypes& _types;
  ParseDeclarations& _declarations;
  ParseExpressions& _expressions;
  ParseStatements& _statements;
};

}  // namespace ostra::kernellanguage
