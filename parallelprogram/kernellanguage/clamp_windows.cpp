#include "parallelprogram/kernellanguage/clamp_windows.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {
namespace {

// Constants beyond are of no use, and sums of those within do not overflow.
constexpr Int64 kMaxConstant = Int64{1} << 20;
// Variables that are made of variables.
constexpr int kMaxDepth = 16;

// The numbers from `first` to `last`, from `base` on if there is one.
struct Range {
  WindowEnd first, last;
  NodeIndex base = kNoNode;
};

std::vector<NodeIndex> Join(std::vector<NodeIndex> a, const std::vector<NodeIndex>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
WindowEnd Add(const WindowEnd& a, const WindowEnd& b) {
  return {a.constant + b.constant, Join(a.added, b.added), Join(a.subtracted, b.subtracted)};
}
WindowEnd Subtract(const WindowEnd& a, const WindowEnd& b) {
  return {a.constant - b.constant, Join(a.added, b.subtracted), Join(a.subtracted, b.added)};
}
Bool IsNear(const WindowEnd& end) { return end.constant >= -kMaxConstant && end.constant <= kMaxConstant; }

// The numbers of the variable of a `for`: from `first` to `bound` less `belowBound`.
struct Turns {
  NodeIndex first = kNoNode, bound = kNoNode;
  Int64 belowBound = 0;
};

class Finder {
 public:
  Finder(const SyntaxTree& tree, const ResolvedTree& resolved, const UniformityTable& uniformity, NodeIndex loop)
      : _tree(tree), _resolved(resolved), _uniformity(uniformity) {
    Walk(loop);
  }

  std::vector<ClampWindow> Run() const {
    std::vector<ClampWindow> windows;
    for (const NodeIndex call : _calls) {
      const ClampedNumber clamped = GetClampedNumber(_tree, _resolved, call);
      if (clamped.number == kNoNode || !IsStable(clamped.low) || !IsStable(clamped.high)) continue;
      auto range = Find(clamped.number, 0);
      if (!range || range->base == kNoNode) continue;
      windows.push_back(
          {call, range->base, std::move(range->first), std::move(range->last), clamped.low, clamped.high});
    }
    return windows;
  }

 private:
  void Walk(NodeIndex node) {
    for (const NodeIndex place : ListChangedPlaces(_tree, _resolved, node)) {
      const NodeIndex root = FindPlaceRoot(_tree, place);
      if (_tree.Is(root, NodeKind::kName)) ++_changes[_resolved.meaning[root].target];
    }
    if (_tree.Is(node, NodeKind::kVariable)) _isInside.insert(node);
    if (_tree.Is(node, NodeKind::kCall)) _calls.push_back(node);
    if (_tree.Is(node, NodeKind::kFor)) FindTurns(node);
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (child != kNoNode) Walk(child);
    }
  }

  int CountChanges(NodeIndex variable) const {
    const auto known = _changes.find(variable);
    return known == _changes.end() ? 0 : known->second;
  }
  Bool IsInside(NodeIndex variable) const { return _isInside.count(variable) != 0; }
  NodeIndex GetVariable(NodeIndex name) const {
    const Meaning& meaning = _resolved.meaning[name];
    const Bool isVariable = _tree.Is(name, NodeKind::kName) && meaning.kind == MeaningKind::kVariable;
    return isVariable && _tree.Is(meaning.target, NodeKind::kVariable) ? meaning.target : kNoNode;
  }

  // `for (int k = 0; k < 5; k++)`: the first and the last number of k.
  void FindTurns(NodeIndex loop) {
    const auto [start, condition, step, body] = GetLoopParts(_tree, loop);
    if (!_tree.Is(start, NodeKind::kDeclaration) || _tree.GetChildren(start).size() != 1 || step == kNoNode) return;
    const NodeIndex variable = _tree.GetChild(start, 0), first = _tree.GetChild(variable, 2);
    const Bool isUp = (_tree.Is(step, NodeKind::kPostfix) || _tree.Is(step, NodeKind::kUnary)) &&
                      _tree.nodes[step].operation == Operation::kIncrement &&
                      GetVariable(_tree.GetChild(step, 0)) == variable;
    const Bool isBelow = _tree.IsBinary(condition, Operation::kLess);
    if (!isUp || first == kNoNode || (!isBelow && !_tree.IsBinary(condition, Operation::kLessOrEqual))) return;
    const NodeIndex counted = _tree.GetChild(condition, 0), bound = _tree.GetChild(condition, 1);
    const TypeIndex type = _resolved.type[variable];
    if (GetVariable(counted) != variable) return;
    for (const NodeIndex part : {first, counted, bound}) {
      if (_resolved.type[part] != type || _resolved.converted[part] != type) return;
    }
    _turns[variable] = {first, bound, isBelow ? 1 : 0};
  }

  std::optional<WindowEnd> FindConstant(NodeIndex node) const {
    const Bool isNegated = _tree.Is(node, NodeKind::kUnary) && _tree.nodes[node].operation == Operation::kMinus;
    const NodeIndex literal = isNegated ? _tree.GetChild(node, 0) : node;
    LiteralValue value;
    if (_tree.Is(literal, NodeKind::kLiteral)) {
      if (!ParseLiteral(_tree.GetName(literal), value) ||
          !(value.scalar == Scalar::kInt32 || value.scalar == Scalar::kUInt32))
        return {};
      if (value.integer > static_cast<UInt64>(kMaxConstant) || (isNegated && value.scalar != Scalar::kInt32)) return {};
      const auto constant = static_cast<Int64>(value.integer);
      return WindowEnd{isNegated ? -constant : constant, {}, {}};
    }
    // Computed as it is written, so that it wraps as it does there.
    return IsStable(node) ? std::optional<WindowEnd>({0, {node}, {}}) : std::nullopt;
  }

  std::optional<Range> Find(NodeIndex node, int depth) const {
    const TypeIndex type = _resolved.type[node];
    if (depth > kMaxDepth || (type != kIntType && type != kUIntType)) return {};
    if (const auto constant = FindConstant(node)) return Range{*constant, *constant, kNoNode};
    switch (_tree.nodes[node].kind) {
      case NodeKind::kName:
        return FindVariable(node, depth);
      case NodeKind::kCast:
      case NodeKind::kConstruct:
        return _tree.GetChildren(node).size() == 2 ? Find(_tree.GetChild(node, 1), depth + 1) : std::nullopt;
      case NodeKind::kMemberOf:
        return IsRamp(node) ? std::optional(Range{{}, {}, node}) : std::nullopt;
      case NodeKind::kBinary: {
        const auto a = Find(_tree.GetChild(node, 0), depth + 1), b = Find(_tree.GetChild(node, 1), depth + 1);
        return a && b ? Compute(_tree.nodes[node].operation, *a, *b) : std::nullopt;
      }
      default:
        return {};
    }
  }
  static std::optional<Range> Compute(Operation operation, const Range& a, const Range& b) {
    Range range;
    if (operation == Operation::kAdd && (a.base == kNoNode || b.base == kNoNode))
      range = {Add(a.first, b.first), Add(a.last, b.last), a.base == kNoNode ? b.base : a.base};
    else if (operation == Operation::kSubtract && b.base == kNoNode)
      range = {Subtract(a.first, b.last), Subtract(a.last, b.first), a.base};
    else
      return {};
    return IsNear(range.first) && IsNear(range.last) ? std::optional(range) : std::nullopt;
  }
  std::optional<Range> FindVariable(NodeIndex name, int depth) const {
    const NodeIndex variable = GetVariable(name);
    if (variable == kNoNode) return {};
    if (!IsInside(variable)) {
      const Bool isBase = CountChanges(variable) == 0 && IsRamp(variable);
      return isBase ? std::optional(Range{{}, {}, name}) : std::nullopt;
    }
    // The step of its loop is the only change.
    const auto turns = _turns.find(variable);
    if (turns != _turns.end()) {
      const auto first = FindConstant(turns->second.first), bound = FindConstant(turns->second.bound);
      if (CountChanges(variable) != 1 || !first || !bound) return {};
      return Range{*first, Subtract(*bound, {turns->second.belowBound, {}, {}}), kNoNode};
    }
    const NodeIndex value = _tree.GetChild(variable, 2);
    return CountChanges(variable) == 0 && value != kNoNode ? Find(value, depth + 1) : std::nullopt;
  }

  Bool IsRamp(NodeIndex node) const { return _uniformity.Get(node) == Uniformity{Variance::kLinear, 1}; }

  // Whether a bound may be computed before the loop.
  Bool IsStable(NodeIndex node) const {
    const auto children = _tree.GetChildren(node);
    switch (_tree.nodes[node].kind) {
      case NodeKind::kLiteral:
      case NodeKind::kUniform:
        return true;
      case NodeKind::kName: {
        const NodeIndex variable = GetVariable(node);
        return variable != kNoNode && !IsInside(variable) && CountChanges(variable) == 0 &&
               _uniformity.Get(variable).IsSame();
      }
      case NodeKind::kCast:
      case NodeKind::kConstruct:
        return children.size() == 2 && _resolved.types.IsScalar(_resolved.type[node]) && IsStable(children[1]);
      case NodeKind::kUnary:
        return _tree.nodes[node].operation == Operation::kMinus && IsStable(children[0]);
      case NodeKind::kBinary:
        return (_tree.IsBinary(node, Operation::kAdd) || _tree.IsBinary(node, Operation::kSubtract)) &&
               IsStable(children[0]) && IsStable(children[1]);
      default:
        return false;
    }
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const UniformityTable& _uniformity;
  std::vector<NodeIndex> _calls;
  std::unordered_map<NodeIndex, int> _changes;  // of variables in the loop
  std::unordered_set<NodeIndex> _isInside;      // variables of the loop
  std::unordered_map<NodeIndex, Turns> _turns;  // of variables of `for`
};

}  // namespace

ClampedNumber GetClampedNumber(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex call) {
  const auto isCallOf = [&](NodeIndex node, WordId word) {
    return tree.Is(node, NodeKind::kCall) && resolved.meaning[node].kind == MeaningKind::kWord &&
           resolved.meaning[node].word == word;
  };
  const TypeIndex type = resolved.type[call];
  if (type != kIntType && type != kUIntType) return {};
  ClampedNumber clamped;
  if (isCallOf(call, WordId::kClamp)) {
    clamped = {tree.GetChild(call, 0), tree.GetChild(call, 1), tree.GetChild(call, 2)};
  } else if (isCallOf(call, WordId::kMin) && isCallOf(tree.GetChild(call, 0), WordId::kMax)) {
    const NodeIndex inner = tree.GetChild(call, 0);
    if (resolved.converted[inner] != type) return {};
    clamped = {tree.GetChild(inner, 0), tree.GetChild(inner, 1), tree.GetChild(call, 1)};
  }
  for (const NodeIndex argument : {clamped.number, clamped.low, clamped.high}) {
    if (argument == kNoNode || resolved.converted[argument] != type) return {};
  }
  return clamped;
}

std::vector<ClampWindow> FindClampWindows(const SyntaxTree& tree, const ResolvedTree& resolved,
                                          const UniformityTable& uniformity, NodeIndex loop) {
  return Finder(tree, resolved, uniformity, loop).Run();
}

}  // namespace ostra::kernellanguage
