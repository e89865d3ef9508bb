// Expressions of one invocation as C++.
#pragma once

#include "parallelprogram/kernellanguage/group_kernel.h"
#include "parallelprogram/kernellanguage/group_output.h"
#include "parallelprogram/kernellanguage/group_variables.h"

namespace ostra::kernellanguage {

class GroupExpressions : GroupQuery {
 public:
  GroupExpressions(const GroupKernel& kernel, GroupVariables& variables, GroupOutput& output)
      : GroupQuery(kernel), _variables(variables), _output(output) {}

  std::string Expression(NodeIndex node);
  // Of a statement, in whose parentheses it stands.
  std::string Condition(NodeIndex node);
  // The declaration of a variable under that name, with its initial value.
  std::string Variable(NodeIndex variable, std::string_view name);

 private:
  std::string Literal(NodeIndex node) const;
  std::string Name(NodeIndex node);
  std::string Operator(NodeIndex node);
  std::string Construct(NodeIndex node);
  std::string Index(NodeIndex node);
  std::string Call(NodeIndex node);
  // Children from `first` on, with commas.
  std::string List(NodeIndex node, std::size_t first);
  std::string Refuse(NodeIndex node);

  GroupVariables& _variables;
  GroupOutput& _output;
};

}  // namespace ostra::kernellanguage
