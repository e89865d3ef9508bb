#include "parallelprogram/kernellanguage/parse_control.h"

#include "parallelprogram/kernellanguage/parse_declarations.h"
#include "parallelprogram/kernellanguage/parse_expressions.h"
#include "parallelprogram/kernellanguage/parse_statements.h"

namespace ostra::kernellanguage {

NodeIndex ParseControl::ReadKeywordStatement() {
  if (Is("if")) return ReadIf();
  if (Is("for")) return ReadFor();
  if (Is("while")) return ReadWhile();
  if (Is("do")) return ReadDoWhile();
  if (Is("switch")) return ReadSwitch();
  if (Is("case") || Is("default")) return ReadLabel();
  if (Is("break")) return ReadJump(NodeKind::kBreak);
  if (Is("continue")) return ReadJump(NodeKind::kContinue);
  if (Is("return")) return ReadReturn();
  if (Is("else")) return Fail(Peek().offset, "this \"else\" follows no \"if\"");
  return kNoNode;
}

NodeIndex ParseControl::ReadCondition() {
  const std::string keyword(_tokens.GetLast()->text);
  if (!Is("(")) {
    if (Is("constexpr")) return StopHere();
    return Fail(Peek().offset, "\"" + keyword + "\" needs its condition in parentheses");
  }
  const Token& open = Take();
  if (_types.IsTypeStart() && IsWord(1)) return Stop(open.offset, "a declaration in a condition");
  const NodeIndex condition = _expressions.ReadExpression();
  if (Is(";") && (keyword == "if" || keyword == "switch")) return Stop(Peek().offset, "a statement in a condition");
  return ExpectClosing(")", open) ? condition : kNoNode;
}

NodeIndex ParseControl::ReadIf() {
  const Token& start = Take();
  const NodeIndex condition = ReadCondition();
  const NodeIndex statement = _statements.ReadSubStatement();
  NodeIndex other = kNoNode;
  if (!IsBroken() && TakeIf("else")) other = _statements.ReadSubStatement();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kIf, start.offset, "", {condition, statement, other});
}

NodeIndex ParseControl::ReadForStart() {
  const Token& start = Peek();
  if (TakeIf(";")) return kNoNode;
  if (_types.IsTypeStart()) {
    const NodeIndex declaration = _declarations.ReadDeclaration(0);
    if (Is(":")) return Stop(Peek().offset, "a loop over a range");
    return ExpectSemicolon() ? declaration : kNoNode;
  }
  if (IsWord() && IsWord(1) && !_names.IsKnown(start.text)) return _unknownTypes.FailUnknownType();
  const NodeIndex expression = _expressions.ReadExpression();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kExpressionStatement, start.offset, "", {expression});
}

NodeIndex ParseControl::ReadFor() {
  const ParseNames::Scope scope(_names);
  const Token& start = Take();
  const Token& open = Peek();
  if (!Is("(")) return Fail(open.offset, "\"for\" needs its three parts in parentheses");
  Take();
  const NodeIndex first = ReadForStart();
  if (IsBroken()) return kNoNode;
  const NodeIndex condition = Is(";") ? kNoNode : _expressions.ReadExpression();
  if (Is(")")) return Fail(Peek().offset, "\"for\" needs three parts with \";\" between them");
  if (!ExpectSemicolon()) return kNoNode;
  const NodeIndex step = Is(")") ? kNoNode : _expressions.ReadExpression();
  if (!ExpectClosing(")", open)) return kNoNode;
  const NodeIndex body = _statements.ReadSubStatement();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kFor, start.offset, "", {first, condition, step, body});
}

NodeIndex ParseControl::ReadWhile() {
  const Token& start = Take();
  const NodeIndex condition = ReadCondition();
  const NodeIndex body = _statements.ReadSubStatement();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kWhile, start.offset, "", {condition, body});
}

NodeIndex ParseControl::ReadDoWhile() {
  const Token& start = Take();
  const NodeIndex body = _statements.ReadSubStatement();
  if (IsBroken()) return kNoNode;
  if (!Is("while"))
    return Fail(Peek().offset, "the \"while\" of this \"do\" is missing here", {{start.offset, "\"do\""}});
  Take();
  const NodeIndex condition = ReadCondition();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kDoWhile, start.offset, "", {body, condition});
}

NodeIndex ParseControl::ReadSwitch() {
  const Token& start = Take();
  const NodeIndex value = ReadCondition();
  if (IsBroken()) return kNoNode;
  if (!Is("{")) return StopHere();
  const NodeIndex block = _statements.ReadBlock();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kSwitch, start.offset, "", {value, block});
}

NodeIndex ParseControl::ReadLabel() {
  const Token& start = Take();
  const Bool isCase = start.Is("case");
  const NodeIndex value = isCase ? _expressions.ReadConditional() : kNoNode;
  if (!Expect(":")) return kNoNode;
  return isCase ? Add(NodeKind::kCase, start.offset, "", {value}) : Add(NodeKind::kDefault, start.offset, "", {});
}

NodeIndex ParseControl::ReadReturn() {
  const Token& start = Take();
  if (Is("{")) return Stop(start.offset, "a value in braces");
  const NodeIndex value = Is(";") ? kNoNode : _expressions.ReadExpression();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kReturn, start.offset, "", {value});
}

NodeIndex ParseControl::ReadJump(NodeKind kind) {
  const Token& start = Take();
  return ExpectSemicolon() ? Add(kind, start.offset, "", {}) : kNoNode;
}

}  // namespace ostra::kernellanguage
