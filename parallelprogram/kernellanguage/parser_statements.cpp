#include <algorithm>
#include <iterator>

#include "parallelprogram/kernellanguage/parser_state.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

NodeIndex Parser::ReadBlock() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  const HiddenTypes hiddenTypes(*this);
  const Token& open = Take();
  Nodes statements;
  ReadStatements(statements, open);
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kBlock, open.offset, "", statements);
}

// Up to the closing brace. A broken statement is left out.
void Parser::ReadStatements(Nodes& statements, const Token& open) {
  while (!IsStopped() && !Is("}")) {
    if (IsEnd() || FindWordId(Peek().text) == WordId::kKernelEnd) {
      Fail(open.offset, "this brace is not closed");
      _isFull = true;  // what follows would be read as something else than it is
      return;
    }
    const NodeIndex statement = ReadStatement();
    if (_isBroken && !IsStopped())
      Recover();
    else if (statement != kNoNode)
      statements.push_back(statement);
  }
  if (!IsStopped()) Take();
}

NodeIndex Parser::ReadStatement() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  const Token& token = Peek();
  if (IsAttribute()) return ReadAttribute();
  if (Is("{")) return ReadBlock();
  if (Is(";")) {
    Take();
    return Add(NodeKind::kEmpty, token.offset, "", {});
  }
  if (token.kind != TokenKind::kWord) return ReadExpressionStatement();
  if (const NodeIndex statement = ReadKeywordStatement(); statement != kNoNode || IsBroken()) return statement;
  if (const NodeIndex statement = ReadWordStatement(); statement != kNoNode || IsBroken()) return statement;
  return ReadExpressionStatement();
}

// [unroll] and its relatives before a loop or condition.
Bool Parser::IsAttribute() const {
  constexpr std::string_view kAttributes[] = {"unroll", "loop", "branch", "flatten", "fastopt"};
  return Is("[") && IsWord(1) &&
         std::find(std::begin(kAttributes), std::end(kAttributes), Peek(1).text) != std::end(kAttributes) &&
         (Is("]", 2) || (Is("(", 2) && Is(")", 4) && Is("]", 5)));
}

// Compilers decide by themselves: it is passed over.
NodeIndex Parser::ReadAttribute() {
  while (!IsEnd() && !TakeIf("]")) Take();
  const NodeIndex statement = ReadSubStatement();
  if (!IsBroken() && statement != kNoNode) _file.tree.nodes[statement].flags |= kIsExtended;
  return statement;
}

// kNoNode when it does not begin with a keyword.
NodeIndex Parser::ReadKeywordStatement() {
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

NodeIndex Parser::ReadWordStatement() {
  const Token& token = Peek();
  if (FindWordId(token.text) == WordId::kCpuScopeStart)
    return Stop(token.offset, "a part for the CPU only (CPU_SCOPE_START)");
  if (Is("GROUPSHAREDMEM")) return ReadSharedArray();
  if (Is("MAKELOCAL")) return ReadMakeLocal();
  if ((Is("PRINT") || Is("ASSERT")) && Is("(", 1) && !_declared.contains(token.text)) return ReadReport();
  if (Is("KERNEL_RETURN")) return Stop(token.offset, "KERNEL_RETURN");
  if (Is("ADDNOISECALL") || Is("groupSharedBarrier")) {
    Take();
    const Bool isBarrier = token.Is("groupSharedBarrier");
    if (isBarrier && !ExpectSemicolon()) return kNoNode;
    return Add(isBarrier ? NodeKind::kBarrier : NodeKind::kNoiseMark, token.offset, "", {});
  }
  UInt16 flags = 0;
  if (Is("ATOMIC")) {
    flags |= kIsAtomic;
    Take();
  }
  if (Is("static") && (Is("const", 1) || Is("constexpr", 1))) Take();
  if (Is("constexpr")) {
    flags |= kIsConst;
    Take();
  }
  const Bool isDeclaration = IsTypeStart() && !Is("(", 1) && !Is("::", 1) && !Is("{", 1);
  if (isDeclaration) {
    const NodeIndex declaration = ReadDeclaration(flags);
    return ExpectSemicolon() ? declaration : kNoNode;
  }
  if (flags != 0) return StopAt(Peek());
  if (IsTypeStart()) return Stop(token.offset, "a type where a statement begins");
  if (IsWord(1) && !IsKnownName(token.text)) return FailUnknownType();
  return kNoNode;
}

// What an if, a loop or a label is followed by: not a declaration by itself.
NodeIndex Parser::ReadSubStatement() {
  if (IsBroken()) return kNoNode;
  if (Is("}") || IsEnd()) return Fail(Peek().offset, "a statement is missing here");
  return ReadStatement();
}

NodeIndex Parser::ReadCondition() {
  const std::string keyword(_tokens[_at - 1].text);
  if (!Is("(")) {
    if (Is("constexpr")) return StopAt(Peek());
    return Fail(Peek().offset, "\"" + keyword + "\" needs its condition in parentheses");
  }
  const Token& open = Take();
  if (IsTypeStart() && IsWord(1)) return Stop(open.offset, "a declaration in a condition");
  const NodeIndex condition = ReadExpression();
  if (Is(";") && (keyword == "if" || keyword == "switch")) return Stop(Peek().offset, "a statement in a condition");
  return ExpectClosing(")", open) ? condition : kNoNode;
}

NodeIndex Parser::ReadIf() {
  const Token& start = Take();
  const NodeIndex condition = ReadCondition();
  const NodeIndex statement = ReadSubStatement();
  NodeIndex other = kNoNode;
  if (!IsBroken() && TakeIf("else")) other = ReadSubStatement();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kIf, start.offset, "", {condition, statement, other});
}

NodeIndex Parser::ReadForStart() {
  const Token& start = Peek();
  if (TakeIf(";")) return kNoNode;
  if (IsTypeStart()) {
    const NodeIndex declaration = ReadDeclaration(0);
    if (Is(":")) return Stop(Peek().offset, "a loop over a range");
    return ExpectSemicolon() ? declaration : kNoNode;
  }
  if (IsWord() && IsWord(1) && !IsKnownName(start.text)) return FailUnknownType();
  const NodeIndex expression = ReadExpression();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kExpressionStatement, start.offset, "", {expression});
}

NodeIndex Parser::ReadFor() {
  const HiddenTypes hiddenTypes(*this);
  const Token& start = Take();
  const Token& open = Peek();
  if (!Is("(")) return Fail(open.offset, "\"for\" needs its three parts in parentheses");
  Take();
  const NodeIndex first = ReadForStart();
  if (IsBroken()) return kNoNode;
  const NodeIndex condition = Is(";") ? kNoNode : ReadExpression();
  if (Is(")")) return Fail(Peek().offset, "\"for\" needs three parts with \";\" between them");
  if (!ExpectSemicolon()) return kNoNode;
  const NodeIndex step = Is(")") ? kNoNode : ReadExpression();
  if (!ExpectClosing(")", open)) return kNoNode;
  const NodeIndex body = ReadSubStatement();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kFor, start.offset, "", {first, condition, step, body});
}

NodeIndex Parser::ReadWhile() {
  const Token& start = Take();
  const NodeIndex condition = ReadCondition();
  const NodeIndex body = ReadSubStatement();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kWhile, start.offset, "", {condition, body});
}

NodeIndex Parser::ReadDoWhile() {
  const Token& start = Take();
  const NodeIndex body = ReadSubStatement();
  if (IsBroken()) return kNoNode;
  if (!Is("while"))
    return Fail(Peek().offset, "the \"while\" of this \"do\" is missing here", {{start.offset, "\"do\""}});
  Take();
  const NodeIndex condition = ReadCondition();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kDoWhile, start.offset, "", {body, condition});
}

NodeIndex Parser::ReadSwitch() {
  const Token& start = Take();
  const NodeIndex value = ReadCondition();
  if (IsBroken()) return kNoNode;
  if (!Is("{")) return StopAt(Peek());
  const NodeIndex block = ReadBlock();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kSwitch, start.offset, "", {value, block});
}

NodeIndex Parser::ReadLabel() {
  const Token& start = Take();
  const Bool isCase = start.Is("case");
  const NodeIndex value = isCase ? ReadConditional() : kNoNode;
  if (!Expect(":")) return kNoNode;
  return isCase ? Add(NodeKind::kCase, start.offset, "", {value}) : Add(NodeKind::kDefault, start.offset, "", {});
}

NodeIndex Parser::ReadReturn() {
  const Token& start = Take();
  if (Is("{")) return Stop(start.offset, "a value in braces");
  const NodeIndex value = Is(";") ? kNoNode : ReadExpression();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kReturn, start.offset, "", {value});
}

NodeIndex Parser::ReadJump(NodeKind kind) {
  const Token& start = Take();
  return ExpectSemicolon() ? Add(kind, start.offset, "", {}) : kNoNode;
}

// GROUPSHAREDMEM(type, name, size), with or without a semicolon.
NodeIndex Parser::ReadSharedArray() {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  const NodeIndex type = ReadType();
  if (!Expect(",")) return kNoNode;
  const std::string_view name = ReadDeclaredName();
  if (!Expect(",")) return kNoNode;
  const NodeIndex size = ReadConditional();
  if (!Expect(")")) return kNoNode;
  TakeIf(";");
  return Add(NodeKind::kSharedArray, start.offset, name, {type, size});
}

NodeIndex Parser::ReadMakeLocal() {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  const std::string_view name = Peek().text;
  if (!IsWord()) return StopAt(Peek());
  Take();
  if (!Expect(",")) return kNoNode;
  const NodeIndex count = ReadConditional();
  if (!Expect(",")) return kNoNode;
  if (!IsWord()) return StopAt(Peek());
  const NodeIndex function = Add(NodeKind::kName, Peek().offset, Peek().text, {});
  Take();
  if (!Expect(")")) return kNoNode;
  TakeIf(";");
  return Add(NodeKind::kMakeLocal, start.offset, name, {count, function});
}

// PRINT("text", value...); and ASSERT(condition, "text");
NodeIndex Parser::ReadReport() {
  const Token& start = Take();
  const Token& open = Take();
  const Bool isPrint = start.Is("PRINT");
  std::string_view text;
  const auto readText = [&] {
    if (Peek().kind != TokenKind::kLiteral) return false;
    text = Take().text;
    return true;
  };
  Nodes children;
  if (isPrint) {
    if (!readText()) return Fail(Peek().offset, "PRINT begins with a text in quotes: PRINT(\"x = %v\", x)");
    while (!IsBroken() && TakeIf(",")) children.push_back(ReadAssignment());
  } else {
    children.push_back(ReadAssignment());
    if (!IsBroken() && TakeIf(",") && !readText())
      return Fail(Peek().offset,
                  "behind the condition ASSERT takes a text in quotes: ASSERT(x > 0, \"x is positive\")");
  }
  if (!ExpectClosing(")", open) || !ExpectSemicolon()) return kNoNode;
  return Add(isPrint ? NodeKind::kPrint : NodeKind::kAssert, start.offset, text, children);
}

NodeIndex Parser::ReadExpressionStatement() {
  const SourceOffset offset = Peek().offset;
  const NodeIndex expression = ReadExpression();
  if (!ExpectSemicolon()) return kNoNode;
  return Add(NodeKind::kExpressionStatement, offset, "", {expression});
}

}  // namespace ostra::kernellanguage
