// Values that are made of others: conversions, swizzles, vectors and structs of their parts.
#pragma once

#include "parallelprogram/kernellanguage/plain_kept_values.h"
#include "parallelprogram/kernellanguage/plain_values.h"

namespace ostra::kernellanguage {

class PlainExpressions;
class PlainMatrices;

class PlainConstruction : PlainPart {
 public:
  PlainConstruction(const PlainBasis& basis, const KeptValues& kept, PlainValues& values, PlainExpressions& expressions,
                    PlainMatrices& matrices)
      : PlainPart(basis), _kept(kept), _values(values), _expressions(expressions), _matrices(matrices) {}

  // The value as the type that it is wanted as.
  std::string Convert(NodeIndex node);
  std::string Swizzle(NodeIndex node);
  // The type of the node, of its children from `first` on.
  std::string Construct(NodeIndex node, std::size_t first);
  // Whether a struct is made of arrays, which a function cannot be given: of a constant of the file it is a list then.
  Bool NeedsBraces(NodeIndex value) const;
  // A value of a list, or a struct as one: { { 1.0, 2.0 }, 3 }. A table of the file stands there with its numbers.
  std::string ListText(NodeIndex value);

 private:
  Bool IsCopy(NodeIndex construct) const;
  Bool IsArray(NodeIndex value) const;
  NodeIndex FindTableList(NodeIndex value) const;
  std::string ConstructVector(TypeIndex type, const std::vector<TypedNode>& parts);
  std::string ConstructScalar(TypeIndex type, const TypedNode& part);
  std::string ConstructStruct(TypeIndex type, const std::vector<TypedNode>& parts);

  const KeptValues& _kept;
  PlainValues& _values;
  PlainExpressions& _expressions;
  PlainMatrices& _matrices;
};

}  // namespace ostra::kernellanguage
