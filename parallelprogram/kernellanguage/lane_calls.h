// Calls of words in lanes.
#pragma once

#include <optional>

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneExpressions;
class LaneFunctionCalls;
class LaneShared;
class LaneValues;
class LaneWindows;

class LaneCalls : LanePart {
 public:
  struct Uses {
    LaneValues& values;
    LaneShared& shared;
    LaneExpressions& expressions;
    LaneFunctionCalls& functionCalls;
    const LaneWindows& windows;
  };

  LaneCalls(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  LaneValue Call(NodeIndex node);
  // One lane after the other, in ascending order: the value before belongs to its invocation.
  void CallAtomic(NodeIndex node);

 private:
  LaneValue CallWord(NodeIndex node);
  std::optional<LaneValue> CallClamp(NodeIndex node);
  LaneValue CallTexture(NodeIndex node);
  LaneValue CallNoise(NodeIndex node);
  // Lane by lane; `arguments` are the first ones, which are not computed in lanes.
  LaneValue CallEachLane(NodeIndex node, std::string_view function, std::string arguments = "",
                         std::size_t firstArgument = 0);
  Bool IsMatrixFunction(NodeIndex call) const;
  Bool IsLibraryFunction(NodeIndex call) const;
  // C++ of what an atomic operation changes, in lane `ostraLane`; empty if it is refused.
  std::string AtomicPlace(NodeIndex place);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
