#include "parallelprogram/kernellanguage/remainders.h"

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {
namespace {

// Work groups have no more invocations in each direction. Numbers in whole dispatches may have all 32 bits.
constexpr UInt64 kGreatestLocal = 65535;

UInt64 GetGreatest(Scalar scalar) {
  if (scalar == Scalar::kBool) return 1;
  return ~UInt64{0} >> (64 - 8 * GetSize(scalar) + (IsSignedInteger(scalar) ? 1 : 0));
}

// What a number of an integer type cannot exceed, and that it is not negative; nothing where it may be.
using Bound = std::optional<UInt64>;

// Of a number that is converted to `scalar`.
Bound Convert(Bound bound, Scalar scalar) {
  const UInt64 greatest = GetGreatest(scalar);
  if (bound && *bound <= greatest) return bound;
  return IsSignedInteger(scalar) ? Bound() : greatest;
}

Bound Add(UInt64 a, UInt64 b) { return a > ~UInt64{0} - b ? Bound() : a + b; }
Bound Multiply(UInt64 a, UInt64 b) { return b != 0 && a > ~UInt64{0} / b ? Bound() : a * b; }

class RemainderReader {
 public:
  RemainderReader(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  std::set<NodeIndex> Find() {
    FindChanges();
    FindCounters();
    // Children come before their parents, and variables before what names them.
    _bounds.resize(_tree.nodes.size());
    for (NodeIndex node = 0; node < _tree.nodes.size(); ++node)
      if (IsWhole(node)) _bounds[node] = Convert(FindBound(node), TypeOf(node).scalar);
    std::set<NodeIndex> open;
    for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
      if (IsSignedRemainder(node) && !(Wanted(Child(node, 0)) && Wanted(Child(node, 1)))) open.insert(node);
      if (_tree.Is(node, NodeKind::kCase)) EraseAll(Child(node, 0), open);
    }
    return open;
  }

 private:
  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  Operation OperationOf(NodeIndex node) const { return _tree.nodes[node].operation; }
  const Type& TypeOf(NodeIndex node) const { return _resolved.types[_resolved.type[node]]; }
  Bool IsWhole(NodeIndex node) const {
    return TypeOf(node).kind == TypeKind::kScalar && IsInteger(TypeOf(node).scalar);
  }

  void EraseAll(NodeIndex node, std::set<NodeIndex>& open) const {
    if (node == kNoNode) return;
    open.erase(node);
    for (const NodeIndex child : _tree.GetChildren(node)) EraseAll(child, open);
  }

  Bool IsSignedRemainder(NodeIndex node) const {
    if (!_tree.Is(node, NodeKind::kBinary) && !_tree.Is(node, NodeKind::kAssign)) return false;
    if (OperationOf(node) != Operation::kRemainder) return false;
    return IsSignedInteger(_resolved.types[_resolved.converted[Child(node, 1)]].scalar);
  }

  // The variable that a place is or is a part of; kNoNode: none.
  NodeIndex FindVariable(NodeIndex place) const {
    const NodeIndex root = FindPlaceRoot(_tree, place);
    return _tree.Is(root, NodeKind::kName) ? _resolved.meaning[root].target : kNoNode;
  }

  // How often each variable is changed after its declaration.
  void FindChanges() {
    for (NodeIndex node = 0; node < _tree.nodes.size(); ++node)
      for (const NodeIndex place : ListChangedPlaces(_tree, _resolved, node)) ++_changes[FindVariable(place)];
  }

  Bound FindLiteral(NodeIndex node) const {
    LiteralValue value;
    if (!_tree.Is(node, NodeKind::kLiteral) || !ParseLiteral(_tree.GetName(node), value)) return std::nullopt;
    return IsInteger(value.scalar) ? Bound(value.integer) : std::nullopt;
  }

  // By how much the step of a loop makes `variable` grow: ++k, k += 2, k = k + 2.
  Bound FindGrowth(NodeIndex step, NodeIndex variable) const {
    if (step == kNoNode || FindVariable(Child(step, 0)) != variable) return std::nullopt;
    if (OperationOf(step) == Operation::kIncrement) return 1;
    if (!_tree.Is(step, NodeKind::kAssign)) return std::nullopt;
    NodeIndex value = Child(step, 1);
    if (OperationOf(step) == Operation::kAdd) return FindLiteral(value);
    const Bool isSum = OperationOf(step) == Operation::kNone && _tree.Is(value, NodeKind::kBinary) &&
                       OperationOf(value) == Operation::kAdd && FindVariable(Child(value, 0)) == variable;
    return isSum ? FindLiteral(Child(value, 1)) : std::nullopt;
  }

  // What a loop with the condition makes of `variable`, which grows by `growth`.
  Bound FindLimit(NodeIndex condition, NodeIndex variable, UInt64 growth) const {
    if (!_tree.Is(condition, NodeKind::kBinary) || FindVariable(Child(condition, 0)) != variable) return std::nullopt;
    const Operation operation = OperationOf(condition);
    if (operation != Operation::kLess && operation != Operation::kLessOrEqual) return std::nullopt;
    if (const Bound limit = FindLiteral(Child(condition, 1))) return Add(*limit, growth);
    // In one type, k < limit leaves room for 1.
    const Bool isOneType = _resolved.type[variable] == kIntType && _resolved.type[Child(condition, 1)] == kIntType;
    return growth == 1 && operation == Operation::kLess && isOneType ? Bound(GetGreatest(Scalar::kInt32)) : Bound();
  }

  // for (int k = 0; k < limit; ++k) with nothing else that changes k.
  void FindCounters() {
    for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
      if (!_tree.Is(node, NodeKind::kFor) || !_tree.Is(Child(node, 0), NodeKind::kDeclaration)) continue;
      for (const NodeIndex variable : _tree.GetChildren(Child(node, 0))) {
        const Bound growth = FindGrowth(Child(node, 2), variable);
        if (!growth || _changes[variable] != 1) continue;
        if (const Bound limit = FindLimit(Child(node, 1), variable, *growth)) _counters[variable] = *limit;
      }
    }
  }

  // Of an expression, as the type that it is wanted as.
  Bound Wanted(NodeIndex node) const {
    const Type& wanted = _resolved.types[_resolved.converted[node]];
    if (!IsWhole(node) || wanted.kind != TypeKind::kScalar || !IsInteger(wanted.scalar)) return std::nullopt;
    return Convert(_bounds[node], wanted.scalar);
  }

  // A variable keeps its first number, or counts up from it.
  Bound FindVariableBound(NodeIndex variable) const {
    const NodeIndex value = Child(variable, 2);
    if (value == kNoNode) return std::nullopt;
    const auto counter = _counters.find(variable);
    const Bound first = Wanted(value);
    if (counter == _counters.end()) return _changes.contains(variable) ? Bound() : first;
    return first ? Bound(std::max(*first, counter->second)) : Bound();
  }

  // Before what is too large for the type of the expression or variable leaves it.
  Bound FindBound(NodeIndex node) const {
    const Meaning& meaning = _resolved.meaning[node];
    switch (_tree.nodes[node].kind) {
      case NodeKind::kVariable:
        return FindVariableBound(node);
      case NodeKind::kLiteral:
        return FindLiteral(node);
      case NodeKind::kName:
        return meaning.kind == MeaningKind::kVariable ? _bounds[meaning.target] : std::nullopt;
      case NodeKind::kMemberOf:
        return FindWordBound(node);
      case NodeKind::kConstruct:
      case NodeKind::kCast:
        return _tree.GetChildren(node).size() == 2 ? Wanted(Child(node, 1)) : std::nullopt;
      case NodeKind::kBinary:
        return FindResultBound(node);
      default:
        return std::nullopt;
    }
  }

  Bound FindResultBound(NodeIndex node) const {
    const Bound left = Wanted(Child(node, 0)), right = Wanted(Child(node, 1));
    const Bool areKnown = left && right;
    switch (OperationOf(node)) {
      case Operation::kAdd:
        return areKnown ? Add(*left, *right) : std::nullopt;
      case Operation::kMultiply:
        return areKnown ? Multiply(*left, *right) : std::nullopt;
      case Operation::kBitAnd:
        return areKnown ? std::min(left, right) : left ? left : right;
      case Operation::kDivide:
        return areKnown ? left : std::nullopt;
      case Operation::kRemainder:
        return areKnown ? std::min(left, right) : left;
      case Operation::kShiftRight:
        return left;
      default:
        return std::nullopt;
    }
  }

  // InLocalInvocationID.x
  Bound FindWordBound(NodeIndex node) const {
    const Meaning& meaning = _resolved.meaning[Child(node, 0)];
    const Bool isLocal = meaning.kind == MeaningKind::kWord &&
                         (meaning.word == WordId::kLocalInvocation || meaning.word == WordId::kWorkGroupSize);
    return isLocal ? Bound(kGreatestLocal) : Bound();
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  std::map<NodeIndex, Int> _changes;
  std::map<NodeIndex, UInt64> _counters;  // and what they do not exceed
  std::vector<Bound> _bounds;             // of expressions and variables
};

}  // namespace

std::set<NodeIndex> FindOpenRemainders(const SyntaxTree& tree, const ResolvedTree& resolved) {
  return RemainderReader(tree, resolved).Find();
}

}  // namespace ostra::kernellanguage
