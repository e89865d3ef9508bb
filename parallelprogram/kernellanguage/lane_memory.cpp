#include "parallelprogram/kernellanguage/lane_memory.h"

#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_held_values.h"
#include "parallelprogram/kernellanguage/lane_rows.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_values.h"

namespace ostra::kernellanguage {

std::string LaneMemory::ElementOfLane(NodeIndex element) {
  const LaneValue at = _uses.expressions.Evaluate(Child(element, 1));
  const std::string buffer = _names.GetMemory(Child(element, 0));
  if (at.form == LaneForm::kShared) return Join({buffer, "[", at.text, "]"});
  const std::string index = NewName("index");
  const Bool isLinear = at.form == LaneForm::kLinear;
  Line({"const auto ", index, " = ", isLinear ? at.text : _uses.values.ToLanes(at, element), ";"});
  if (!isLinear) return Join({buffer, "[", index, ".Get(ostraLane)]"});
  const std::string type = SharedType(at.type);
  return Join({buffer, "[static_cast<", type, ">(", index, " + static_cast<", type, ">(ostraLane) * static_cast<", type,
               ">(", std::to_string(at.stride), "))]"});
}

LaneValue LaneMemory::LoadPart(NodeIndex element, const std::string& path, NodeIndex place) {
  const TypeIndex type = TypeOf(place);
  LaneType(type, place);
  const std::string source = ElementOfLane(element);
  return _uses.values.MapLanes(type, place, Join({source, path}));
}

LaneValue LaneMemory::LoadElement(NodeIndex memory, TypeIndex element, NodeIndex index, NodeIndex place) {
  const std::string type = LaneType(element, place);
  const LaneValue at = _uses.expressions.Evaluate(index);
  if (at.form == LaneForm::kShared)
    return {Join({type, "(", _names.GetMemory(memory), "[", at.text, "])"}), LaneForm::kLanes, element};
  if (element == kBoolType) Refuse(place, "an element of a buffer of bool");
  const Bool isInRows = _uses.rows.IsInRows(place);
  const Bool isRun = (at.form == LaneForm::kLinear && at.stride == 1) || at.form == LaneForm::kClamped;
  const std::string_view load = isRun      ? (isInRows ? "LoadRowsOfRun(" : "LoadRun(")
                                : isInRows ? "GatherRows("
                                           : "Gather(";
  return {Join({load, _names.GetFirst(memory), ", ", isRun ? at.text : _uses.values.ToLanes(at, index), ", ", GetMask(),
                ")"}),
          isInRows ? LaneForm::kRows : LaneForm::kLanes, element};
}

NodeIndex LaneMemory::FindVariable(NodeIndex place, std::string& text) {
  switch (KindOf(place)) {
    case NodeKind::kName:
      if (_resolved.meaning[place].kind != MeaningKind::kVariable || _names.IsMemory(place)) return kNoNode;
      text = _names.GetVariable(_resolved.meaning[place].target);
      return _resolved.meaning[place].target;
    case NodeKind::kMemberOf: {
      const NodeIndex variable = FindVariable(Child(place, 0), text);
      if (variable == kNoNode) return kNoNode;
      text += Join({".", _kernel.PartName(place)});
      return variable;
    }
    case NodeKind::kIndex: {
      if (_types[TypeOf(Child(place, 0))].kind != TypeKind::kArray) return kNoNode;
      const NodeIndex variable = FindVariable(Child(place, 0), text);
      if (variable == kNoNode || FormOf(Child(place, 1)) != LaneForm::kShared) return kNoNode;
      text += Join({"[", _uses.shared.Shared(Child(place, 1)), "]"});
      return variable;
    }
    default:
      return kNoNode;
  }
}

void LaneMemory::HoldIndices(NodeIndex place) {
  for (; KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex; place = Child(place, 0)) {
    const NodeIndex index = Child(place, 1);
    if (index == kNoNode || KindOf(index) == NodeKind::kLiteral) continue;
    LaneValue value = _uses.expressions.Evaluate(index);
    const std::string name = NewName("index");
    Line({"[[maybe_unused]] const auto ", name, " = ", value.text, ";"});
    value.text = name;
    _uses.held.Hold(index, value);
  }
}

void LaneMemory::ReleaseIndices(NodeIndex place) {
  for (; KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex; place = Child(place, 0)) {
    if (Child(place, 1) != kNoNode) _uses.held.Release(Child(place, 1));
  }
}

LaneValue LaneMemory::WordMember(NodeIndex node) const {
  const NodeIndex operand = Child(node, 0);
  const Bool isWord = KindOf(operand) == NodeKind::kName && _resolved.meaning[operand].kind == MeaningKind::kWord;
  if (!isWord || NameOf(node) != "x") return {};
  switch (_resolved.meaning[operand].word) {
    case WordId::kLocalInvocation:
      if (_names.IsInGroup()) return {"ostraLocal.x", LaneForm::kLinear, kUIntType, 1};
      return {"LocalX<OstraGroupSize::kX>(ostraX)", LaneForm::kLanes, kUIntType};
    case WordId::kWorkGroup:
      return {"GroupX<OstraGroupSize::kX>(ostraX)", LaneForm::kLanes, kUIntType};
    case WordId::kGlobalInvocation:
      return {"ostraX", LaneForm::kLinear, kUIntType, 1};
    default:
      return {};
  }
}

LaneValue LaneMemory::Member(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  if (LaneValue word = WordMember(node); !word.text.empty()) return word;
  std::string path;
  if (const NodeIndex element = _kernel.FindElement(node, path); element != kNoNode && IsAggregate(TypeOf(element)))
    return LoadPart(element, path, node);
  return {Join({_uses.values.ToLanes(_uses.expressions.EvaluateItself(operand), operand), ".", _kernel.PartName(node)}),
          LaneForm::kLanes, TypeOf(node)};
}

LaneValue LaneMemory::Index(NodeIndex node) {
  const NodeIndex operand = Child(node, 0), index = Child(node, 1);
  const TypeIndex type = TypeOf(node);
  if (_names.IsMemory(operand) && IsAggregate(type)) return LoadPart(node, "", node);
  if (_names.IsMemory(operand)) return LoadElement(operand, type, index, node);
  std::string array, path;
  const NodeIndex variable = FindVariable(operand, array);
  if (const NodeIndex element = _kernel.FindElement(node, path); element != kNoNode)
    return LoadPart(element, path, node);
  if (_types[TypeOf(operand)].kind != TypeKind::kArray || variable == kNoNode) {
    Refuse(node, "an element that is found by its number in something other than an array or a buffer");
    return {"", LaneForm::kLanes, type};
  }
  return IndexOfArray(node, array, variable);
}

LaneValue LaneMemory::IndexOfArray(NodeIndex node, const std::string& array, NodeIndex variable) {
  const NodeIndex index = Child(node, 1);
  const TypeIndex type = TypeOf(node);
  const Bool isArrayShared = FormOf(variable) == LaneForm::kShared;
  const LaneValue at = _uses.expressions.Evaluate(index);
  if (isArrayShared && at.form != LaneForm::kShared && IsAggregate(type)) {
    const std::string places = NewName("index");
    Line({"const auto ", places, " = ", _uses.values.ToLanes(at, index), ";"});
    return _uses.values.MapLanes(type, node, Join({array, "[", places, ".Get(ostraLane)]"}));
  }
  if (at.form == LaneForm::kShared)
    return {Join({array, "[", at.text, "]"}), isArrayShared ? LaneForm::kShared : LaneForm::kLanes, type};
  LaneType(type, node);
  if (isArrayShared)
    return {Join({"GetSharedElements(", array, ", ", _uses.values.ToLanes(at, index), ", ", GetMask(), ")"}),
            LaneForm::kLanes, type};
  return {Join({"GetElements(", array, ", ", _uses.values.ToLanes(at, index), ", ", GetMask(), ")"}), LaneForm::kLanes,
          type};
}

}  // namespace ostra::kernellanguage
