#include "parallelprogram/kernellanguage/lane_variables.h"

#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_rows.h"
#include "parallelprogram/kernellanguage/lane_uses.h"
#include "parallelprogram/kernellanguage/lane_values.h"

namespace ostra::kernellanguage {

void LaneVariables::ArrayVariable(NodeIndex node, TypeIndex type) {
  const TypeIndex element = _types[type].element;
  const NodeIndex value = Child(node, 2);
  const Bool isInLanes = FormOf(node) == LaneForm::kLanes;
  if (FormOf(node) == LaneForm::kLinear) return Refuse(node, "an array of this kind");
  const std::string name = isInLanes ? LaneType(element, node) : SharedType(element);
  if (name.empty()) return Refuse(node, Join({"an array of ", _types.GetName(element)}));
  if (value != kNoNode && !_tree.Is(value, NodeKind::kInitializerList)) return Refuse(node, "this value of an array");
  const std::string values = value == kNoNode ? "" : Join({" = {", ListValues(node, name), "}"});
  _masks.SetVariableDepth(node, _masks.GetDepth());
  Line({"[[maybe_unused]] ", name, " ", _names.GetVariable(node), "[", std::to_string(_types[type].count), "]", values,
        ";"});
}

std::string LaneVariables::ListValues(NodeIndex node, const std::string& element) {
  const Type& type = _types[TypeOf(node)];
  const Bool isInLanes = FormOf(node) == LaneForm::kLanes;
  const auto items = _tree.GetChildren(Child(node, 2));
  std::string values;
  for (const NodeIndex item : items) {
    const LaneValue one = _uses.values.Convert(_uses.expressions.Evaluate(item), type.element, item);
    if (!isInLanes && one.form != LaneForm::kShared) Refuse(item, "this value of an array");
    values += Join({values.empty() ? "" : ", ", isInLanes ? _uses.values.ToLanes(one, item) : one.text});
  }
  // What is not listed is 0.
  for (std::size_t i = items.size(); isInLanes && i < type.count && i < 4096; ++i)
    values += Join({values.empty() ? "" : ", ", element, "{}"});
  return values;
}

void LaneVariables::Variable(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  if (_types[type].kind == TypeKind::kArray) return ArrayVariable(node, type);
  return FormOf(node) == LaneForm::kLanes ? LaneVariable(node) : SharedVariable(node);
}

void LaneVariables::LaneVariable(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const std::string name = _names.GetVariable(node);
  const NodeIndex value = Child(node, 2);
  const Bool isInRows = _uses.rows.IsInRows(node);
  const std::string lanes = isInRows ? _uses.values.RowsType(type) : LaneType(type, node);
  _masks.SetVariableDepth(node, _masks.GetDepth());
  if (value == kNoNode) return Line({"[[maybe_unused]] ", lanes, " ", name, "{};"});
  LaneValue first = _uses.expressions.Evaluate(value);
  if (_uniformity.isCounter[node]) {
    Line({SharedType(type), " ", _names.GetCount(node), " = ", first.text, ";"});
    first.text = _names.GetCount(node);
  }
  const Bool isRun = first.form == LaneForm::kClamped || (first.form == LaneForm::kLinear && first.stride == 1);
  const Bool isHeldAsRun = isRun && first.type == type && !_uses.variableUses.IsChanged(node) && !IsKept(node);
  _uses.expressions.SetForm(node, isHeldAsRun ? first.form : LaneForm::kLanes);
  if (isHeldAsRun) return Line({"[[maybe_unused]] const auto ", name, " = ", first.text, ";"});
  Line({"[[maybe_unused]] ", lanes, " ", name, " = ",
        isInRows ? _uses.values.ToRows(first) : _uses.values.ToLanes(first, value), ";"});
}

void LaneVariables::SharedVariable(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const std::string name = _names.GetVariable(node);
  const NodeIndex value = Child(node, 2);
  const std::string shared = SharedType(type);
  if (shared.empty()) return Refuse(node, Join({"a variable of type ", _types.GetName(type)}));
  if (value == kNoNode) return Line({"[[maybe_unused]] ", shared, " ", name, "{};"});
  const LaneValue first = _uses.expressions.Evaluate(value);
  if (first.form == LaneForm::kLanes)
    return Refuse(value, "a value that is the same in all invocations, made of others");
  // Labels may be constants.
  const std::string_view qualifier = _tree.HasFlag(node, kIsConst) && first.form == LaneForm::kShared ? "const " : "";
  Line({"[[maybe_unused]] ", qualifier, shared, " ", name, " = ", first.text, ";"});
}

}  // namespace ostra::kernellanguage
