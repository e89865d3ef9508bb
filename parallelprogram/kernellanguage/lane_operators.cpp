#include "parallelprogram/kernellanguage/lane_operators.h"

#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_values.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

// The right side is computed only for lanes that need it, unless that makes no difference.
LaneValue LaneOperators::Logical(NodeIndex node) {
  const NodeIndex left = Child(node, 0), right = Child(node, 1);
  const Bool isAnd = OperationOf(node) == Operation::kLogicalAnd;
  const std::string_view sign = isAnd ? " & " : " | ";
  const std::string first = _uses.expressions.ToMask(left);
  if (_kernel.IsHarmless(right))
    return {Join({"(", first, sign, _uses.expressions.ToMask(right), ")"}), LaneForm::kLanes, kBoolType};
  const std::string result = NewName("condition"), mask = NewName("mask");
  Line({"Mask ", result, " = ", first, ";"});
  Line({"{ Mask ", mask, " = ",
        isAnd ? Join({GetMask(), " & ", result}) : Join({"AndNot(", GetMask(), ", ", result, ")"}), ";"});
  Line({"if (Any(", mask, ")) {"});
  _masks.Push(mask);
  const std::string second = _uses.expressions.ToMask(right);
  Line({result, " = ", isAnd ? Join({result, " & ", second}) : Join({result, " | (", second, " & ", mask, ")"}), ";"});
  _masks.Pop();
  Line({"} }"});
  return {result, LaneForm::kLanes, kBoolType};
}

LaneValue LaneOperators::Unary(NodeIndex node) {
  const NodeIndex child = Child(node, 0);
  const Operation operation = OperationOf(node);
  const LaneValue value = _uses.expressions.Evaluate(child);
  if (value.form == LaneForm::kRows && operation == Operation::kMinus)
    return {Join({"(-", value.text, ")"}), LaneForm::kRows, TypeOf(node)};
  const std::string operand = _uses.values.ToLanes(value, child);
  if (operation == Operation::kPlus) return {operand, LaneForm::kLanes, TypeOf(node)};
  if (operation != Operation::kMinus && _types.IsVector(TypeOf(node))) Refuse(node, "bits of vectors");
  return {Join({"(", GetSpelling(operation), operand, ")"}), LaneForm::kLanes, TypeOf(node)};
}

LaneValue LaneOperators::BinaryOfRows(Operation operation, const LaneValue& left, const LaneValue& right,
                                      TypeIndex result, NodeIndex place) {
  const auto operand = [&](const LaneValue& value) {
    if (_types.IsVector(value.type)) return _uses.values.ToRows(value);
    return value.form == LaneForm::kShared ? Join({"static_cast<Float32>(", value.text, ")"})
                                           : _uses.values.ToLanes(value, place);
  };
  return {Join({"(", operand(left), " ", GetSpelling(operation), " ", operand(right), ")"}), LaneForm::kRows, result};
}

LaneValue LaneOperators::Shift(Operation operation, const LaneValue& left, const LaneValue& right, TypeIndex result,
                               NodeIndex place) {
  const std::string a = _uses.values.ToLanes(left, place);
  if (_types.IsVector(left.type)) Refuse(place, "bits of vectors");
  const std::string count = _uses.values.ToLanes(_uses.values.Convert(right, left.type, place), place);
  return {Join({operation == Operation::kShiftLeft ? "ShiftLeft(" : "ShiftRight(", a, ", ", count, ")"}),
          LaneForm::kLanes, result};
}

// Of integers, under the mask: lanes that are off divide by nothing.
LaneValue LaneOperators::Divide(Operation operation, const LaneValue& left, const LaneValue& right, TypeIndex result,
                                NodeIndex place) {
  const std::string a = _uses.values.ToLanes(left, place);
  if (!_types.IsScalar(left.type)) Refuse(place, "a division of vectors of integers");
  const std::string_view name = operation == Operation::kDivide ? "Divide" : "Remainder";
  if (right.isDivisor) return {Join({name, "By<", right.text, ">(", a, ")"}), LaneForm::kLanes, result};
  return {Join({name, "(", a, ", ", _uses.values.ToLanes(right, place), ", ", GetMask(), ")"}), LaneForm::kLanes,
          result};
}

LaneValue LaneOperators::Binary(Operation operation, const LaneValue& left, const LaneValue& right, TypeIndex result,
                                NodeIndex place) {
  if (left.form == LaneForm::kRows || right.form == LaneForm::kRows)
    return BinaryOfRows(operation, left, right, result, place);
  if (operation == Operation::kAdd && (left.form == LaneForm::kShared || right.form == LaneForm::kShared)) {
    const LaneValue& moved = left.form == LaneForm::kShared ? right : left;
    const Bool isRun = moved.form == LaneForm::kLinear && (result == kIntType || result == kUIntType);
    if (moved.form == LaneForm::kClamped || isRun)
      return {Join({"(", left.text, " + ", right.text, ")"}), moved.form, result, moved.stride};
  }
  if (IsShift(operation)) return Shift(operation, left, right, result, place);
  const Bool isDivision = operation == Operation::kDivide || operation == Operation::kRemainder;
  if (isDivision && !IsFloating(_types[left.type].scalar)) return Divide(operation, left, right, result, place);
  const std::string a = _uses.values.ToLanes(left, place);
  const Bool isOfBits = operation >= Operation::kBitAnd && operation <= Operation::kBitXor;
  if (isOfBits && _types.IsVector(left.type)) Refuse(place, "bits of vectors");
  return {Join({"(", a, " ", GetSpelling(operation), " ", _uses.values.ToLanes(right, place), ")"}), LaneForm::kLanes,
          result};
}

std::string LaneOperators::Wanted(NodeIndex value, TypeIndex type) {
  return _uses.values.ToLanes(_uses.values.Convert(_uses.expressions.Evaluate(value), type, value), value);
}

LaneValue LaneOperators::ChooseShared(NodeIndex node, const std::string& test) {
  const TypeIndex type = TypeOf(node);
  const std::string result = NewName("value");
  Line({LaneType(type, node), " ", result, "{};"});
  Line({"if (", test, ") {"});
  Line({result, " = ", Wanted(Child(node, 1), type), ";"});
  Line({"} else {"});
  Line({result, " = ", Wanted(Child(node, 2), type), ";"});
  Line({"}"});
  return {result, LaneForm::kLanes, type};
}

LaneValue LaneOperators::ChooseMasked(NodeIndex node, const std::string& test) {
  const TypeIndex type = TypeOf(node);
  const std::string result = NewName("value");
  Line({LaneType(type, node), " ", result, "{};"});
  const std::string chosen = NewName("condition"), mask = NewName("mask");
  Line({"const Mask ", chosen, " = ", test, ";"});
  Line({"{ Mask ", mask, " = ", GetMask(), " & ", chosen, ";"});
  Line({"if (Any(", mask, ")) {"});
  _masks.Push(mask);
  Line({result, " = ", Wanted(Child(node, 1), type), ";"});
  Line({"}"});
  Line({mask, " = AndNot(", _masks.GetOuter(), ", ", chosen, ");"});
  Line({"if (Any(", mask, ")) {"});
  Line({result, " = Select(", chosen, ", ", result, ", ", Wanted(Child(node, 2), type), ");"});
  _masks.Pop();
  Line({"} }"});
  return {result, LaneForm::kLanes, type};
}

LaneValue LaneOperators::Conditional(NodeIndex node) {
  const NodeIndex condition = Child(node, 0), yes = Child(node, 1), no = Child(node, 2);
  const TypeIndex type = TypeOf(node);
  const Bool isShared = FormOf(condition) == LaneForm::kShared;
  const Bool isHarmless = _kernel.IsHarmless(yes) && _kernel.IsHarmless(no);
  const std::string test = isShared ? _uses.shared.Shared(condition) : _uses.expressions.ToMask(condition);
  if (isHarmless) {
    const std::string a = Wanted(yes, type), b = Wanted(no, type);
    return {isShared ? Join({"(", test, " ? ", a, " : ", b, ")"}) : Join({"Select(", test, ", ", a, ", ", b, ")"}),
            LaneForm::kLanes, type};
  }
  return isShared ? ChooseShared(node, test) : ChooseMasked(node, test);
}

}  // namespace ostra::kernellanguage
