#include "parallelprogram/kernellanguage/lane_expressions.h"

#include "parallelprogram/kernellanguage/lane_calls.h"
#include "parallelprogram/kernellanguage/lane_construction.h"
#include "parallelprogram/kernellanguage/lane_function_calls.h"
#include "parallelprogram/kernellanguage/lane_held_values.h"
#include "parallelprogram/kernellanguage/lane_memory.h"
#include "parallelprogram/kernellanguage/lane_operators.h"
#include "parallelprogram/kernellanguage/lane_rows.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_values.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

LaneValue LaneExpressions::Evaluate(NodeIndex node) {
  if (const LaneValue* held = _uses.held.Find(node)) return *held;
  return _uses.values.Convert(EvaluateItself(node), _resolved.converted[node], node);
}

std::string LaneExpressions::ToMaskUnder(const std::string& mask, NodeIndex condition) {
  if (!_tree.IsBinary(condition, Operation::kLogicalAnd) || !_kernel.IsHarmless(condition))
    return Join({"(", mask, " & ", ToMask(condition), ")"});
  return ToMaskUnder(ToMaskUnder(mask, Child(condition, 0)), Child(condition, 1));
}

std::string LaneExpressions::InLanes(NodeIndex node) { return _uses.values.ToLanes(Evaluate(node), node); }

LaneValue LaneExpressions::EvaluateItself(NodeIndex node) {
  if (_kernel.ChangesArguments(node)) return _uses.functionCalls.CallFunction(node);
  const LaneForm form = FormOf(node);
  const Bool isChange = KindOf(node) == NodeKind::kAssign || KindOf(node) == NodeKind::kPostfix;
  if (form == LaneForm::kLanes || isChange) return EvaluateLanes(node);
  LaneValue value{_uses.shared.SharedItself(node), form, TypeOf(node)};
  if (form == LaneForm::kLinear) value.stride = _uniformity.Get(node).stride;
  value.isDivisor = _kernel.IsDivisor(node);
  return value;
}

LaneValue LaneExpressions::EvaluateLanes(NodeIndex node) {
  const auto children = _tree.GetChildren(node);
  const Operation operation = OperationOf(node);
  switch (KindOf(node)) {
    case NodeKind::kName:
      return Name(node);
    case NodeKind::kUnary:
      if (IsStep(operation)) break;
      return _uses.operators.Unary(node);
    case NodeKind::kBinary: {
      if (IsLogical(operation)) return _uses.operators.Logical(node);
      const LaneValue left = Evaluate(children[0]), right = Evaluate(children[1]);
      return _uses.operators.Binary(operation, left, right, TypeOf(node), node);
    }
    case NodeKind::kConditional:
      return _uses.operators.Conditional(node);
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      return _uses.construction.Construct(node);
    case NodeKind::kInitializerList:
      return _uses.construction.StructOf(node);
    case NodeKind::kMemberOf:
      return _uses.memory.Member(node);
    case NodeKind::kIndex:
      return _uses.memory.Index(node);
    case NodeKind::kLocalData:
      return _uses.memory.LoadElement(node, TypeOf(node), children[1], node);
    case NodeKind::kCall:
      return _uses.calls.Call(node);
    default:
      break;
  }
  if (KindOf(node) == NodeKind::kAssign) Refuse(node, "an assignment inside an expression");
  Refuse(node, Join({"\"", NameOf(node), GetSpelling(operation), "\" inside an expression"}));
  return {"", LaneForm::kLanes, TypeOf(node)};
}

LaneValue LaneExpressions::WordName(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  switch (_resolved.meaning[node].word) {
    case WordId::kGlobalInvocation:
      return {"LaneVec3<UInt32>(Ramp<UInt32>(ostraX, 1), ostraY, ostraZ)", LaneForm::kLanes, type};
    case WordId::kLocalInvocation:
      if (_names.IsInGroup())
        return {"LaneVec3<UInt32>(Ramp<UInt32>(ostraLocal.x, 1), ostraLocal.y, ostraLocal.z)", LaneForm::kLanes, type};
      return {
          "LaneVec3<UInt32>(LocalX<OstraGroupSize::kX>(ostraX), ostraY % ostraGroupSize.y, ostraZ % "
          "ostraGroupSize.z)",
          LaneForm::kLanes, type};
    case WordId::kWorkGroup:
      return {
          "LaneVec3<UInt32>(GroupX<OstraGroupSize::kX>(ostraX), ostraY / ostraGroupSize.y, ostraZ / "
          "ostraGroupSize.z)",
          LaneForm::kLanes, type};
    default:
      break;
  }
  Refuse(node, Join({NameOf(node), " in this place"}));
  return {"", LaneForm::kLanes, type};
}

LaneValue LaneExpressions::Name(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kWord) return WordName(node);
  if (_kernel.IsCount(node)) return {_names.GetCount(meaning.target), LaneForm::kShared, TypeOf(node)};
  // The expression may differ between lanes only as what it is converted to.
  LaneForm form = FormOf(meaning.target);
  Int32 stride = form == LaneForm::kLinear ? _uniformity.Get(meaning.target).stride : 0;
  if (const auto held = _forms.find(meaning.target); held != _forms.end()) {
    form = held->second;
    stride = form == LaneForm::kLinear ? 1 : 0;
  }
  if (_uses.rows.IsInRows(meaning.target)) form = LaneForm::kRows;
  return {_names.GetVariable(meaning.target), form, TypeOf(node), stride};
}

}  // namespace ostra::kernellanguage
