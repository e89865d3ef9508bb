// Values that are made of others: vec4(v.xy, z, 1.0), mat3(1.0), Particle(a, b), (float)x.
#pragma once

#include "parallelprogram/kernellanguage/resolve_conversions.h"
#include "parallelprogram/kernellanguage/resolve_expressions.h"
#include "parallelprogram/kernellanguage/resolve_types.h"

namespace ostra::kernellanguage {

class ResolveConstruction : ResolvePart {
 public:
  using Arguments = std::span<const NodeIndex>;

  ResolveConstruction(const ResolveBasis& basis, ResolveTypes& types, ResolveConversions& conversions,
                      ResolveExpressions& expressions)
      : ResolvePart(basis), _types(types), _conversions(conversions), _expressions(expressions) {}

  TypeIndex Construct(NodeIndex node);
  TypeIndex Cast(NodeIndex node);
  // The components that all arguments have together, those of the matrices included; 0 with an error.
  UInt32 CountComponents(TypeIndex type, Arguments arguments);
  // Makes the arguments be wanted with the scalar of the value that is made of them.
  void ConvertComponents(Arguments arguments, Scalar scalar);

 private:
  TypeIndex ConstructScalar(NodeIndex node, TypeIndex type, Arguments arguments);
  TypeIndex ConstructVector(NodeIndex node, TypeIndex type, Arguments arguments);
  TypeIndex ConstructMatrix(NodeIndex node, TypeIndex type, Arguments arguments);
  TypeIndex ConstructColumns(NodeIndex node, TypeIndex type, Arguments arguments, UInt32 count, UInt32 height);
  TypeIndex ConstructStruct(NodeIndex node, TypeIndex type, Arguments arguments);
  // Whether all shading languages make the vector of these as C++ does.
  Bool IsPlainVector(TypeIndex type, Arguments arguments) const;
  TypeIndex CastToVector(NodeIndex node, TypeIndex type);

  ResolveTypes& _types;
  ResolveConversions& _conversions;
  ResolveExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
