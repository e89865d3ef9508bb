#include "parallelprogram/kernellanguage/conversion_extensions.h"

#include "parallelprogram/kernellanguage/conversions.h"

namespace ostra::kernellanguage {
namespace {

class ConversionMarker {
 public:
  ConversionMarker(const SyntaxTree& tree, ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  void Mark(NodeIndex node) {
    MarkCuts(node);
    if (IsComparisonOfOneType(node)) return;
    switch (_tree.nodes[node].kind) {
      case NodeKind::kConstruct:
      case NodeKind::kCast:
        return MarkHalves(node);
      case NodeKind::kIndex:
        return;
      case NodeKind::kCall:
        // The number of a noise is what it is on a GPU.
        if (_resolved.meaning[node].word != WordId::kRenderNoise) MarkImplicit(node);
        return;
      default:
        return MarkImplicit(node);
    }
  }

 private:
  Bool AreScalars(TypeIndex from, TypeIndex to) const {
    return _resolved.types.IsScalar(from) && _resolved.types.IsScalar(to);
  }
  Scalar ScalarOf(TypeIndex type) const { return _resolved.types[type].scalar; }
  Bool IsCut(TypeIndex from, TypeIndex to) const {
    return AreScalars(from, to) && IsCutFloat(ScalarOf(from), ScalarOf(to));
  }
  Bool IsOfCpp(TypeIndex from, TypeIndex to) const {
    return from != to && AreScalars(from, to) && !ConvertsEverywhere(ScalarOf(from), ScalarOf(to));
  }

  void MarkCuts(NodeIndex node) {
    for (const NodeIndex child : _tree.GetChildren(node))
      if (child != kNoNode && IsCut(_resolved.type[child], _resolved.converted[child])) _resolved.Extend(child);
    if (_tree.Is(node, NodeKind::kAssign) && IsCut(_resolved.computed[node], _resolved.type[node]))
      _resolved.Extend(node);
  }

  // bool == bool is everywhere.
  Bool IsComparisonOfOneType(NodeIndex node) const {
    const Operation operation = _tree.nodes[node].operation;
    const Bool isEquality = operation == Operation::kEqual || operation == Operation::kNotEqual;
    return isEquality && _resolved.type[_tree.GetChild(node, 0)] == _resolved.type[_tree.GetChild(node, 1)];
  }

  // half(k), int(h): C++ makes a float of the number before, which rounds, too.
  void MarkHalves(NodeIndex node) {
    for (const NodeIndex child : _tree.GetChildren(node)) {
      const TypeIndex from = _resolved.type[child], to = _resolved.converted[child];
      if (!AreScalars(from, to) || (from == kHalfType) == (to == kHalfType)) continue;
      if (from != kFloatType && to != kFloatType) _resolved.Extend(child, true);
    }
  }

  void MarkImplicit(NodeIndex node) {
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (child == kNoNode) continue;
      if (IsOfCpp(_resolved.type[child], _resolved.converted[child])) _resolved.Extend(child, true);
      // On a GPU the value is wider than its type.
      const Bool isValue = _tree.Is(child, NodeKind::kUniform) && _resolved.converted[child] == _resolved.type[child];
      if (isValue && IsWidenedUniform(_resolved.type[child])) _resolved.Extend(child, true);
    }
    if (_tree.Is(node, NodeKind::kAssign) && IsOfCpp(_resolved.computed[node], _resolved.type[node]))
      _resolved.Extend(node, true);
  }

  const SyntaxTree& _tree;
  ResolvedTree& _resolved;
};

}  // namespace

void ExtendConversions(const SyntaxTree& tree, ResolvedTree& resolved) {
  ConversionMarker marker(tree, resolved);
  for (NodeIndex node = 0; node < tree.nodes.size(); ++node) marker.Mark(node);
}

}  // namespace ostra::kernellanguage
