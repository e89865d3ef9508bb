// The types that are written in a file: of variables, members, results and parameters, with the lengths of arrays.
#pragma once

#include "parallelprogram/kernellanguage/resolve_constants.h"

namespace ostra::kernellanguage {

class ResolveTypes : ResolvePart {
 public:
  ResolveTypes(const ResolveBasis& basis, const ResolveNames& names, const ResolveConstants& constants)
      : ResolvePart(basis), _names(names), _constants(constants) {}

  TypeIndex ReadType(NodeIndex type);
  TypeIndex ReadParameterType(NodeIndex type);
  // The type with the dimensions of an array, kNoNode without; `list` gives the length of [].
  TypeIndex ReadArray(TypeIndex element, NodeIndex dimensions, NodeIndex list);
  // Stops behind kMaxTypes types; then false.
  Bool CheckTypeCount(NodeIndex node);

 private:
  TypeIndex FindType(NodeIndex type) const;
  TypeIndex ReadBufferType(NodeIndex type);
  TypeIndex ReadValueType(NodeIndex type);
  void CheckParameterType(NodeIndex type, Bool isElement = false);
  void ExtendParameterType(NodeIndex node, TypeIndex type);
  std::optional<Int64> ReadLength(NodeIndex dimensions, std::size_t index, NodeIndex list) const;

  const ResolveNames& _names;
  const ResolveConstants& _constants;
};

}  // namespace ostra::kernellanguage
