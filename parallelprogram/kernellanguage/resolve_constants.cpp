#include "parallelprogram/kernellanguage/resolve_constants.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {
namespace {

constexpr Int64 kMaxInt = 0x7fffffff;

// Nothing for other operations and divisions by 0. The operands are ints, so nothing overflows.
std::optional<Int64> Compute(Operation operation, Int64 left, Int64 right) {
  switch (operation) {
    case Operation::kAdd:
      return left + right;
    case Operation::kSubtract:
      return left - right;
    case Operation::kMultiply:
      return left * right;
    case Operation::kDivide:
      return right == 0 ? std::nullopt : std::optional<Int64>(left / right);
    case Operation::kRemainder:
      return right == 0 ? std::nullopt : std::optional<Int64>(left % right);
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<Int64> ResolveConstants::EvaluateLiteral(NodeIndex literal) const {
  LiteralValue value;
  if (!ParseLiteral(_tree.GetName(literal), value) || !IsInteger(value.scalar) || value.integer > kMaxInt) return {};
  return static_cast<Int64>(value.integer);
}

std::optional<Int64> ResolveConstants::Evaluate(NodeIndex expression) const {
  const Node& node = _tree.nodes[expression];
  if (node.kind == NodeKind::kLiteral) return EvaluateLiteral(expression);
  if (node.kind == NodeKind::kName) {
    const auto found = _values.find(_names.FindVariable(expression));
    return found == _values.end() ? std::optional<Int64>() : found->second;
  }
  if (node.kind == NodeKind::kUnary && node.operation == Operation::kMinus) {
    const auto value = Evaluate(_tree.GetChild(expression, 0));
    return value ? std::optional<Int64>(-*value) : std::nullopt;
  }
  if (node.kind != NodeKind::kBinary) return {};
  const auto left = Evaluate(_tree.GetChild(expression, 0)), right = Evaluate(_tree.GetChild(expression, 1));
  if (!left || !right) return {};
  const auto result = Compute(node.operation, *left, *right);
  // As an int computes it, or not at all.
  return result && *result <= kMaxInt && *result >= -kMaxInt ? result : std::nullopt;
}

Bool ResolveConstants::IsComputed(NodeIndex expression) const {
  const NodeKind kind = _tree.nodes[expression].kind;
  if (kind == NodeKind::kUniform || kind == NodeKind::kBuffer) return true;
  if (kind == NodeKind::kName) {
    const NodeIndex variable = _names.FindVariable(expression);
    return variable != kNoNode && !_tree.HasFlag(variable, kIsConst);
  }
  const auto children = _tree.GetChildren(expression);
  return std::any_of(children.begin(), children.end(),
                     [this](NodeIndex child) { return child != kNoNode && IsComputed(child); });
}

}  // namespace ostra::kernellanguage
