// Statements of one invocation as C++, and variables that are declared between cut statements.
#pragma once

#include "parallelprogram/kernellanguage/group_expressions.h"
#include "parallelprogram/kernellanguage/group_values.h"

namespace ostra::kernellanguage {

class GroupStatements : GroupQuery {
 public:
  struct Uses {
    GroupVariables& variables;
    const GroupValues& values;
    GroupOutput& output;
    GroupExpressions& expressions;
  };

  GroupStatements(const GroupKernel& kernel, const Uses& uses)
      : GroupQuery(kernel),
        _variables(uses.variables),
        _values(uses.values),
        _output(uses.output),
        _expressions(uses.expressions) {}

  void Statement(NodeIndex node);
  // A variable that other pieces may use.
  void Declare(NodeIndex variable);

 private:
  void Return();
  void Loop(NodeIndex node);
  void If(NodeIndex node);
  void Declaration(NodeIndex node);
  void StoreKept(NodeIndex variable);
  Bool HasTypeName(NodeIndex variable);
  void Line(std::initializer_list<std::string_view> parts) { _output.Line(parts); }

  GroupVariables& _variables;
  const GroupValues& _values;
  GroupOutput& _output;
  GroupExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
