#include "parallelprogram/kernellanguage/group_values.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {
namespace {

// Longer expressions are kept.
constexpr int kMaxRepeatedNodes = 16;

}  // namespace

GroupValues::GroupValues(const GroupKernel& kernel, GroupVariables& variables)
    : GroupQuery(kernel), _variables(variables) {
  CountChanges();
  DeclareCounters(kernel.body, variables);
}

void GroupValues::CountChanges() {
  _changeCounts.assign(_tree.nodes.size(), 0);
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    for (const NodeIndex place : ListChangedPlaces(_tree, _resolved, node)) {
      const Meaning& meaning = MeaningOf(FindPlaceRoot(_tree, place));
      if (meaning.kind == MeaningKind::kVariable) ++_changeCounts[meaning.target];
    }
  }
}

Bool GroupValues::IsConstant(NodeIndex expression) const {
  const NodeKind kind = KindOf(expression);
  if (kind == NodeKind::kLiteral || kind == NodeKind::kType) return true;
  if (kind == NodeKind::kName) return _variables.IsAt(MeaningOf(expression).target, GroupPlace::kConstant);
  if (kind != NodeKind::kUnary && kind != NodeKind::kBinary && kind != NodeKind::kConstruct && kind != NodeKind::kCast)
    return false;
  const Operation operation = _tree.nodes[expression].operation;
  if (IsStep(operation)) return false;
  const auto children = _tree.GetChildren(expression);
  return std::all_of(children.begin(), children.end(), [this](NodeIndex child) { return IsConstant(child); });
}

// Arithmetic of what `isKnown` answers true for, literals and uniforms. It has no side effects, no
// loops, and only literal divisors.
template <class IsKnown>
Bool GroupValues::IsArithmetic(NodeIndex node, int& nodesLeft, const IsKnown& isKnown) const {
  if (--nodesLeft < 0) return false;
  const auto areArithmetic = [&](std::size_t first) {
    const auto children = _tree.GetChildren(node).subspan(first);
    return std::all_of(children.begin(), children.end(),
                       [&](NodeIndex child) { return IsArithmetic(child, nodesLeft, isKnown); });
  };
  const Operation operation = _tree.nodes[node].operation;
  switch (KindOf(node)) {
    case NodeKind::kLiteral:
    case NodeKind::kUniform:
      return true;
    case NodeKind::kName:
    case NodeKind::kMemberOf:
      return isKnown(node);
    case NodeKind::kUnary:
      return !IsStep(operation) && areArithmetic(0);
    case NodeKind::kBinary:
      return IsQuotientSafe(node) && areArithmetic(0);
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      return _types.IsScalar(TypeOf(node)) && _tree.GetChildren(node).size() == 2 && areArithmetic(1);
    default:
      return false;
  }
}

// Of operators that do not divide as well.
Bool GroupValues::IsQuotientSafe(NodeIndex node) const {
  const Operation operation = _tree.nodes[node].operation;
  if (operation != Operation::kDivide && operation != Operation::kRemainder) return true;
  const NodeIndex right = Child(node, 1);
  LiteralValue divisor;
  return KindOf(right) == NodeKind::kLiteral && ParseLiteral(NameOf(right), divisor) && IsInteger(divisor.scalar) &&
         divisor.integer != 0;
}

Bool GroupValues::IsShared(NodeIndex expression, NodeIndex own) const {
  int nodesLeft = kMaxRepeatedNodes;
  return IsArithmetic(expression, nodesLeft, [&](NodeIndex node) {
    const NodeIndex name = KindOf(node) == NodeKind::kMemberOf ? Child(node, 0) : node;
    if (KindOf(name) != NodeKind::kName) return false;
    const Meaning& meaning = MeaningOf(name);
    if (meaning.kind == MeaningKind::kWord)
      return name != node && (meaning.word == WordId::kWorkGroup || meaning.word == WordId::kWorkGroupSize);
    if (meaning.kind != MeaningKind::kVariable || name != node) return false;
    return meaning.target == own || _variables.IsAt(meaning.target, GroupPlace::kShared);
  });
}

Bool GroupValues::CanBeRepeated(NodeIndex variable) const {
  const NodeIndex value = Child(variable, 2);
  if (value == kNoNode || _changeCounts[variable] != 0 || !_types.IsScalar(TypeOf(variable))) return false;
  int nodesLeft = kMaxRepeatedNodes;
  return IsArithmetic(value, nodesLeft, [&](NodeIndex node) {
    const NodeIndex name = KindOf(node) == NodeKind::kMemberOf ? Child(node, 0) : node;
    if (KindOf(name) != NodeKind::kName) return false;
    const Meaning& meaning = MeaningOf(name);
    if (meaning.kind == MeaningKind::kWord)
      return name != node && (meaning.word == WordId::kGlobalInvocation || meaning.word == WordId::kLocalInvocation ||
                              meaning.word == WordId::kWorkGroup || meaning.word == WordId::kWorkGroupSize);
    return meaning.kind == MeaningKind::kVariable && name == node && _variables.IsRepeatable(meaning.target);
  });
}

// The counters: declared by a loop around a barrier, and changed by its step alone.
void GroupValues::DeclareCounters(NodeIndex statement, GroupVariables& variables) const {
  if (statement == kNoNode || IsExpression(KindOf(statement)) || !_kernel.isCut[statement]) return;
  const Bool isFor = KindOf(statement) == NodeKind::kFor;
  const NodeIndex start = isFor ? Child(statement, 0) : kNoNode, step = isFor ? Child(statement, 2) : kNoNode;
  if (step != kNoNode && _tree.Is(start, NodeKind::kDeclaration) && _tree.GetChildren(start).size() == 1 &&
      IsCounter(Child(start, 0), step))
    variables.DeclareShared(Child(start, 0));
  for (const NodeIndex child : _tree.GetChildren(statement)) DeclareCounters(child, variables);
}

Bool GroupValues::IsCounter(NodeIndex variable, NodeIndex step) const {
  const NodeIndex value = Child(variable, 2);
  const auto changed = ListChangedPlaces(_tree, _resolved, step);
  const Bool isStepped = changed.size() == 1 && KindOf(changed[0]) == NodeKind::kName &&
                         MeaningOf(changed[0]).target == variable && _changeCounts[variable] == 1;
  const Bool isAssigned = KindOf(step) == NodeKind::kAssign && IsShared(Child(step, 1), variable);
  const Bool isCounted = KindOf(step) == NodeKind::kPostfix || KindOf(step) == NodeKind::kUnary;
  return isStepped && (isAssigned || isCounted) && value != kNoNode && IsShared(value) &&
         _types.IsScalar(TypeOf(variable));
}

}  // namespace ostra::kernellanguage
