// Values in braces: of arrays, structs, vectors and matrices.
#pragma once

#include "parallelprogram/kernellanguage/resolve_construction.h"

namespace ostra::kernellanguage {

class ResolveLists : ResolvePart {
 public:
  ResolveLists(const ResolveBasis& basis, const ResolveConstants& constants, ResolveConversions& conversions,
               ResolveExpressions& expressions, ResolveConstruction& construction)
      : ResolvePart(basis),
        _constants(constants),
        _conversions(conversions),
        _expressions(expressions),
        _construction(construction) {}

  // A kInitializerList for a value of the type.
  void ReadList(NodeIndex list, TypeIndex type);

 private:
  void ReadElements(NodeIndex list, TypeIndex array);
  void ReadMembers(NodeIndex list, TypeIndex type);
  void ReadComponents(NodeIndex list, TypeIndex type);
  void ReadElement(NodeIndex value, TypeIndex type);
  void StopList(NodeIndex list) { Stop(list, "values in braces for this type"); }
  Bool IsAggregate(TypeIndex type) const {
    return Get(type).kind == TypeKind::kArray || Get(type).kind == TypeKind::kStruct;
  }

  const ResolveConstants& _constants;
  ResolveConversions& _conversions;
  ResolveExpressions& _expressions;
  ResolveConstruction& _construction;
};

}  // namespace ostra::kernellanguage
