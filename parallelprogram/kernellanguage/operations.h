// Which operators are of one kind.
#pragma once

#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

constexpr Bool IsComparison(Operation operation) {
  return operation >= Operation::kLess && operation <= Operation::kNotEqual;
}
constexpr Bool IsEquality(Operation operation) {
  return operation == Operation::kEqual || operation == Operation::kNotEqual;
}
constexpr Bool IsShift(Operation operation) {
  return operation == Operation::kShiftLeft || operation == Operation::kShiftRight;
}
// ++ and --.
constexpr Bool IsStep(Operation operation) {
  return operation == Operation::kIncrement || operation == Operation::kDecrement;
}
// && and ||, whose right operand may not be computed.
constexpr Bool IsLogical(Operation operation) {
  return operation == Operation::kLogicalAnd || operation == Operation::kLogicalOr;
}
// Operators of whole numbers only.
constexpr Bool IsOfIntegers(Operation operation) {
  return operation == Operation::kRemainder || IsShift(operation) ||
         (operation >= Operation::kBitAnd && operation <= Operation::kBitXor);
}

}  // namespace ostra::kernellanguage
