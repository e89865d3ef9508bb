#include "parallelprogram/kernellanguage/lane_values.h"

#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {

std::string LaneValues::ToLanes(const LaneValue& value, NodeIndex place) {
  if (value.form == LaneForm::kLanes) return value.text;
  const std::string type = LaneType(value.type, place);
  // Not `type(name)`: in parentheses that could be read as a declaration.
  if (value.form != LaneForm::kLinear) return Join({"static_cast<", type, ">(", value.text, ")"});
  return Join(
      {"Ramp<", GetCppName(_types[value.type].scalar), ">(", value.text, ", ", std::to_string(value.stride), ")"});
}

std::string LaneValues::ToRows(const LaneValue& value) const {
  return value.form == LaneForm::kRows ? value.text : Join({"ToRows<", SharedType(value.type), ">(", value.text, ")"});
}

std::string LaneValues::RowsType(TypeIndex type) const { return Join({"LaneRows<", SharedType(type), ">"}); }

// Conversions between integers of 32 bits keep a linear value linear.
LaneValue LaneValues::Convert(LaneValue value, TypeIndex to, NodeIndex place) {
  if (value.type == to || to == kUnknownType) return value;
  const Type& from = _types[value.type];
  const Type& target = _types[to];
  const Bool isNumber = (from.kind == TypeKind::kScalar || from.kind == TypeKind::kVector) &&
                        from.kind == target.kind && from.count == target.count;
  if (!isNumber) {
    Refuse(place, Join({"a conversion from ", _types.GetName(value.type), " to ", _types.GetName(to)}));
    return value;
  }
  const auto is32 = [](Scalar scalar) { return scalar == Scalar::kInt32 || scalar == Scalar::kUInt32; };
  if (value.form == LaneForm::kShared || (value.form == LaneForm::kLinear && is32(target.scalar))) {
    value.text = Join({"static_cast<", SharedType(to), ">(", value.text, ")"});
    value.type = to;
    value.isDivisor = value.isDivisor && is32(target.scalar);
    return value;
  }
  const std::string lanes = ToLanes(value, place);
  LaneType(to, place);
  if (to == kBoolType) {
    const Bool isHalf = from.scalar == Scalar::kHalf;
    return {Join({"(", isHalf ? Join({"Convert<Float32>(", lanes, ")"}) : lanes,
                  " != ", GetCppName(isHalf ? Scalar::kFloat32 : from.scalar), "(0))"}),
            LaneForm::kLanes, to};
  }
  return {Join({"Convert<", GetCppName(target.scalar), ">(", lanes, ")"}), LaneForm::kLanes, to};
}

LaneValue LaneValues::Literal(NodeIndex node) const {
  LiteralValue value;
  std::string text(NameOf(node));
  if (ParseLiteral(text, value) && value.scalar == Scalar::kFloat32 && text.back() != 'f' && text.back() != 'F')
    text += 'f';
  return {text, LaneForm::kShared, TypeOf(node)};
}

LaneValue LaneValues::MapLanes(TypeIndex type, NodeIndex place, const std::string& one) {
  const std::string lanes = LaneType(type, place), result = NewName("mapped");
  Line({"const ", lanes, " ", result, " = MapLanes<", lanes, ">(", GetMask(),
        ", [&](int ostraLane) OSTRA_KERNEL_FLAT { return ", one, "; });"});
  return {result, LaneForm::kLanes, type};
}

}  // namespace ostra::kernellanguage
