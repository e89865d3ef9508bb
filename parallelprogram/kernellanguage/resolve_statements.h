// Statements. A new one gets a case in ReadStatement or ReadWord.
#pragma once

#include "parallelprogram/kernellanguage/resolve_group_calls.h"
#include "parallelprogram/kernellanguage/resolve_variables.h"

namespace ostra::kernellanguage {

class ResolveStatements : ResolvePart {
 public:
  struct Uses {
    ResolveNames& names;
    const ResolveConstants& constants;
    ResolveConversions& conversions;
    ResolveGroupCalls& groupCalls;
    ResolveExpressions& expressions;
    ResolveVariables& variables;
  };

  ResolveStatements(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  // The kBlock of a function or of the kernel, in the scope that is open.
  void ReadBody(NodeIndex block, TypeIndex returnType);

 private:
  void ReadStatements(NodeIndex block);
  void ReadStatement(NodeIndex node);
  void ReadWord(NodeIndex node);
  void ReadInScope(NodeIndex statement);
  void If(NodeIndex node);
  void For(NodeIndex node);
  void Switch(NodeIndex node);
  void Case(NodeIndex node);
  void Return(NodeIndex node);
  void Print(NodeIndex node);
  void Assert(NodeIndex node);
  void CheckReportText(NodeIndex node, std::size_t count);
  NodeIndex FindChanging(NodeIndex expression) const;

  const Uses _uses;
  TypeIndex _returnType = kVoidType;
};

}  // namespace ostra::kernellanguage
