#include "parallelprogram/kernellanguage/loop_counters.h"

#include <unordered_map>

#include "parallelprogram/kernellanguage/changes.h"

namespace ostra::kernellanguage {
namespace {

class Finder {
 public:
  Finder(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {
    _parents.assign(tree.nodes.size(), kNoNode);
    _changes.resize(tree.nodes.size());
    for (const NodeIndex function : resolved.functions) Walk(function);
    Walk(tree.kernel);
  }

  std::vector<NodeIndex> Run() {
    std::vector<NodeIndex> loops(_tree.nodes.size(), kNoNode);
    for (NodeIndex node = 0; node < loops.size(); ++node) {
      if (_parents[node] != kNoNode && _tree.Is(node, NodeKind::kVariable)) loops[node] = FindLoop(node);
    }
    return loops;
  }

 private:
  // In the order of the text.
  void Walk(NodeIndex node) {
    for (const NodeIndex place : ListChangedPlaces(_tree, _resolved, node)) {
      const NodeIndex root = FindPlaceRoot(_tree, place);
      const Meaning& meaning = _resolved.meaning[root];
      if (_tree.Is(root, NodeKind::kName) && meaning.kind == MeaningKind::kVariable)
        _changes[meaning.target].push_back(node);
    }
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (child == kNoNode) continue;
      _parents[child] = node;
      Walk(child);
    }
  }

  Bool IsInside(NodeIndex node, NodeIndex outer) const {
    while (node != kNoNode && node != outer) node = _parents[node];
    return node == outer;
  }

  NodeIndex FindLoop(NodeIndex variable) {
    const Type& type = _resolved.types[_resolved.type[variable]];
    const Bool isNumber =
        type.kind == TypeKind::kScalar && type.scalar != Scalar::kBool && GetSize(type.scalar) == sizeof(Int32);
    const auto& changes = _changes[variable];
    if (!isNumber || changes.empty() || _tree.GetChild(variable, 2) == kNoNode) return kNoNode;
    const NodeIndex loop = FindCountedLoop(changes.front());
    if (loop == kNoNode || _parents[loop] != _parents[_parents[variable]]) return kNoNode;
    for (const NodeIndex change : changes) {
      if (IsInside(change, loop) && (FindCountedLoop(change) != loop || !IsStep(change, variable))) return kNoNode;
    }
    return loop;
  }

  // The loop of which every turn comes by the change.
  NodeIndex FindCountedLoop(NodeIndex change) {
    const NodeIndex parent = _parents[change];
    if (_tree.Is(parent, NodeKind::kFor) && _tree.GetChild(parent, 2) == change) return parent;
    if (!_tree.Is(parent, NodeKind::kExpressionStatement)) return kNoNode;
    NodeIndex body = parent;
    if (_tree.Is(_parents[body], NodeKind::kBlock)) body = _parents[body];
    const NodeIndex loop = _parents[body];
    if (loop == kNoNode || !IsLoop(_tree.nodes[loop].kind) || GetLoopParts(_tree, loop).body != body) return kNoNode;
    const auto [known, isNew] = _mayContinue.try_emplace(body, false);
    if (isNew) known->second = HasContinue(_tree, body);
    return known->second ? kNoNode : loop;
  }

  // n++, n -= 2, n = n + step: what may be computed twice.
  Bool IsStep(NodeIndex change, NodeIndex variable) const {
    const NodeKind kind = _tree.nodes[change].kind;
    if (kind == NodeKind::kCall || _resolved.meaning[_tree.GetChild(change, 0)].target != variable ||
        !_tree.Is(_tree.GetChild(change, 0), NodeKind::kName))
      return false;
    if (kind != NodeKind::kAssign) return true;
    const Operation operation = _tree.nodes[change].operation;
    return (operation == Operation::kNone || IsPlain(operation)) && IsPlain(_tree.GetChild(change, 1));
  }
  static Bool IsPlain(Operation operation) {
    return operation == Operation::kAdd || operation == Operation::kSubtract || operation == Operation::kMultiply;
  }
  Bool IsPlain(NodeIndex value) const {
    const auto children = _tree.GetChildren(value);
    switch (_tree.nodes[value].kind) {
      case NodeKind::kLiteral:
      case NodeKind::kUniform:
        return true;
      case NodeKind::kName:
        return _resolved.meaning[value].kind == MeaningKind::kVariable;
      case NodeKind::kBinary:
        return IsPlain(_tree.nodes[value].operation) && IsPlain(children[0]) && IsPlain(children[1]);
      case NodeKind::kConstruct:
      case NodeKind::kCast:
        return _resolved.types.IsScalar(_resolved.type[value]) && children.size() == 2 && IsPlain(children[1]);
      default:
        return false;
    }
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  std::vector<NodeIndex> _parents;
  std::vector<std::vector<NodeIndex>> _changes;      // of variables
  std::unordered_map<NodeIndex, Bool> _mayContinue;  // of bodies of loops
};

}  // namespace

std::vector<NodeIndex> FindLoopCounters(const SyntaxTree& tree, const ResolvedTree& resolved) {
  return Finder(tree, resolved).Run();
}

}  // namespace ostra::kernellanguage
