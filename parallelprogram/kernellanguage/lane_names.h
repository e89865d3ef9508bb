// What variables, buffers and arrays in group memory are called in the wide form. Internal to lane_*.cpp.
#pragma once

#include "parallelprogram/kernellanguage/group_piece.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

class LaneNames {
 public:
  // `names` are those of variables that lie outside of the pieces of a kernel that needs groups; null for others.
  LaneNames(const SyntaxTree& tree, const ResolvedTree& resolved, const GroupNames* names)
      : _tree(tree), _resolved(resolved), _names(names) {}

  Bool IsInGroup() const { return _names != nullptr; }

  std::string GetVariable(NodeIndex variable) const {
    if (_names) {
      if (const auto known = _names->find(variable); known != _names->end()) return known->second;
    }
    return std::string(_tree.GetName(variable));
  }

  // The number of turns that the lanes of a loop share, beside the variable that counts them.
  std::string GetCount(NodeIndex variable) const { return Join({"ostraCount_", GetVariable(variable)}); }

  // Whether a node is a buffer or an array in group memory.
  Bool IsMemory(NodeIndex node) const {
    if (_tree.Is(node, NodeKind::kBuffer)) return true;
    const Meaning& meaning = _resolved.meaning[node];
    return _tree.Is(node, NodeKind::kName) && meaning.kind == MeaningKind::kVariable &&
           _tree.Is(meaning.target, NodeKind::kSharedArray);
  }

  // C++ of it as an array, and of its first element.
  std::string GetMemory(NodeIndex node) const {
    return IsParameter(node) ? Join({"ostraParameter_", _tree.GetName(node)})
                             : GetVariable(_resolved.meaning[node].target);
  }
  std::string GetFirst(NodeIndex node) const { return Join({GetMemory(node), IsParameter(node) ? ".GetFirst()" : ""}); }

 private:
  Bool IsParameter(NodeIndex node) const {
    return _tree.Is(node, NodeKind::kBuffer) || _tree.Is(node, NodeKind::kLocalData);
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const GroupNames* const _names;
};

}  // namespace ostra::kernellanguage
