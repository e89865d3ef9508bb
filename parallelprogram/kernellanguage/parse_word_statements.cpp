#include "parallelprogram/kernellanguage/parse_word_statements.h"

#include "parallelprogram/kernellanguage/parse_declarations.h"
#include "parallelprogram/kernellanguage/parse_expressions.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

NodeIndex ParseWordStatements::ReadWordStatement() {
  const Token& token = Peek();
  if (FindWordId(token.text) == WordId::kCpuScopeStart)
    return Stop(token.offset, "a part for the CPU only (CPU_SCOPE_START)");
  if (Is("GROUPSHAREDMEM")) return ReadSharedArray();
  if (Is("MAKELOCAL")) return ReadMakeLocal();
  if ((Is("PRINT") || Is("ASSERT")) && Is("(", 1) && !_names.IsDeclared(token.text)) return ReadReport();
  if (Is("KERNEL_RETURN")) return Stop(token.offset, "KERNEL_RETURN");
  if (Is("ADDNOISECALL") || Is("groupSharedBarrier")) return ReadMark();
  return ReadDeclaration();
}

NodeIndex ParseWordStatements::ReadMark() {
  const Token& token = Take();
  const Bool isBarrier = token.Is("groupSharedBarrier");
  if (isBarrier && !ExpectSemicolon()) return kNoNode;
  return Add(isBarrier ? NodeKind::kBarrier : NodeKind::kNoiseMark, token.offset, "", {});
}

// kNoNode when it is none.
NodeIndex ParseWordStatements::ReadDeclaration() {
  const SourceOffset offset = Peek().offset;
  const std::string_view first = Peek().text;
  UInt16 flags = 0;
  if (TakeIf("ATOMIC")) flags |= kIsAtomic;
  if (Is("static") && (Is("const", 1) || Is("constexpr", 1))) Take();
  if (TakeIf("constexpr")) flags |= kIsConst;
  const Bool isDeclaration = _types.IsTypeStart() && !Is("(", 1) && !Is("::", 1) && !Is("{", 1);
  if (isDeclaration) {
    const NodeIndex declaration = _declarations.ReadDeclaration(flags);
    return ExpectSemicolon() ? declaration : kNoNode;
  }
  if (flags != 0) return StopHere();
  if (_types.IsTypeStart()) return Stop(offset, "a type where a statement begins");
  if (IsWord(1) && !_names.IsKnown(first)) return _unknownTypes.FailUnknownType();
  return kNoNode;
}

// GROUPSHAREDMEM(type, name, size), with or without a semicolon.
NodeIndex ParseWordStatements::ReadSharedArray() {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  const NodeIndex type = _types.ReadType();
  if (!Expect(",")) return kNoNode;
  const std::string_view name = _declarations.ReadName();
  if (!Expect(",")) return kNoNode;
  const NodeIndex size = _expressions.ReadConditional();
  if (!Expect(")")) return kNoNode;
  TakeIf(";");
  return Add(NodeKind::kSharedArray, start.offset, name, {type, size});
}

NodeIndex ParseWordStatements::ReadMakeLocal() {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  const std::string_view name = Peek().text;
  if (!IsWord()) return StopHere();
  Take();
  if (!Expect(",")) return kNoNode;
  const NodeIndex count = _expressions.ReadConditional();
  if (!Expect(",")) return kNoNode;
  if (!IsWord()) return StopHere();
  const NodeIndex function = Add(NodeKind::kName, Peek().offset, Peek().text, {});
  Take();
  if (!Expect(")")) return kNoNode;
  TakeIf(";");
  return Add(NodeKind::kMakeLocal, start.offset, name, {count, function});
}

// PRINT("text", value...); and ASSERT(condition, "text");
NodeIndex ParseWordStatements::ReadReport() {
  const Token& start = Take();
  const Token& open = Take();
  const Bool isPrint = start.Is("PRINT");
  std::string_view text;
  const auto readText = [&] {
    if (Peek().kind != TokenKind::kLiteral) return false;
    text = Take().text;
    return true;
  };
  NodeList children;
  if (isPrint) {
    if (!readText()) return Fail(Peek().offset, "PRINT begins with a text in quotes: PRINT(\"x = %v\", x)");
    while (!IsBroken() && TakeIf(",")) children.push_back(_expressions.ReadAssignment());
  } else {
    children.push_back(_expressions.ReadAssignment());
    if (!IsBroken() && TakeIf(",") && !readText())
      return Fail(Peek().offset,
                  "behind the condition ASSERT takes a text in quotes: ASSERT(x > 0, \"x is positive\")");
  }
  if (!ExpectClosing(")", open) || !ExpectSemicolon()) return kNoNode;
  return Add(isPrint ? NodeKind::kPrint : NodeKind::kAssert, start.offset, text, children);
}

}  // namespace ostra::kernellanguage
