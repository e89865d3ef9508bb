#include "parallelprogram/kernellanguage/lane_assignments.h"

#include "parallelprogram/kernellanguage/lane_calls.h"
#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_memory.h"
#include "parallelprogram/kernellanguage/lane_operators.h"
#include "parallelprogram/kernellanguage/lane_rows.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_uses.h"
#include "parallelprogram/kernellanguage/lane_values.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

void LaneAssignments::Change(NodeIndex target, Operation operation, const LaneValue* by, TypeIndex computed) {
  const TypeIndex type = TypeOf(target);
  LaneValue before = _uses.expressions.EvaluateItself(target);
  LaneValue operand =
      by ? *by : LaneValue{Join({"static_cast<", SharedType(computed), ">(1)"}), LaneForm::kShared, computed};
  LaneValue after;
  const Bool isScalar = before.form == LaneForm::kShared || before.form == LaneForm::kLinear;
  if (isScalar && operand.form == LaneForm::kShared) {
    const std::string left = _uses.values.Convert(before, computed, target).text;
    after = {Join({"(", left, " ", GetSpelling(operation), " ", operand.text, ")"}), before.form, computed,
             before.stride};
  } else {
    after =
        _uses.operators.Binary(operation, _uses.values.Convert(before, computed, target), operand, computed, target);
  }
  Assign(target, _uses.values.Convert(after, type, target));
}

// An element of an array at a place that differs, or a member or component of it. Answers false for other places.
Bool LaneAssignments::AssignElements(NodeIndex target, const LaneValue& value) {
  std::string path, array;
  NodeIndex element = target;
  for (; KindOf(element) == NodeKind::kMemberOf; element = Child(element, 0))
    path.insert(0, Join({".", _kernel.PartName(element)}));
  if (KindOf(element) != NodeKind::kIndex || FormOf(Child(element, 1)) == LaneForm::kShared) return false;
  const Bool isArray = _types[TypeOf(Child(element, 0))].kind == TypeKind::kArray;
  const NodeIndex variable = isArray ? _uses.memory.FindVariable(Child(element, 0), array) : kNoNode;
  if (variable == kNoNode || FormOf(variable) != LaneForm::kLanes) return false;
  std::string index = _uses.expressions.InLanes(Child(element, 1)), values = _uses.values.ToLanes(value, target);
  if (!path.empty()) {
    const std::string place = NewName("index"), whole = NewName("values");
    Line({"{ const auto ", place, " = ", index, ";"});
    Line({"auto ", whole, " = GetElements(", array, ", ", place, ", ", GetMask(), ");"});
    Line({whole, path, " = ", values, ";"});
    index = place;
    values = whole;
  }
  Line({"SetElements(", array, ", ", index, ", ", values, ", ", GetMask(), ");", path.empty() ? "" : " }"});
  return true;
}

void LaneAssignments::ChangeBy(NodeIndex node) {
  const LaneValue by = _uses.expressions.Evaluate(Child(node, 1));
  Change(Child(node, 0), OperationOf(node), &by, _resolved.computed[node]);
}

// ++ and --.
void LaneAssignments::Step(NodeIndex node) {
  const Operation operation = OperationOf(node) == Operation::kIncrement ? Operation::kAdd : Operation::kSubtract;
  Change(Child(node, 0), operation, nullptr, _resolved.computed[node]);
}

Bool LaneAssignments::StepCount(NodeIndex node) {
  const NodeKind kind = KindOf(node);
  const Bool isStep = kind == NodeKind::kAssign || kind == NodeKind::kPostfix || kind == NodeKind::kUnary;
  if (!isStep || !_kernel.IsCount(Child(node, 0))) return false;
  const NodeIndex place = Child(node, 0), variable = _resolved.meaning[place].target;
  const std::string name = _names.GetVariable(variable);
  Line({_uses.shared.SharedItself(node), ";"});
  if (kind != NodeKind::kAssign && !IsFloating(_types[TypeOf(place)].scalar)) {
    const Bool isUp = OperationOf(node) == Operation::kIncrement;
    Line({name, isUp ? " = Increment(" : " = Decrement(", GetMask(), ", ", name, ");"});
  } else {
    const LaneValue count{_names.GetCount(variable), LaneForm::kShared, TypeOf(place)};
    Line({name, " = Select(", GetMask(), ", ", _uses.values.ToLanes(count, place), ", ", name, ");"});
  }
  return true;
}

void LaneAssignments::Effect(NodeIndex node) {
  if (StepCount(node)) return;
  const auto children = _tree.GetChildren(node);
  const Operation operation = OperationOf(node);
  switch (KindOf(node)) {
    case NodeKind::kComma:
      Effect(children[0]);
      return Effect(children[1]);
    case NodeKind::kAssign:
      if (operation != Operation::kNone) return ChangeBy(node);
      return Assign(children[0], _uses.expressions.Evaluate(children[1]));
    case NodeKind::kPostfix:
      return Step(node);
    case NodeKind::kUnary:
      if (IsStep(operation)) return Step(node);
      break;
    case NodeKind::kCall:
      if (_resolved.meaning[node].kind == MeaningKind::kWord && IsAtomic(_resolved.meaning[node].word))
        return _uses.calls.CallAtomic(node);
      break;
    default:
      break;
  }
  const LaneValue value = _uses.expressions.EvaluateItself(node);
  if (!value.text.empty()) Line({"static_cast<void>(", value.text, ");"});
}

// A member or component of an element, lane by lane.
void LaneAssignments::AssignPart(NodeIndex target, NodeIndex element, const std::string& path, const LaneValue& value) {
  Line({"{"});
  const std::string values = NewName("values"), place = _uses.memory.ElementOfLane(element);
  Line({"const auto ", values, " = ", _uses.values.ToLanes(value, target), ";"});
  Line({"ForEachLaneIn(", GetMask(), ", [&](int ostraLane) OSTRA_KERNEL_FLAT { ", place, path, " = GetLane(", values,
        ", ostraLane); }); }"});
}

// A whole element of a buffer or of group memory.
void LaneAssignments::AssignElement(NodeIndex element, const LaneValue& value) {
  const NodeIndex memory = Child(element, 0);
  const std::string first = _names.GetFirst(memory);
  const LaneValue index = _uses.expressions.Evaluate(Child(element, 1));
  LaneType(value.type, element);
  if (value.type == kBoolType && (index.form != LaneForm::kShared || value.form != LaneForm::kShared))
    return Refuse(element, "an element of a buffer of bool");
  if (index.form == LaneForm::kShared && value.form == LaneForm::kShared)
    return Line({_names.GetMemory(memory), "[", index.text, "] = ", value.text, ";"});
  if (index.form == LaneForm::kShared)
    return Line(
        {"StoreLast(", first, " + ", index.text, ", ", _uses.values.ToLanes(value, element), ", ", GetMask(), ");"});
  if (index.form == LaneForm::kLinear && index.stride == 1 && value.form == LaneForm::kRows)
    return Line({"StoreRowsOfRun(", first, ", ", index.text, ", ", value.text, ", ", GetMask(), ");"});
  if (index.form == LaneForm::kLinear && index.stride == 1)
    return Line(
        {"StoreRun(", first, ", ", index.text, ", ", _uses.values.ToLanes(value, element), ", ", GetMask(), ");"});
  return Line({"Scatter(", first, ", ", _uses.values.ToLanes(index, element), ", ",
               _uses.values.ToLanes(value, element), ", ", GetMask(), ");"});
}

Bool LaneAssignments::MayBeReadLater(NodeIndex variable) const {
  // Parameters that are handed back: the caller reads them.
  if (_masks.IsOutside(variable)) return true;
  if (!_masks.IsBelow(variable)) return false;
  const NodeIndex region = _masks.GetRegion();
  return region == kNoNode || _uses.variableUses.IsReadBehind(variable, region);
}

void LaneAssignments::Assign(NodeIndex target, const LaneValue& value) {
  if (HasRefused()) return;
  // What is on the right comes first, and has been written down as it is after such a call.
  if (_kernel.HasChangingCall(target))
    return Refuse(target, "an assignment to a place that a call finds and changes others");
  std::string path;
  const NodeIndex element = _kernel.FindElement(target, path);
  if (element == kNoNode) {
    if (!AssignElements(target, value)) AssignVariable(target, value);
  } else if (element != target || IsAggregate(TypeOf(target))) {
    AssignPart(target, element, path, value);
  } else {
    AssignElement(target, value);
  }
}

void LaneAssignments::AssignVariable(NodeIndex target, const LaneValue& value) {
  std::string place;
  const NodeIndex variable = _uses.memory.FindVariable(target, place);
  if (variable == kNoNode) return Refuse(target, "an assignment to this");
  if (FormOf(variable) != LaneForm::kLanes) {
    if (value.form == LaneForm::kLanes)
      return Refuse(target, "a value that is the same in all invocations, made of others");
    return Line({place, " = ", value.text, ";"});
  }
  const std::string lanes = _uses.rows.IsInRows(variable) && place == _names.GetVariable(variable)
                                ? _uses.values.ToRows(value)
                                : _uses.values.ToLanes(value, target);
  if (MayBeReadLater(variable)) return Line({place, " = Select(", GetMask(), ", ", lanes, ", ", place, ");"});
  Line({place, " = ", lanes, ";"});
}

}  // namespace ostra::kernellanguage
