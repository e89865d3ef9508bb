// What stands in a file outside of functions: directives, parameters, structs.
#pragma once

#include "parallelprogram/kernellanguage/resolve_types.h"

namespace ostra::kernellanguage {

class ResolveItems : ResolvePart {
 public:
  ResolveItems(const ResolveBasis& basis, ResolveNames& names, const ResolveConstants& constants, ResolveTypes& types)
      : ResolvePart(basis), _names(names), _constants(constants), _types(types) {}

  void ReadDirective(NodeIndex item);  // kGroupSize or kTuning
  void ReadParameters(NodeIndex item);
  void ReadStruct(NodeIndex item);

 private:
  Bool ReadMember(NodeIndex item, NodeIndex member);

  ResolveNames& _names;
  const ResolveConstants& _constants;
  ResolveTypes& _types;
};

}  // namespace ostra::kernellanguage
