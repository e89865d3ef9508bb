// Statements of the kernel and of its functions.
#pragma once

#include "parallelprogram/kernellanguage/plain_hoists.h"
#include "parallelprogram/kernellanguage/plain_traces.h"

namespace ostra::kernellanguage {

class PlainStatements : PlainPart {
 public:
  struct Uses {
    const CheckPlan& checkPlan;
    const TracePlan& tracePlan;
    const ReportPlan& reportPlan;
    const HoistPlan& hoistPlan;
    const KeptValues& kept;
    ReportSites& sites;
    ReportWords& words;
    PlainReports& reports;
    PlainChecks& checks;
    PlainExpressions& expressions;
    PlainChanges& changes;
    PlainHoists& hoists;
    PlainTraces& traces;
  };

  PlainStatements(const PlainBasis& basis, const Uses& uses) : PlainPart(basis), _uses(uses) {}

  void Statement(NodeIndex node);
  // In braces; begins with records of `traced`: variables and changed places. `hasCalls`: so do those of functions.
  void Body(NodeIndex statement, const std::vector<NodeIndex>& traced = {}, Bool hasCalls = false);
  // The declaration of a variable with its value: "float a = 1.0".
  std::string VariableText(NodeIndex variable);

 private:
  std::string SharedSize(NodeIndex array);
  void SingleLine(NodeIndex node);
  void Declaration(NodeIndex node);
  void If(NodeIndex node, std::string_view before);
  std::string ForStart(NodeIndex node);
  void For(NodeIndex node);
  void While(NodeIndex node);
  void DoWhile(NodeIndex node);
  void Switch(NodeIndex node);
  void Return(NodeIndex node);
  void TracedReturn(NodeIndex node);
  // A loop whose condition or step has changes that become statements of its body.
  void Loop(NodeIndex node);
  void LoopCondition(NodeIndex loop, NodeIndex condition);
  void LoopBody(NodeIndex loop, NodeIndex body);
  void PrintStatement(NodeIndex node);
  void AssertStatement(NodeIndex node);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
