#include "parallelprogram/kernellanguage/resolve_variables.h"

#include <algorithm>

namespace ostra::kernellanguage {

void ResolveVariables::ReadDeclaration(NodeIndex statement) {
  for (const NodeIndex variable : _tree.GetChildren(statement)) {
    if (!IsStopped()) ReadVariable(variable);
  }
}

void ResolveVariables::ReadVariable(NodeIndex variable) {
  const NodeIndex typeNode = Child(variable, 0), value = Child(variable, 2);
  const TypeIndex element = _uses.types.ReadType(typeNode);
  if (IsStopped()) return;
  if (element == kVoidType) {
    Fail(variable, Join({"\"", NameOf(variable), "\" cannot be of type void"}));
    return;
  }
  if (element == kGradientType || element == kCounterType) {
    Stop(typeNode, "a variable of this type");
    return;
  }
  const TypeIndex type = _uses.types.ReadArray(element, Child(variable, 1), value);
  if (IsStopped()) return;
  SetType(variable, type);
  // In C++ a name is known in its own initial value.
  _uses.names.Declare(variable);
  if (value != kNoNode) return ReadValue(variable, type, value);
  if (_tree.HasFlag(variable, kIsConst)) Stop(variable, "a constant without a value");
}

void ResolveVariables::ReadValue(NodeIndex variable, TypeIndex type, NodeIndex value) {
  if (_tree.Is(value, NodeKind::kInitializerList)) return _uses.lists.ReadList(value, type);
  const TypeIndex given = _uses.expressions.Expression(value);
  if (given == kUnknownType || IsStopped()) return;
  if (Get(type).kind == TypeKind::kArray) {
    Stop(value, "a value of this kind for an array");
    return;
  }
  if (!_uses.conversions.Convert(value, type, Join({"\"", NameOf(variable), "\""}))) return;
  if (_tree.HasFlag(variable, kIsConst) && IsScalar(type) && IsInteger(Get(type).scalar)) {
    if (const auto number = _uses.constants.Evaluate(value)) _uses.constants.Add(variable, *number);
  }
}

Bool ResolveVariables::HasParentheses(NodeIndex size) const {
  if (_tree.HasFlag(size, kIsParenthesized)) return true;
  const auto children = _tree.GetChildren(size);
  return std::any_of(children.begin(), children.end(), [this](NodeIndex child) { return HasParentheses(child); });
}

void ResolveVariables::ReadSharedArray(NodeIndex node) {
  const TypeIndex element = _uses.types.ReadType(Child(node, 0));
  if (IsStopped()) return;
  const auto count = _uses.constants.Evaluate(Child(node, 1));
  if (!count || *count < 1 || element == kVoidType || element == kGradientType || element == kCounterType) {
    Stop(node, "this array in group memory");
    return;
  }
  _uses.expressions.Expression(Child(node, 1));
  if (HasParentheses(Child(node, 1))) Extend(node, true);
  SetType(node, _resolved.types.GetArray(element, static_cast<UInt32>(*count)));
  _uses.types.CheckTypeCount(node);
  _uses.names.Declare(node);
}

}  // namespace ostra::kernellanguage
