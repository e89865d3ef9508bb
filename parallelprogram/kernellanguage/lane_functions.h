// Functions of the file for lanes: a mask first, then their parameters in the form that all calls give them.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneStatements;

class LaneFunctions : LanePart {
 public:
  struct Uses {
    LaneStatements& statements;
  };

  LaneFunctions(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  // Writes them. Calls of a function that cannot be written are refused where they stand.
  void PrintFunctions();

 private:
  void PrintFunction(NodeIndex function);
  // False: lanes have no such parameter.
  Bool AddParameter(NodeIndex parameter, std::string& parameters);
  int CountReturns(NodeIndex node) const;

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
