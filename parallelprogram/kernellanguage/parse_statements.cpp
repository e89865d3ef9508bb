#include "parallelprogram/kernellanguage/parse_statements.h"

#include <algorithm>
#include <iterator>

#include "parallelprogram/kernellanguage/parse_control.h"
#include "parallelprogram/kernellanguage/parse_expressions.h"
#include "parallelprogram/kernellanguage/parse_word_statements.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

NodeIndex ParseStatements::ReadBlock() {
  const Level level(_nodes);
  if (!CheckDepth()) return kNoNode;
  const ParseNames::Scope scope(_names);
  const Token& open = Take();
  NodeList statements;
  ReadList(statements, open);
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kBlock, open.offset, "", statements);
}

void ParseStatements::ReadList(NodeList& statements, const Token& open) {
  while (!IsStopped() && !Is("}")) {
    if (IsEnd() || FindWordId(Peek().text) == WordId::kKernelEnd) {
      Fail(open.offset, "this brace is not closed");
      _messages.End();  // what follows would be read as something else than it is
      return;
    }
    const NodeIndex statement = ReadStatement();
    if (_messages.CanRecover())
      _recovery.Recover();
    else if (statement != kNoNode)
      statements.push_back(statement);
  }
  if (!IsStopped()) Take();
}

NodeIndex ParseStatements::ReadStatement() {
  const Level level(_nodes);
  if (!CheckDepth()) return kNoNode;
  const Token& token = Peek();
  if (IsAttribute()) return ReadAttributed();
  if (Is("{")) return ReadBlock();
  if (Is(";")) {
    Take();
    return Add(NodeKind::kEmpty, token.offset, "", {});
  }
  if (token.kind != TokenKind::kWord) return ReadExpressionStatement();
  if (const NodeIndex statement = _control.ReadKeywordStatement(); statement != kNoNode || IsBroken()) return statement;
  if (const NodeIndex statement = _wordStatements.ReadWordStatement(); statement != kNoNode || IsBroken())
    return statement;
  return ReadExpressionStatement();
}

NodeIndex ParseStatements::ReadSubStatement() {
  if (IsBroken()) return kNoNode;
  if (Is("}") || IsEnd()) return Fail(Peek().offset, "a statement is missing here");
  return ReadStatement();
}

Bool ParseStatements::IsAttribute() const {
  constexpr std::string_view kAttributes[] = {"unroll", "loop", "branch", "flatten", "fastopt"};
  return Is("[") && IsWord(1) &&
         std::find(std::begin(kAttributes), std::end(kAttributes), Peek(1).text) != std::end(kAttributes) &&
         (Is("]", 2) || (Is("(", 2) && Is(")", 4) && Is("]", 5)));
}

// Compilers decide by themselves: it is passed over.
NodeIndex ParseStatements::ReadAttributed() {
  while (!IsEnd() && !TakeIf("]")) Take();
  const NodeIndex statement = ReadSubStatement();
  if (!IsBroken() && statement != kNoNode) _tree.nodes[statement].flags |= kIsExtended;
  return statement;
}

NodeIndex ParseStatements::ReadExpressionStatement() {
  const SourceOffset offset = Peek().offset;
  const NodeIndex expression = _expressions.ReadExpression();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kExpressionStatement, offset, "", {expression});
}

}  // namespace ostra::kernellanguage
