// Values in lanes that are made of others.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneExpressions;
class LaneValues;

class LaneConstruction : LanePart {
 public:
  struct Uses {
    LaneValues& values;
    LaneExpressions& expressions;
  };

  LaneConstruction(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  LaneValue Construct(NodeIndex node);
  // A struct of the values in braces; what is not listed is 0.
  LaneValue StructOf(NodeIndex list);

 private:
  LaneValue MatrixOf(NodeIndex node);
  void SetParts(const std::string& place, TypeIndex type, NodeIndex list);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
