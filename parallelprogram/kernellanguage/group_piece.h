// A part of the body of a kernel whose invocations exchange values: what lies between two barriers, or between others
// of the statements that the group comes to as one (group_plan.h). Pieces run in lanes, or one invocation after the
// other.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

struct GroupPiece {
  enum class Kind : UInt8 {
    kStatement,
    kVariable,   // declared here
    kCondition,  // that the group goes on by: its value becomes ostraCondition
    kStep,       // of a loop around barriers
  };
  struct Item {
    Kind kind;
    NodeIndex node;  // of a step the loop
  };

  std::vector<Item> items;          // in the order of the text
  std::vector<NodeIndex> repeated;  // variables that the piece computes again, each behind those that it needs
  std::vector<NodeIndex> kept;      // variables with a value for each invocation that the piece uses; sorted
};

// The C++ names of variables that several pieces may use, and of arrays in group memory.
using GroupNames = std::unordered_map<NodeIndex, std::string>;

}  // namespace ostra::kernellanguage
