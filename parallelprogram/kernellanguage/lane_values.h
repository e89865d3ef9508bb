// Values as C++: as lanes, as rows, as another type.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneValues : LanePart {
 public:
  explicit LaneValues(const LaneBasis& basis) : LanePart(basis) {}

  std::string ToLanes(const LaneValue& value, NodeIndex place);
  std::string ToRows(const LaneValue& value) const;
  std::string RowsType(TypeIndex type) const;
  // Refuses `place` if there is no such conversion.
  LaneValue Convert(LaneValue value, TypeIndex to, NodeIndex place);
  LaneValue Literal(NodeIndex node) const;
  // One value for each lane that is on, of a C++ expression that names the lane `ostraLane`.
  LaneValue MapLanes(TypeIndex type, NodeIndex place, const std::string& one);
};

}  // namespace ostra::kernellanguage
