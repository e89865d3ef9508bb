// Prints the group form. Internal to group_code.cpp.
//
// The kernel is written three times: the first two times to learn which variables are used in several pieces, the last
// time for lanes. Each time the same parts are made anew, around the same variables.
#pragma once

#include "parallelprogram/kernellanguage/group_code.h"
#include "parallelprogram/kernellanguage/group_cut_statements.h"

namespace ostra::kernellanguage {

// One writing of the kernel. It owns the parts; each gets those that it uses.
class GroupRun {
 public:
  // `lanes` is null for one invocation after the other.
  GroupRun(const GroupKernel& kernel, GroupVariables& variables, const GroupValues& values, GroupLanes* lanes);
  GroupRun(const GroupRun&) = delete;
  GroupRun& operator=(const GroupRun&) = delete;

  const GroupOutput& GetOutput() const { return _output; }

 private:
  GroupOutput _output;
  GroupExpressions _expressions;
  GroupStatements _statements;
  GroupCutStatements _cutStatements;
};

class GroupPrinter {
 public:
  GroupPrinter(const AnalyzedKernel& kernel, const GroupCodeOptions& options) : _kernel(kernel), _options(options) {}

  GroupCode Print();

 private:
  void PrintScalar(const GroupOutput& output, GroupCode& code) const;
  void PrintLanes(GroupCode& code);
  // The arrays in group memory, and the variables that are kept for each invocation.
  std::string DeclareMemory() const;

  const GroupKernel _kernel;
  const GroupCodeOptions& _options;
  GroupVariables _variables;
  const GroupValues _values{_kernel, _variables};
};

}  // namespace ostra::kernellanguage
