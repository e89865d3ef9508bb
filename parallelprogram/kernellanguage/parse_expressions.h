// Expressions: operators in the order in which C++ binds them.
#pragma once

#include "parallelprogram/kernellanguage/parse_part.h"

namespace ostra::kernellanguage {

class ParseOperands;

class ParseExpressions : ParsePart {
 public:
  ParseExpressions(const ParseBasis& basis, ParseOperands& operands) : ParsePart(basis), _operands(operands) {}

  NodeIndex ReadExpression();  // with commas
  NodeIndex ReadAssignment();
  NodeIndex ReadConditional();
  NodeIndex ReadUnary();
  // What stands behind an operand: [index], .member, ++.
  NodeIndex ReadPostfixOf(NodeIndex operand);
  // ( argument, ... ); false when it is broken.
  Bool ReadArguments(NodeList& arguments);

 private:
  // Operators that bind more strongly than `lowest`.
  NodeIndex ReadBinary(Int lowest);

  ParseOperands& _operands;
};

}  // namespace ostra::kernellanguage
