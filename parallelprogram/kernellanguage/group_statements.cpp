#include "parallelprogram/kernellanguage/group_statements.h"

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

void GroupStatements::Statement(NodeIndex node) {
  if (node == kNoNode || _output.GetRefusal()) return;
  _output.MarkLine(node);
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      Line({"{"});
      for (const NodeIndex statement : _tree.GetChildren(node)) Statement(statement);
      return Line({"}"});
    case NodeKind::kDeclaration:
      return Declaration(node);
    case NodeKind::kExpressionStatement:
      return Line({_expressions.Expression(Child(node, 0)), ";"});
    case NodeKind::kIf:
      return If(node);
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      return Loop(node);
    case NodeKind::kSwitch:
      Line({"switch (", _expressions.Expression(Child(node, 0)), ")"});
      return Statement(Child(node, 1));
    case NodeKind::kCase:
      return Line({"case ", _expressions.Expression(Child(node, 0)), ":;"});
    case NodeKind::kDefault:
      return Line({"default:;"});
    case NodeKind::kBreak:
      return Line({"break;"});
    case NodeKind::kContinue:
      return Line({"continue;"});
    case NodeKind::kReturn:
      return Return();
    case NodeKind::kEmpty:
    case NodeKind::kNoiseMark:
    case NodeKind::kSharedArray:
    case NodeKind::kMakeLocal:  // LOCALDATA reads the buffer itself
      return;
    default:
      return _output.Refuse(node, Join({"\"", GetKindName(KindOf(node)), "\""}));
  }
}

// Of the piece, behind which no barrier comes.
void GroupStatements::Return() {
  Line({_kernel.earlyReturn == kNoNode ? "" : "ostraMemory.ostraHasReturned[ostraNumber] = true; ", "return;"});
}

void GroupStatements::Declaration(NodeIndex node) {
  for (const NodeIndex variable : _tree.GetChildren(node)) {
    if (!HasTypeName(variable)) return;
    const std::string_view qualifier = _tree.HasFlag(variable, kIsConst) ? "const " : "";
    Line({"[[maybe_unused]] ", qualifier, _expressions.Variable(variable, NameOf(variable)), ";"});
  }
}

void GroupStatements::If(NodeIndex node) {
  Line({"if (", _expressions.Condition(Child(node, 0)), ") {"});
  Statement(Child(node, 1));
  if (Child(node, 2) != kNoNode) {
    Line({"} else {"});
    Statement(Child(node, 2));
  }
  Line({"}"});
}

void GroupStatements::Loop(NodeIndex node) {
  const LoopParts loop = GetLoopParts(_tree, node);
  if (KindOf(node) == NodeKind::kDoWhile) {
    Line({"do {"});
    Statement(loop.body);
    return Line({"} while (", _expressions.Condition(loop.condition), ");"});
  }
  if (KindOf(node) == NodeKind::kWhile) {
    Line({"while (", _expressions.Condition(loop.condition), ") {"});
    Statement(loop.body);
    return Line({"}"});
  }
  const auto text = [&](NodeIndex part) { return part == kNoNode ? "" : _expressions.Expression(part); };
  Line({"{"});
  Statement(loop.start);
  Line({"for (; ", text(loop.condition), "; ", text(loop.step), ") {"});
  Statement(loop.body);
  Line({"} }"});
}

void GroupStatements::Declare(NodeIndex variable) {
  const NodeIndex value = Child(variable, 2);
  if (_variables.Declare(variable)) {
    const Bool isNumber = _tree.HasFlag(variable, kIsConst) && _types.IsScalar(TypeOf(variable)) && value != kNoNode;
    if (isNumber && _values.IsConstant(value)) _variables.SetPlace(variable, GroupPlace::kConstant);
    if (_values.CanBeRepeated(variable)) _variables.SetRepeatable(variable);
  }
  if (!HasTypeName(variable)) return;
  const std::string name = _kernel.GetUniqueName(variable);
  if (_variables.IsAt(variable, GroupPlace::kConstant))
    return _output.AddConstant({"[[maybe_unused]] const ", _expressions.Variable(variable, name), ";\n"});
  if (_variables.IsAt(variable, GroupPlace::kRepeated)) return;
  _output.MarkLine(variable);
  if (_variables.IsAt(variable, GroupPlace::kPiece))
    return Line({"[[maybe_unused]] ", _expressions.Variable(variable, name), ";"});
  if (value != kNoNode) StoreKept(variable);
}

void GroupStatements::StoreKept(NodeIndex variable) {
  const NodeIndex value = Child(variable, 2);
  const TypeIndex type = TypeOf(variable);
  const std::string kept = Join({"ostraMemory.", _kernel.GetUniqueName(variable), "[ostraNumber]"});
  if (_types[type].kind == TypeKind::kArray)
    return Line(
        {"{ const ", _expressions.Variable(variable, "ostraValues"), "; CopyArray(", kept, ", ostraValues); }"});
  const Bool isList = KindOf(value) == NodeKind::kInitializerList;
  Line({kept, " = ", isList ? _kernel.GetTypeName(type) : "", _expressions.Expression(value), ";"});
}

Bool GroupStatements::HasTypeName(NodeIndex variable) {
  const TypeIndex type = TypeOf(variable);
  if (!_kernel.GetTypeName(type).empty()) return true;
  _output.Refuse(variable, Join({"a variable of type ", _types.GetName(type)}));
  return false;
}

}  // namespace ostra::kernellanguage
