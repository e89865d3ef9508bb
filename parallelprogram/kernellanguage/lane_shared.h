// C++ of one value for all lanes, or for the first one of a linear value.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneHeldValues;
class LaneValues;

class LaneShared : LanePart {
 public:
  struct Uses {
    LaneValues& values;
    LaneHeldValues& held;
  };

  LaneShared(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  std::string Shared(NodeIndex node);  // as it is wanted where it stands
  std::string SharedItself(NodeIndex node);

 private:
  // InGlobalInvocationID and its relatives, of the first lane. Without a component the whole vector, which only the
  // group's values may have: the others differ along x.
  std::string SharedWord(NodeIndex node, std::string_view component);
  // Calls, values that are made of others, and names; empty: there is no such text.
  std::string Name(NodeIndex node);
  std::string Construct(NodeIndex node);
  std::string Member(NodeIndex node);
  std::string Index(NodeIndex node);
  std::string Call(NodeIndex node);
  std::string Operators(NodeIndex node);
  // The children from `first` on, separated by commas.
  std::string List(NodeIndex node, std::size_t first);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
