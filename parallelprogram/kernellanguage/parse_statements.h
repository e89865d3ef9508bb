// Blocks and statements, and how reading goes on behind a broken one. Other parts know the statements that begin with a
// word.
#pragma once

#include "parallelprogram/kernellanguage/parse_recovery.h"

namespace ostra::kernellanguage {

class ParseControl;
class ParseExpressions;
class ParseWordStatements;

class ParseStatements : ParsePart {
 public:
  struct Uses {
    ParseRecovery& recovery;
    ParseExpressions& expressions;
    ParseControl& control;
    ParseWordStatements& wordStatements;
  };

  ParseStatements(const ParseBasis& basis, const Uses& uses)
      : ParsePart(basis),
        _recovery(uses.recovery),
        _expressions(uses.expressions),
        _control(uses.control),
        _wordStatements(uses.wordStatements) {}

  NodeIndex ReadBlock();
  // What an if, a loop or a label is followed by: not a declaration by itself.
  NodeIndex ReadSubStatement();

 private:
  // Up to the closing brace. A broken statement is left out.
  void ReadList(NodeList& statements, const Token& open);
  NodeIndex ReadStatement();
  // [unroll] and its relatives before a loop or condition.
  Bool IsAttribute() const;
  NodeIndex ReadAttributed();
  NodeIndex ReadExpressionStatement();

  ParseRecovery& _recovery;
  ParseExpressions& _expressions;
  ParseControl& _control;
  ParseWordStatements& _wordStatements;
};

}  // namespace ostra::kernellanguage
