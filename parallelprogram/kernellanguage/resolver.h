// Resolver: walks the tree in the order in which C++ declares things, the kernel last, and fills the tables. It owns
// the parts; each gets those that it uses. Internal to resolve.cpp.
#pragma once

#include "parallelprogram/kernellanguage/resolve.h"
#include "parallelprogram/kernellanguage/resolve_assignments.h"
#include "parallelprogram/kernellanguage/resolve_calls.h"
#include "parallelprogram/kernellanguage/resolve_functions.h"
#include "parallelprogram/kernellanguage/resolve_items.h"
#include "parallelprogram/kernellanguage/resolve_members.h"

namespace ostra::kernellanguage {

class Resolver {
 public:
  explicit Resolver(const SyntaxTree& tree);
  Resolution Run();

 private:
  void ReadItem(NodeIndex item);
  void ReadKernel();

  const SyntaxTree& _tree;
  ResolvedTree _resolved;
  ResolveMessages _messages{_tree};
  const ResolveBasis _basis{_tree, _resolved, _messages};

  ResolveNames _names{_basis};
  ResolveConstants _constants{_tree, _names};
  ResolveTypes _types{_basis, _names, _constants};
  ResolveItems _items{_basis, _names, _constants, _types};
  ResolveUnknownNames _unknownNames{_basis, _names};
  ResolveConversions _conversions{_basis};
  ResolvePlaces _places{_basis};
  ResolveMatrices _matrices{_basis};
  ResolveGroupCalls _groupCalls{_basis, _names};
  // These call each other, as expressions stand inside of each other.
  ResolveExpressions _expressions{
      _basis, {_names, _unknownNames, _parameterWords, _members, _operators, _assignments, _construction, _calls}};
  ResolveParameterWords _parameterWords{_basis, _names, _unknownNames, _expressions};
  ResolveMembers _members{_basis, _expressions};
  ResolveOperators _operators{_basis, _expressions, _matrices};
  ResolveAssignments _assignments{_basis, {_conversions, _places, _expressions, _operators, _matrices}};
  ResolveConstruction _construction{_basis, _types, _conversions, _expressions};
  ResolveLists _lists{_basis, _constants, _conversions, _expressions, _construction};
  ResolveFunctionCalls _functionCalls{_basis, {_names, _conversions, _places, _expressions}};
  ResolveWordCalls _wordCalls{_basis, {_conversions, _places, _groupCalls, _expressions}};
  ResolveTextureCalls _textureCalls{_basis, {_names, _conversions, _expressions, _parameterWords}};
  ResolveAtomicCalls _atomicCalls{_basis, {_names, _places, _expressions, _parameterWords}};
  ResolveCalls _calls{
      _basis,
      {_names, _unknownNames, _conversions, _expressions, _functionCalls, _wordCalls, _textureCalls, _atomicCalls}};
  ResolveVariables _variables{_basis, {_names, _constants, _types, _conversions, _expressions, _lists}};
  ResolveStatements _statements{_basis, {_names, _constants, _conversions, _groupCalls, _expressions, _variables}};
  ResolveFunctions _functions{_basis, {_names, _types, _conversions, _expressions, _statements}};
};

}  // namespace ostra::kernellanguage
