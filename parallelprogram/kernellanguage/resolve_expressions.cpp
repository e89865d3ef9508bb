#include "parallelprogram/kernellanguage/resolve_expressions.h"

#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/operations.h"
#include "parallelprogram/kernellanguage/resolve_assignments.h"
#include "parallelprogram/kernellanguage/resolve_calls.h"
#include "parallelprogram/kernellanguage/resolve_construction.h"
#include "parallelprogram/kernellanguage/resolve_members.h"
#include "parallelprogram/kernellanguage/resolve_operators.h"
#include "parallelprogram/kernellanguage/resolve_parameter_words.h"

namespace ostra::kernellanguage {

TypeIndex ResolveExpressions::Expression(NodeIndex node) {
  if (IsStopped()) return kUnknownType;
  const TypeIndex type = ExpressionItself(node);
  SetType(node, type);
  return type;
}

TypeIndex ResolveExpressions::ExpressionItself(NodeIndex node) {
  switch (KindOf(node)) {
    case NodeKind::kLiteral:
      return Literal(node);
    case NodeKind::kName:
      return Name(node);
    case NodeKind::kUniform:
    case NodeKind::kBuffer:
      return _uses.parameterWords.ParameterWord(node);
    case NodeKind::kLocalData:
      return _uses.parameterWords.LocalData(node);
    case NodeKind::kUnary:
    case NodeKind::kPostfix:
      return IsStep(OperationOf(node)) ? _uses.assignments.Step(node) : _uses.operators.Unary(node);
    case NodeKind::kBinary:
      return _uses.operators.Binary(node);
    case NodeKind::kAssign:
      return _uses.assignments.Assign(node);
    case NodeKind::kConditional:
      return _uses.operators.Conditional(node);
    case NodeKind::kComma:
      Expression(Child(node, 0));
      return Expression(Child(node, 1));
    case NodeKind::kCall:
      return _uses.calls.Call(node);
    case NodeKind::kConstruct:
      return _uses.construction.Construct(node);
    case NodeKind::kCast:
      return _uses.construction.Cast(node);
    case NodeKind::kMemberOf:
      return _uses.members.MemberOf(node);
    case NodeKind::kIndex:
      return _uses.members.Index(node);
    default:
      return Stop(node, "this expression");
  }
}

TypeList ResolveExpressions::ReadArguments(std::span<const NodeIndex> arguments, Bool& isKnown) {
  TypeList types;
  isKnown = true;
  for (const NodeIndex argument : arguments) {
    types.push_back(Expression(argument));
    isKnown = isKnown && types.back() != kUnknownType && !IsStopped();
  }
  return types;
}

void ResolveExpressions::Condition(NodeIndex expression) {
  const TypeIndex type = Expression(expression);
  if (type == kUnknownType || IsStopped()) return;
  if (!IsScalar(type)) {
    Fail(expression, Join({"a condition must be a bool or a number, not a ", TypeName(type)}));
    return;
  }
  SetConverted(expression, kBoolType);
}

TypeIndex ResolveExpressions::Literal(NodeIndex node) {
  LiteralValue value;
  if (!ParseLiteral(NameOf(node), value)) return Stop(node, Join({"the number ", NameOf(node)}));
  // Shading languages write these differently, or not at all.
  if (value.scalar == Scalar::kInt64 || value.scalar == Scalar::kUInt64) Extend(node, true);
  return GetScalarType(value.scalar);
}

TypeIndex ResolveExpressions::Name(NodeIndex node) {
  if (const NodeIndex variable = _uses.names.FindVariable(node); variable != kNoNode) {
    _resolved.meaning[node] = {.kind = MeaningKind::kVariable, .target = variable};
    _resolved.isPlace[node] = true;
    return _resolved.type[variable];
  }
  const std::string_view name = NameOf(node);
  if (!_uses.names.FindFunctions(name).empty()) return Stop(node, "a function without its arguments");
  const Word* word = FindWord(name);
  if (word && word->kind == WordKind::kValue) {
    if (!_uses.names.IsInKernel()) return Stop(node, Join({name, " outside of the kernel's body"}));
    SetWord(node, word->id);
    _resolved.isPlace[node] = true;
    return GetVectorType(Scalar::kUInt32, 3);
  }
  if (const NodeIndex parameter = _uses.names.FindParameter(name); parameter != kNoNode)
    return _uses.parameterWords.BareName(node, parameter);
  if (word) return Stop(node, Join({"this use of \"", name, "\""}));
  return _uses.unknownNames.FailName(node, false);
}

}  // namespace ostra::kernellanguage
