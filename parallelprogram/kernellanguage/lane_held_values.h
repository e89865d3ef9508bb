// Expressions that are computed already: the indices of a place that is read and then written.
#pragma once

#include <unordered_map>

#include "parallelprogram/kernellanguage/lane_value.h"
#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

class LaneHeldValues {
 public:
  void Hold(NodeIndex expression, LaneValue value) { _values[expression] = std::move(value); }
  void Release(NodeIndex expression) { _values.erase(expression); }
  void Clear() { _values.clear(); }
  // Null: it is not held.
  const LaneValue* Find(NodeIndex expression) const {
    const auto found = _values.find(expression);
    return found == _values.end() ? nullptr : &found->second;
  }

 private:
  std::unordered_map<NodeIndex, LaneValue> _values;
};

}  // namespace ostra::kernellanguage
