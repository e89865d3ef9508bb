// Loops that are written twice: as they are, and without clamp for lanes whose positions are all within bounds
// (clamp_windows.h).
#pragma once

#include <unordered_set>

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneJumps;
class LaneShared;

class LaneWindows : LanePart {
 public:
  struct Uses {
    const LaneJumps& jumps;
    LaneShared& shared;
  };

  LaneWindows(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  // The condition as C++ under which clamp changes nothing in the loop, and all lanes are on. From here on clamp is
  // left out. Empty if there is no such condition, or a loop around this one has one: then nothing changes.
  std::string Begin(NodeIndex loop);
  // From here on clamp is written again.
  void BeginClamped() { _leftOut.clear(); }
  void End() { _isOpen = false; }

  // Whether a call of clamp is left out.
  Bool IsLeftOut(NodeIndex call) const { return _leftOut.count(call) != 0; }

 private:
  const Uses _uses;
  std::unordered_set<NodeIndex> _leftOut;
  Bool _isOpen = false;
};

}  // namespace ostra::kernellanguage
