// Where variables are used. Lanes that are off may compute on with a variable that lanes do not read again once they
// have left a branch or loop: no step of a loop has to wait until it is known which lanes it is for.
#pragma once

#include "parallelprogram/kernellanguage/lane_kernel.h"

namespace ostra::kernellanguage {

class LaneUses : LaneQuery {
 public:
  explicit LaneUses(const LaneKernel& kernel);

  // Whether a variable is changed behind its declaration.
  Bool IsChanged(NodeIndex variable) const { return _isChanged[variable]; }
  // Whether the name stands in a loop that the variable is declared outside of.
  Bool IsKeptByLoop(NodeIndex name, NodeIndex variable) const { return _loop[name] != _loop[variable]; }
  // Whether a variable is read behind a statement, or in the next turn of a loop around the statement.
  Bool IsReadBehind(NodeIndex variable, NodeIndex statement) const {
    return _loop[statement] != _loop[variable] || _last[variable] > _last[statement];
  }

 private:
  void Find(NodeIndex node, NodeIndex loop, UInt32& position);

  std::vector<UInt32> _last;     // of statements: the last node inside; of variables: their last use
  std::vector<NodeIndex> _loop;  // the innermost loop around
  std::vector<Bool> _isChanged;
};

}  // namespace ostra::kernellanguage
