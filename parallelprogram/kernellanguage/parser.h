// Parser: recursive descent through the items of a file. It owns the parts; each gets those that it uses. Internal to
// parse.cpp.
#pragma once

#include "parallelprogram/kernellanguage/parse.h"
#include "parallelprogram/kernellanguage/parse_control.h"
#include "parallelprogram/kernellanguage/parse_expressions.h"
#include "parallelprogram/kernellanguage/parse_items.h"
#include "parallelprogram/kernellanguage/parse_operands.h"
#include "parallelprogram/kernellanguage/parse_statements.h"
#include "parallelprogram/kernellanguage/parse_word_statements.h"

namespace ostra::kernellanguage {

class Parser {
 public:
  explicit Parser(const TokenStream& stream) : _tokens(stream.tokens) {}
  ParsedFile Run();

 private:
  TokenCursor _tokens;
  SyntaxTree _tree;
  ParseMessages _messages{_tokens};
  ParseNodes _nodes{_tree, _messages};
  ParseNames _names;
  const ParseBasis _basis{_tokens, _tree, _messages, _nodes, _names};

  ParseUnknownTypes _unknownTypes{_basis};
  ParseTypes _types{_basis, _unknownTypes};
  ParseRecovery _recovery{_basis, _types};
  // These call each other, as expressions and statements stand inside of each other.
  ParseDeclarations _declarations{_basis, _types, _expressions};
  ParseExpressions _expressions{_basis, _operands};
  ParseOperands _operands{_basis, {_unknownTypes, _types, _declarations, _expressions}};
  ParseStatements _statements{_basis, {_recovery, _expressions, _control, _wordStatements}};
  ParseControl _control{_basis, {_unknownTypes, _types, _declarations, _expressions, _statements}};
  ParseWordStatements _wordStatements{_basis, {_unknownTypes, _types, _declarations, _expressions}};

  ParseDirectives _directives{_basis, _expressions};
  ParseParameters _parameters{_basis, _types};
  ParseStructs _structs{_basis, _types, _declarations};
  ParseFunctions _functions{_basis, {_types, _declarations, _expressions, _statements}};
  ParseItems _items{_basis, {_unknownTypes, _types, _declarations, _directives, _parameters, _structs, _functions}};
};

}  // namespace ostra::kernellanguage
