// Vectors of bools in the plain form: vectors of ints, 0 and 1, because not every language has others.
#pragma once

#include "parallelprogram/kernellanguage/plain_checks.h"
#include "parallelprogram/kernellanguage/plain_kept_values.h"

namespace ostra::kernellanguage {

class PlainExpressions;

class PlainBools : PlainPart {
 public:
  PlainBools(const PlainBasis& basis, const KeptValues& kept, PlainChecks& checks, PlainExpressions& expressions)
      : PlainPart(basis), _kept(kept), _checks(checks), _expressions(expressions) {}

  // b.x, b[1] and b[k]: whether the number is not 0.
  std::string BoolComponent(NodeIndex node);
  // == and != of vectors, which give a vector in HLSL and Metal.
  std::string CallComparison(NodeIndex node);
  // lessThan and its relatives, any, all and not.
  std::string CallOfBools(NodeIndex node);

 private:
  const KeptValues& _kept;
  PlainChecks& _checks;
  PlainExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
