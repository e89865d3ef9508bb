#include "parallelprogram/kernellanguage/resolve_statements.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/report_text.h"

namespace ostra::kernellanguage {

void ResolveStatements::ReadBody(NodeIndex block, TypeIndex returnType) {
  _returnType = returnType;
  ReadStatements(block);
}

void ResolveStatements::ReadStatements(NodeIndex block) {
  for (const NodeIndex statement : _tree.GetChildren(block)) {
    if (IsStopped()) return;
    ReadStatement(statement);
  }
}

void ResolveStatements::ReadInScope(NodeIndex statement) {
  _uses.names.OpenScope();
  ReadStatement(statement);
  _uses.names.CloseScope();
}

void ResolveStatements::ReadStatement(NodeIndex node) {
  if (node == kNoNode || IsStopped()) return;
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      _uses.names.OpenScope();
      ReadStatements(node);
      _uses.names.CloseScope();
      return;
    case NodeKind::kDeclaration:
      _uses.groupCalls.FindCalls(node);
      return _uses.variables.ReadDeclaration(node);
    case NodeKind::kExpressionStatement:
      _uses.groupCalls.FindCalls(Child(node, 0));
      _uses.expressions.Expression(Child(node, 0));
      return;
    case NodeKind::kIf:
      return If(node);
    case NodeKind::kFor:
      return For(node);
    case NodeKind::kWhile:
      _uses.expressions.Condition(Child(node, 0));
      return ReadInScope(Child(node, 1));
    case NodeKind::kDoWhile:
      ReadInScope(Child(node, 0));
      return _uses.expressions.Condition(Child(node, 1));
    case NodeKind::kSwitch:
      return Switch(node);
    case NodeKind::kCase:
      return Case(node);
    case NodeKind::kReturn:
      return Return(node);
    case NodeKind::kSharedArray:
      return _uses.variables.ReadSharedArray(node);
    default:
      return ReadWord(node);
  }
}

// Statements that are words of the language.
void ResolveStatements::ReadWord(NodeIndex node) {
  switch (KindOf(node)) {
    case NodeKind::kPrint:
      return Print(node);
    case NodeKind::kAssert:
      return Assert(node);
    case NodeKind::kBarrier:
      _resolved.usesBarrier = true;
      return;
    case NodeKind::kNoiseMark:
      _resolved.usesNoise = true;
      return;
    default:
      return;
  }
}

void ResolveStatements::If(NodeIndex node) {
  _uses.expressions.Condition(Child(node, 0));
  ReadInScope(Child(node, 1));
  ReadInScope(Child(node, 2));
}

void ResolveStatements::For(NodeIndex node) {
  const NodeIndex condition = Child(node, 1), step = Child(node, 2);
  _uses.names.OpenScope();
  ReadStatement(Child(node, 0));
  if (condition != kNoNode) _uses.expressions.Condition(condition);
  if (step != kNoNode && !IsStopped()) _uses.expressions.Expression(step);
  ReadInScope(Child(node, 3));
  _uses.names.CloseScope();
}

void ResolveStatements::Switch(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  const TypeIndex type = _uses.expressions.Expression(value);
  if (IsStopped()) return;
  if (type != kUnknownType) {
    const Bool isInteger = IsScalar(type) && IsInteger(Get(type).scalar);
    if (type == kHalfType) {
      Stop(value, "a switch over a half");
    } else if (!isInteger) {
      Fail(value, Join({"a switch needs a whole number, not a ", TypeName(type)}));
    } else {
      SetConverted(value, GetScalarType(GetSize(Get(type).scalar) < 4 ? Scalar::kInt32 : Get(type).scalar));
    }
  }
  ReadStatement(Child(node, 1));
}

// The first name in an expression that is no constant; kNoNode: there is none.
NodeIndex ResolveStatements::FindChanging(NodeIndex expression) const {
  const Meaning& meaning = _resolved.meaning[expression];
  const Bool isVariable = _tree.Is(expression, NodeKind::kName) && meaning.kind == MeaningKind::kVariable;
  if (isVariable && !_tree.HasFlag(meaning.target, kIsConst)) return expression;
  if (_tree.Is(expression, NodeKind::kUniform)) return expression;
  for (const NodeIndex child : _tree.GetChildren(expression)) {
    const NodeIndex found = child == kNoNode ? kNoNode : FindChanging(child);
    if (found != kNoNode) return found;
  }
  return kNoNode;
}

void ResolveStatements::Case(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  const TypeIndex type = _uses.expressions.Expression(value);
  if (type == kUnknownType || IsStopped()) return;
  if (const NodeIndex changing = FindChanging(value); changing != kNoNode)
    Fail(changing, Join({"a case needs a number that is known, and \"", NameOf(changing), "\" may change"}));
  else if (!_uses.constants.Evaluate(value) || !IsScalar(type))
    Stop(value, "this value of a case");
}

void ResolveStatements::Return(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  if (value == kNoNode) {
    if (_returnType != kVoidType) Fail(node, Join({"this function must return a ", TypeName(_returnType)}));
    return;
  }
  const TypeIndex type = _uses.expressions.Expression(value);
  if (type == kUnknownType || IsStopped()) return;
  if (_returnType == kVoidType) {
    if (type == kVoidType)
      Stop(node, "the result of a function without one");
    else
      Fail(value, _uses.names.IsInKernel() ? "a kernel returns no value" : "a void function returns no value");
    return;
  }
  _uses.conversions.Convert(value, _returnType, "the result of this function");
}

void ResolveStatements::CheckReportText(NodeIndex node, std::size_t count) {
  const std::string_view word = _tree.Is(node, NodeKind::kPrint) ? "PRINT" : "ASSERT";
  if (std::string mistake = FindReportTextMistake(NameOf(node), word, count); !mistake.empty())
    Fail(node, std::move(mistake));
}

void ResolveStatements::Print(NodeIndex node) {
  std::size_t words = 0;
  for (const NodeIndex value : _tree.GetChildren(node)) {
    const TypeIndex type = _uses.expressions.Expression(value);
    if (type == kUnknownType || IsStopped()) return;
    const Bool isShown = IsScalar(type) || IsVector(type) || Get(type).kind == TypeKind::kMatrix;
    if (!isShown) {
      Fail(value, Join({"PRINT shows numbers, bools, vectors and matrices, not a ", TypeName(type)}));
      return;
    }
    const UInt32 count = std::max<UInt32>(Get(type).count, 1);
    words += (IsMatrix(type) ? count * count : count) * (GetSize(Get(type).scalar) > 4 ? 2 : 1);
  }
  if (words > kMaxPrintedNumbers) {
    Fail(node, Join({"a PRINT shows ", std::to_string(kMaxPrintedNumbers), " numbers at most, and this one ",
                     std::to_string(words)}));
    return;
  }
  CheckReportText(node, _tree.GetChildren(node).size());
  Extend(node);
}

void ResolveStatements::Assert(NodeIndex node) {
  _uses.expressions.Condition(Child(node, 0));
  if (!IsStopped()) CheckReportText(node, 0);
  Extend(node);
}

}  // namespace ostra::kernellanguage
