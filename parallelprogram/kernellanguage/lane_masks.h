// The masks around the current statement: which lanes it runs for. A mask is a variable that loses lanes as they
// return, break and continue.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

class LaneMasks {
 public:
  // The mask of a whole body, and no other.
  void Begin(std::string name) { _masks = {{std::move(name), kNoNode}}; }
  // `region` is the statement that runs under it if a lane that leaves it does not come back there.
  void Push(std::string name, NodeIndex region = kNoNode) { _masks.push_back({std::move(name), region}); }
  void Pop() { _masks.pop_back(); }

  const std::string& Get() const { return _masks.back().name; }
  const std::string& GetOuter() const { return _masks[_masks.size() - 2].name; }
  NodeIndex GetRegion() const { return _masks.back().region; }
  int GetDepth() const { return static_cast<int>(_masks.size()); }

  // Where a variable in lanes is declared; 0 for what the caller of a function has declared.
  void SetVariableDepth(NodeIndex variable, int depth) { _variableDepths[variable] = depth; }
  // Whether a mask lies between a variable and the current statement, as it does for what is not known.
  Bool IsBelow(NodeIndex variable) const {
    const auto depth = _variableDepths.find(variable);
    return depth == _variableDepths.end() || depth->second < GetDepth();
  }
  // Whether the variable is read by the caller, or by what is not known.
  Bool IsOutside(NodeIndex variable) const {
    const auto depth = _variableDepths.find(variable);
    return depth == _variableDepths.end() || depth->second == 0;
  }

 private:
  struct Mask {
    std::string name;
    NodeIndex region;
  };

  std::vector<Mask> _masks;
  std::unordered_map<NodeIndex, int> _variableDepths;
};

}  // namespace ostra::kernellanguage
