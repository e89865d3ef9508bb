// The loops and switches around the current statement, and how lanes leave them.
#pragma once

#include <string>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

struct LaneExit {
  Bool isPlain = false;        // break and continue are those of C++, as all lanes take them together
  int depth = 0;               // of masks, around the body
  std::string continued = {};  // mask of the lanes that wait for the next turn; empty in a switch
  Bool isSwitch = false;
};

class LaneExits {
 public:
  void Push(LaneExit exit) { _exits.push_back(std::move(exit)); }
  void Pop() { _exits.pop_back(); }
  void Clear() { _exits.clear(); }

  // What a break leaves, and the loop that a continue goes on with; null: there is none.
  const LaneExit* FindAny() const { return _exits.empty() ? nullptr : &_exits.back(); }
  const LaneExit* FindLoop() const {
    for (std::size_t i = _exits.size(); i-- > 0;) {
      if (!_exits[i].isSwitch) return &_exits[i];
    }
    return nullptr;
  }

 private:
  std::vector<LaneExit> _exits;
};

}  // namespace ostra::kernellanguage
