#include "parallelprogram/kernellanguage/evaluation_order.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {
namespace {

using Names = std::set<NodeIndex>;

Bool Meet(const Names& a, const Names& b) {
  return std::any_of(a.begin(), a.end(), [&b](NodeIndex name) { return b.contains(name); });
}

// What a part of an expression names and changes; `whole`: the variables that ++, -- and = change as such, not in a
// part of them. What a call changes is certain where the call is.
struct Uses {
  Names names, changed, whole;
};

class OrderReader {
 public:
  OrderReader(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  EvaluationOrder Read() {
    // Children come before their parents.
    _hasChange.resize(_tree.nodes.size());
    for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
      const auto children = _tree.GetChildren(node);
      const Bool isAbove = std::any_of(children.begin(), children.end(),
                                       [this](NodeIndex child) { return child != kNoNode && _hasChange[child]; });
      if (isAbove) Look(node);
      _hasChange[node] =
          IsExpression(_tree.nodes[node].kind) && (isAbove || !ListChangedPlaces(_tree, _resolved, node).empty());
    }
    return std::move(_order);
  }

 private:
  void Collect(NodeIndex node, Uses& uses) const {
    if (node == kNoNode) return;
    const Meaning& meaning = _resolved.meaning[node];
    const Bool isName = _tree.Is(node, NodeKind::kName) && meaning.kind == MeaningKind::kVariable;
    if (isName || _tree.Is(node, NodeKind::kBuffer)) uses.names.insert(meaning.target);
    for (const NodeIndex place : ListChangedPlaces(_tree, _resolved, node)) {
      const NodeIndex variable = _resolved.meaning[FindPlaceRoot(_tree, place)].target;
      uses.changed.insert(variable);
      if (_tree.Is(place, NodeKind::kName) && !_tree.Is(node, NodeKind::kCall)) uses.whole.insert(variable);
    }
    for (const NodeIndex child : _tree.GetChildren(node)) Collect(child, uses);
  }

  void Look(NodeIndex node) {
    switch (_tree.nodes[node].kind) {
      case NodeKind::kAssign:
        return CheckAssignment(node);
      case NodeKind::kBinary: {
        const Operation operation = _tree.nodes[node].operation;
        if (IsLogical(operation)) return;
        // C++ computes their left side first; the plain form for GPUs refuses them where that matters.
        if (operation == Operation::kShiftLeft || operation == Operation::kShiftRight) return;
        return CheckParts(node);
      }
      case NodeKind::kCall:
      case NodeKind::kConstruct:
        return CheckParts(node);
      default:
        return;
    }
  }

  void CheckAssignment(NodeIndex node) {
    Uses indices, value;
    for (NodeIndex place = _tree.GetChild(node, 0);
         _tree.Is(place, NodeKind::kMemberOf) || _tree.Is(place, NodeKind::kIndex); place = _tree.GetChild(place, 0))
      if (_tree.Is(place, NodeKind::kIndex)) Collect(_tree.GetChild(place, 1), indices);
    Collect(_tree.GetChild(node, 1), value);
    if (_tree.nodes[node].operation != Operation::kNone)
      indices.names.insert(_resolved.meaning[FindPlaceRoot(_tree, _tree.GetChild(node, 0))].target);
    if (Meet(indices.changed, value.names) || Meet(indices.names, value.changed)) _order.valueFirst.insert(node);
  }

  void CheckParts(NodeIndex node) {
    Names changed, named;
    for (const NodeIndex child : _tree.GetChildren(node)) {
      Uses uses;
      Collect(child, uses);
      for (const NodeIndex name : uses.whole)
        if (named.contains(name)) return _order.unordered.emplace_back(node, name), void();
      for (const NodeIndex name : uses.names)
        if (changed.contains(name)) return _order.unordered.emplace_back(node, name), void();
      changed.merge(uses.whole);
      named.merge(uses.names);
    }
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  EvaluationOrder _order;
  std::vector<Bool> _hasChange;
};

}  // namespace

EvaluationOrder FindEvaluationOrder(const SyntaxTree& tree, const ResolvedTree& resolved) {
  return OrderReader(tree, resolved).Read();
}

std::string DescribeUnordered(const SyntaxTree& tree, NodeIndex variable) {
  return Join({"\"", tree.GetName(variable),
               "\" is changed in one part of this expression and named in another, in no certain order; write the "
               "change as a statement of its own"});
}

}  // namespace ostra::kernellanguage
