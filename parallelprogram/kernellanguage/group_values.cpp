// Values that need no place for each invocation: counters of loops that the whole group runs, and what each piece
// computes again from the number of the invocation.
#include <algorithm>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/group_printer.h"
#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {
namespace {

// Longer expressions are kept.
constexpr int kMaxRepeatedNodes = 16;

}  // namespace

void GroupPrinter::FindChanges() {
  _changeCounts.assign(_tree.nodes.size(), 0);
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    for (const NodeIndex place : ListChangedPlaces(_tree, _resolved, node)) {
      const Meaning& meaning = _resolved.meaning[FindPlaceRoot(_tree, place)];
      if (meaning.kind == MeaningKind::kVariable) ++_changeCounts[meaning.target];
    }
  }
}

// Arithmetic of what `isKnown` answers true for, literals and uniforms. It has no side effects, no
// loops, and only literal divisors.
template <class IsKnown>
Bool GroupPrinter::IsArithmetic(NodeIndex node, int& nodesLeft, const IsKnown& isKnown) const {
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
      return operation != Operation::kIncrement && operation != Operation::kDecrement && areArithmetic(0);
    case NodeKind::kBinary: {
      const Bool isDivision = operation == Operation::kDivide || operation == Operation::kRemainder;
      LiteralValue divisor;
      const NodeIndex right = Child(node, 1);
      if (isDivision && (KindOf(right) != NodeKind::kLiteral || !ParseLiteral(NameOf(right), divisor) ||
                         !IsInteger(divisor.scalar) || divisor.integer == 0))
        return false;
      return areArithmetic(0);
    }
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      return _types.IsScalar(_resolved.type[node]) && _tree.GetChildren(node).size() == 2 && areArithmetic(1);
    default:
      return false;
  }
}

// Whether the expression is the same for the group, and what it names is known outside of pieces.
Bool GroupPrinter::IsShared(NodeIndex expression, NodeIndex own) const {
  int nodesLeft = kMaxRepeatedNodes;
  return IsArithmetic(expression, nodesLeft, [&](NodeIndex node) {
    const NodeIndex name = KindOf(node) == NodeKind::kMemberOf ? Child(node, 0) : node;
    if (KindOf(name) != NodeKind::kName) return false;
    const Meaning& meaning = _resolved.meaning[name];
    if (meaning.kind == MeaningKind::kWord)
      return name != node && (meaning.word == WordId::kWorkGroup || meaning.word == WordId::kWorkGroupSize);
    if (meaning.kind != MeaningKind::kVariable || name != node) return false;
    const auto known = _variables.find(meaning.target);
    return meaning.target == own || (known != _variables.end() && known->second.place == Place::kShared);
  });
}

// The counters: declared by a loop around a barrier, and changed by its step alone.
void GroupPrinter::FindShared(NodeIndex node) {
  if (node == kNoNode || IsExpression(KindOf(node)) || !_isCut[node]) return;
  const NodeIndex start = KindOf(node) == NodeKind::kFor ? Child(node, 0) : kNoNode;
  const NodeIndex step = KindOf(node) == NodeKind::kFor ? Child(node, 2) : kNoNode;
  if (start != kNoNode && step != kNoNode && KindOf(start) == NodeKind::kDeclaration &&
      _tree.GetChildren(start).size() == 1) {
    const NodeIndex variable = Child(start, 0), value = Child(variable, 2);
    const auto changed = ListChangedPlaces(_tree, _resolved, step);
    const Bool isStepped = changed.size() == 1 && KindOf(changed[0]) == NodeKind::kName &&
                           _resolved.meaning[changed[0]].target == variable && _changeCounts[variable] == 1;
    const Bool isAssigned = KindOf(step) == NodeKind::kAssign && IsShared(Child(step, 1), variable);
    const Bool isCounted = KindOf(step) == NodeKind::kPostfix || KindOf(step) == NodeKind::kUnary;
    if (isStepped && (isAssigned || isCounted) && value != kNoNode && IsShared(value, kNoNode) &&
        _types.IsScalar(_resolved.type[variable])) {
      _variables[variable] = {Place::kShared, 0};
      _order.push_back(variable);
    }
  }
  for (const NodeIndex child : _tree.GetChildren(node)) FindShared(child);
}

// Whether pieces may compute the variable again: a number that never changes, made of the numbers of the invocation and
// of variables that are declared before it and may be computed again themselves.
Bool GroupPrinter::CanBeRepeated(NodeIndex variable) const {
  const NodeIndex value = Child(variable, 2);
  if (value == kNoNode || _changeCounts[variable] != 0 || !_types.IsScalar(_resolved.type[variable])) return false;
  int nodesLeft = kMaxRepeatedNodes;
  return IsArithmetic(value, nodesLeft, [&](NodeIndex node) {
    const NodeIndex name = KindOf(node) == NodeKind::kMemberOf ? Child(node, 0) : node;
    if (KindOf(name) != NodeKind::kName) return false;
    const Meaning& meaning = _resolved.meaning[name];
    if (meaning.kind == MeaningKind::kWord)
      return name != node && (meaning.word == WordId::kGlobalInvocation || meaning.word == WordId::kLocalInvocation ||
                              meaning.word == WordId::kWorkGroup || meaning.word == WordId::kWorkGroupSize);
    if (meaning.kind != MeaningKind::kVariable || name != node) return false;
    const auto known = _variables.find(meaning.target);
    return known != _variables.end() && known->second.isRepeatable;
  });
}

// What the piece computes again, each variable behind those that it needs.
std::vector<NodeIndex> GroupPrinter::TakeRepeated() {
  std::vector<NodeIndex> repeated;
  for (std::size_t i = _order.size(); i-- > 0;) {
    const NodeIndex variable = _order[i];
    if (!_repeated.contains(variable)) continue;
    // Its value may add others.
    Expression(Child(variable, 2));
    repeated.push_back(variable);
  }
  _repeated.clear();
  std::reverse(repeated.begin(), repeated.end());
  return repeated;
}

}  // namespace ostra::kernellanguage
