// Statements that begin with a keyword: conditions, loops, labels, jumps.
#pragma once

#include "parallelprogram/kernellanguage/parse_types.h"

namespace ostra::kernellanguage {

class ParseDeclarations;
class ParseExpressions;
class ParseStatements;

class ParseControl : ParsePart {
 public:
  struct Uses {
    ParseUnknownTypes& unknownTypes;
    ParseTypes& types;
    ParseDeclarations& declarations;
    ParseExpressions& expressions;
    ParseStatements& statements;
  };

  ParseControl(const ParseBasis& basis, const Uses& uses)
      : ParsePart(basis),
        _unknownTypes(uses.unknownTypes),
        _types(uses.types),
        _declarations(uses.declarations),
        _expressions(uses.expressions),
        _statements(uses.statements) {}

  // kNoNode when it does not begin with a keyword.
  NodeIndex ReadKeywordStatement();

 private:
  NodeIndex ReadCondition();
  NodeIndex ReadIf();
  NodeIndex ReadFor();
  NodeIndex ReadForStart();
  NodeIndex ReadWhile();
  NodeIndex ReadDoWhile();
  NodeIndex ReadSwitch();
  NodeIndex ReadLabel();
  NodeIndex ReadReturn();
  NodeIndex ReadJump(NodeKind kind);

  ParseUnknownTypes& _unknownTypes;
  ParseTypes& _types;
  ParseDeclarations& _declarations;
  ParseExpressions& _expressions;
  ParseStatements& _statements;
};

}  // namespace ostra::kernellanguage
