// Parts of values in lanes: elements of buffers, of group memory and of arrays, members and components.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneExpressions;
class LaneHeldValues;
class LaneRows;
class LaneShared;
class LaneValues;

class LaneMemory : LanePart {
 public:
  struct Uses {
    const LaneRows& rows;
    LaneValues& values;
    LaneShared& shared;
    LaneHeldValues& held;
    LaneExpressions& expressions;
  };

  LaneMemory(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  LaneValue Member(NodeIndex node);
  LaneValue Index(NodeIndex node);
  LaneValue LoadElement(NodeIndex memory, TypeIndex element, NodeIndex index, NodeIndex place);
  // The C++ of element `ostraLane` of a buffer, for the body of a loop over lanes.
  std::string ElementOfLane(NodeIndex element);
  // The variable of a place such as v, v.x, a[2] or a[2].y, and its C++; kNoNode for other places.
  NodeIndex FindVariable(NodeIndex place, std::string& text);
  // Computes the indices of a place once, for all that follows until they are released.
  void HoldIndices(NodeIndex place);
  void ReleaseIndices(NodeIndex place);

 private:
  // A part of an element that is a struct or a matrix, lane by lane.
  LaneValue LoadPart(NodeIndex element, const std::string& path, NodeIndex place);
  LaneValue IndexOfArray(NodeIndex node, const std::string& array, NodeIndex variable);
  // The x of InGlobalInvocationID and its relatives. For other members the text is empty.
  LaneValue WordMember(NodeIndex node) const;

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
