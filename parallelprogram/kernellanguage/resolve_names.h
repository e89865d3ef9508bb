// What the names of a file stand for where the resolver is: variables by scope, structs, functions, parameters.
//
//   names.OpenScope();
//   names.Declare(variable);             // an error if the scope has one by this name
//   names.FindVariable(name) == variable
//   names.CloseScope();                  // what it hid is visible again
#pragma once

#include <unordered_map>

#include "parallelprogram/kernellanguage/resolve_part.h"

namespace ostra::kernellanguage {

class ResolveNames : ResolvePart {
 public:
  explicit ResolveNames(const ResolveBasis& basis);

  void OpenScope() { _scopes.push_back(_hidden.size()); }
  void CloseScope();
  // A kVariable, kFunctionParameter or kSharedArray.
  void Declare(NodeIndex node);
  // The declaration that the name of a node means here; kNoNode: there is none.
  NodeIndex FindVariable(NodeIndex name) const { return _visible[_tree.nodes[name].name]; }
  // The names of all that are visible.
  std::vector<std::string_view> ListVariables() const;

  // These are visible in the whole file from where they are added.
  void AddFunction(NodeIndex function);
  // False if there is one by its name, which stays.
  Bool AddStruct(NodeIndex declaration, TypeIndex type);
  Bool AddParameter(NodeIndex parameter);
  std::span<const NodeIndex> FindFunctions(std::string_view name) const;  // in their order; empty: there are none
  TypeIndex FindStruct(std::string_view name) const;                      // kUnknownType: there is none
  NodeIndex FindParameter(std::string_view name) const;                   // kNoNode: there is none

  // Behind this the resolver is in the body of the kernel, where words of invocations and parameters mean something.
  void EnterKernel() { _isInKernel = true; }
  Bool IsInKernel() const { return _isInKernel; }

  // Extends a declaration whose name it cannot have everywhere.
  void CheckName(NodeIndex node);

 private:
  struct Hidden {
    NameIndex name;
    NodeIndex before;
  };

  std::vector<NodeIndex> _visible;   // per name: the declaration that it means here
  std::vector<Hidden> _hidden;       // what the declarations of open scopes hide, kNoNode included
  std::vector<std::size_t> _scopes;  // the open ones: how much was hidden before
  std::vector<UInt32> _declaredIn;   // per node: number of scopes when it was declared
  std::unordered_map<std::string_view, std::vector<NodeIndex>> _functions;
  std::unordered_map<std::string_view, TypeIndex> _structs;
  std::unordered_map<std::string_view, NodeIndex> _parameters;
  Bool _isInKernel = false;
};

}  // namespace ostra::kernellanguage
