// Matrices in the plain form. One of two columns is a vec4 of both; the others keep their type, with the columns v0,
// v1, ... and mul.
#pragma once

#include "parallelprogram/kernellanguage/plain_checks.h"
#include "parallelprogram/kernellanguage/plain_kept_values.h"

namespace ostra::kernellanguage {

class PlainExpressions;

class PlainMatrices : PlainPart {
 public:
  PlainMatrices(const PlainBasis& basis, const KeptValues& kept, PlainValues& values, PlainChecks& checks,
                PlainExpressions& expressions)
      : PlainPart(basis), _kept(kept), _values(values), _checks(checks), _expressions(expressions) {}

  std::string ConstructMatrix(TypeIndex type, const std::vector<TypedNode>& parts);
  // +, -, * and / of a matrix of three or four columns with a matrix or a number, component by component.
  std::string ComputeMatrix(Operation operation, TypeIndex result, const TypedNode& left, const TypedNode& right);
  // Sums from the first component to the last, as those of larger matrices.
  std::string MultiplyMatrix(TypeIndex result, const TypedNode& left, const TypedNode& right);
  std::string CallOfSmallMatrix(NodeIndex node);
  std::string Column(NodeIndex node);

 private:
  const KeptValues& _kept;
  PlainValues& _values;
  PlainChecks& _checks;
  PlainExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
