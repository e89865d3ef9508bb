#include "parallelprogram/kernellanguage/group_lanes.h"

#include "parallelprogram/kernellanguage/atomic_order.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

std::string GroupLanes::Print(GroupPiece piece, const std::string& scalar) {
  std::erase_if(piece.items, [this](const GroupPiece::Item& item) {
    return item.kind == GroupPiece::Kind::kVariable && !_variables.IsAt(item.node, GroupPlace::kPiece) &&
           !_variables.IsAt(item.node, GroupPlace::kKept);
  });
  const NodeIndex atomic = FindOrderedAtomic(_tree, _resolved, piece);
  if (atomic != kNoNode) {
    _refusals.push_back({_tree.nodes[atomic].offset, "atomic operations whose order matters"});
    return scalar;
  }
  LaneCode code = _printer.PrintPiece(piece);
  if (!code.refusal) return std::move(code.text);
  _refusals.push_back(*std::move(code.refusal));
  return scalar;
}

GroupNames NameVariables(const GroupKernel& kernel, const GroupVariables& variables) {
  GroupNames names;
  for (const NodeIndex variable : variables.GetAll()) names[variable] = kernel.GetUniqueName(variable);
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(kernel.tree.nodes.size()); ++node) {
    if (kernel.tree.Is(node, NodeKind::kSharedArray)) names[node] = Join({"ostraMemory.", kernel.GetUniqueName(node)});
  }
  return names;
}

}  // namespace ostra::kernellanguage
