// Calls of functions of the file in lanes. With arguments that are the same in all lanes it is the function as it is,
// called once.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneAssignments;
class LaneExpressions;
class LaneMemory;
class LaneShared;
class LaneValues;

class LaneFunctionCalls : LanePart {
 public:
  struct Uses {
    LaneValues& values;
    LaneShared& shared;
    LaneExpressions& expressions;
    LaneMemory& memory;
    LaneAssignments& assignments;
  };

  LaneFunctionCalls(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  // Once each, in the order of the text, whatever becomes of its value.
  LaneValue CallFunction(NodeIndex node);

 private:
  // What a call has changed in place of what cannot be handed to it.
  struct Copy {
    NodeIndex place;
    LaneValue value;
  };

  // C++ of an argument that the function changes: the place itself if it is held as the parameter is, else a copy,
  // which goes into `copies`.
  std::string PassPlace(NodeIndex argument, NodeIndex parameter, LaneForm form, std::vector<Copy>& copies);
  std::string PassValue(NodeIndex argument, LaneForm form);
  std::string PassArguments(NodeIndex node, std::vector<Copy>& copies);
  // Writes the call; the value is a name, or has no text.
  LaneValue WriteCall(NodeIndex node, const std::string& arguments);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
