// Calls of words and of functions of the file.
#pragma once

#include "parallelprogram/kernellanguage/plain_checks.h"
#include "parallelprogram/kernellanguage/plain_hoist_plan.h"
#include "parallelprogram/kernellanguage/plain_library.h"

namespace ostra::kernellanguage {

class PlainBools;
class PlainChanges;
class PlainExpressions;
class PlainMatrices;

class PlainCalls : PlainPart {
 public:
  struct Uses {
    const CheckPlan& checkPlan;
    const ReportPlan& reportPlan;
    const HoistPlan& hoistPlan;
    PlainLibrary& library;
    PlainGroups& groups;
    PlainChecks& checks;
    PlainExpressions& expressions;
    PlainBools& bools;
    PlainMatrices& matrices;
    PlainChanges& changes;
  };

  PlainCalls(const PlainBasis& basis, const Uses& uses) : PlainPart(basis), _uses(uses) {}

  std::string Call(NodeIndex node);

 private:
  std::string CallOfWord(NodeIndex node);
  std::string CallTruncOfDouble(const std::string& number);
  std::string CallAsWritten(NodeIndex node);
  std::string CallOfFunction(NodeIndex node);
  std::string CallOfGroup(NodeIndex node);
  std::string CallOfLibrary(NodeIndex node);
  std::string Argument(NodeIndex call, std::size_t index);
  std::string Arguments(NodeIndex node);
  std::string NoiseNumber(NodeIndex number);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
