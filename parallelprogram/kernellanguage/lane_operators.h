// Operators that change nothing, in lanes.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneExpressions;
class LaneShared;
class LaneValues;

class LaneOperators : LanePart {
 public:
  struct Uses {
    LaneValues& values;
    LaneShared& shared;
    LaneExpressions& expressions;
  };

  LaneOperators(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  LaneValue Unary(NodeIndex node);
  // Of values that are computed already; `result` is the type of what it gives.
  LaneValue Binary(Operation operation, const LaneValue& left, const LaneValue& right, TypeIndex result,
                   NodeIndex place);
  LaneValue Logical(NodeIndex node);
  LaneValue Conditional(NodeIndex node);

 private:
  LaneValue BinaryOfRows(Operation operation, const LaneValue& left, const LaneValue& right, TypeIndex result,
                         NodeIndex place);
  LaneValue Shift(Operation operation, const LaneValue& left, const LaneValue& right, TypeIndex result,
                  NodeIndex place);
  LaneValue Divide(Operation operation, const LaneValue& left, const LaneValue& right, TypeIndex result,
                   NodeIndex place);
  // ?: whose values are computed only where they are wanted.
  LaneValue ChooseShared(NodeIndex node, const std::string& test);
  LaneValue ChooseMasked(NodeIndex node, const std::string& test);
  std::string Wanted(NodeIndex value, TypeIndex type);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
