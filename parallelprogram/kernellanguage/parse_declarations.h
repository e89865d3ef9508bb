// Variables: their names, the lengths of arrays, initial values.
#pragma once

#include "parallelprogram/kernellanguage/parse_types.h"

namespace ostra::kernellanguage {

class ParseExpressions;

class ParseDeclarations : ParsePart {
 public:
  ParseDeclarations(const ParseBasis& basis, ParseTypes& types, ParseExpressions& expressions)
      : ParsePart(basis), _types(types), _expressions(expressions) {}

  // A type and its variables, without the semicolon.
  NodeIndex ReadDeclaration(UInt16 flags);
  // `dimensions`: those that stand before the names, float[2] a.
  NodeIndex ReadDeclarators(NodeIndex type, UInt16 flags, NodeIndex dimensions = kNoNode);
  // [2][3]; kNoNode, too, where there is no bracket.
  NodeIndex ReadDimensions();
  // The name that is declared; empty when it cannot be one.
  std::string_view ReadName();
  // The same of a variable, which may hide a type.
  std::string_view ReadVariableName();

 private:
  NodeIndex ReadVariable(NodeIndex type, UInt16 flags, NodeIndex dimensions);
  NodeIndex ReadInitialValue(NodeIndex type, UInt16& flags);
  NodeIndex ReadInitializerList();

  ParseTypes& _types;
  ParseExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
