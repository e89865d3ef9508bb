#include "parallelprogram/kernellanguage/lane_functions.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/lane_statements.h"

namespace ostra::kernellanguage {

int LaneFunctions::CountReturns(NodeIndex node) const {
  if (KindOf(node) == NodeKind::kReturn) return 1;
  int count = 0;
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) count += CountReturns(child);
  }
  return count;
}

void LaneFunctions::PrintFunctions() {
  for (const NodeIndex function : _resolved.functions) PrintFunction(function);
}

Bool LaneFunctions::AddParameter(NodeIndex parameter, std::string& parameters) {
  const TypeIndex type = TypeOf(parameter);
  const Bool isChanged = SetsArgument(_tree.nodes[parameter].flags), isInLanes = FormOf(parameter) == LaneForm::kLanes;
  if (_types[type].kind == TypeKind::kArray || (isInLanes ? !HasLaneType(type) : SharedType(type).empty()))
    return false;
  parameters += Join({", [[maybe_unused]] ", isInLanes ? LaneType(type, parameter) : SharedType(type),
                      isChanged ? "& " : " ", NameOf(parameter)});
  // Lanes outside of the caller's mask keep what they have.
  if (isInLanes) _masks.SetVariableDepth(parameter, isChanged ? 0 : 1);
  return true;
}

void LaneFunctions::PrintFunction(NodeIndex function) {
  const auto children = _tree.GetChildren(function);
  const NodeIndex body = children.back();
  const TypeIndex result = TypeOf(function);
  const std::string type = result == kVoidType ? "void" : HasLaneType(result) ? LaneType(result, function) : "";
  std::string parameters = "[[maybe_unused]] Mask ostraMask";
  const auto own = children.subspan(1, children.size() - 2);
  const Bool hasAll =
      std::all_of(own.begin(), own.end(), [&](NodeIndex parameter) { return AddParameter(parameter, parameters); });
  if (type.empty() || !hasAll) return;
  _uses.statements.SetFunction(function, CountReturns(body) > 1);
  _masks.Begin("ostraMask");
  Line({"OSTRA_KERNEL_INLINE static ", type, " ostraLanes_", NameOf(function), "(", parameters, ") {"});
  Line({"[[maybe_unused]] Mask ostraReturned = false;"});
  if (result != kVoidType) Line({type, " ostraResult{};"});
  _uses.statements.Block(body);
  Line({result == kVoidType ? "}" : "return ostraResult; }"});
  _uses.statements.SetFunction(kNoNode, false);
}

}  // namespace ostra::kernellanguage
