// Operands: literals, names, calls, casts, and what stands in parentheses.
#pragma once

#include "parallelprogram/kernellanguage/parse_types.h"

namespace ostra::kernellanguage {

class ParseDeclarations;
class ParseExpressions;

class ParseOperands : ParsePart {
 public:
  struct Uses {
    ParseUnknownTypes& unknownTypes;
    ParseTypes& types;
    ParseDeclarations& declarations;
    ParseExpressions& expressions;
  };

  ParseOperands(const ParseBasis& basis, const Uses& uses)
      : ParsePart(basis),
        _unknownTypes(uses.unknownTypes),
        _types(uses.types),
        _declarations(uses.declarations),
        _expressions(uses.expressions) {}

  NodeIndex ReadOperand();

 private:
  NodeIndex ReadParentheses();
  NodeIndex ReadCast(const Token& open);
  NodeIndex ReadWord();
  NodeIndex ReadParameterWord(NodeKind kind);
  NodeIndex ReadLocalData();
  NodeIndex ReadStaticCast();
  NodeIndex ReadConstruct();
  NodeIndex ReadArrayConstruct(SourceOffset offset);
  NodeIndex ReadCall();
  NodeIndex FailOperand();

  ParseUnknownTypes& _unknownTypes;
  ParseTypes& _types;
  ParseDeclarations& _declarations;
  ParseExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
