#include "parallelprogram/kernellanguage/lane_function_calls.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/lane_assignments.h"
#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_memory.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_values.h"

namespace ostra::kernellanguage {

std::string LaneFunctionCalls::PassPlace(NodeIndex argument, NodeIndex parameter, LaneForm form,
                                         std::vector<Copy>& copies) {
  std::string place;
  const NodeIndex variable = _uses.memory.FindVariable(argument, place);
  const Bool isArray = _types[TypeOf(argument)].kind == TypeKind::kArray;
  if (isArray && form != LaneForm::kShared) Refuse(argument, "an array that a function changes");
  if (variable != kNoNode && FormOf(variable) == form) return place;
  if (isArray) Refuse(argument, "an array that a function changes");
  if (HasRefused()) return "";
  _uses.memory.HoldIndices(argument);
  const TypeIndex type = TypeOf(argument);
  const std::string name = NewName("changed");
  const std::string before =
      _tree.HasFlag(parameter, kIsOut) ? "{}"
      : form == LaneForm::kShared
          ? Join({" = ", _uses.shared.Shared(argument)})
          : Join({" = ", _uses.values.ToLanes(_uses.expressions.EvaluateItself(argument), argument)});
  Line({form == LaneForm::kShared ? SharedType(type) : LaneType(type, argument), " ", name, before, ";"});
  copies.push_back({argument, {name, form, type}});
  return name;
}

std::string LaneFunctionCalls::PassValue(NodeIndex argument, LaneForm form) {
  const LaneValue value = _uses.expressions.Evaluate(argument);
  if (form != LaneForm::kLanes && value.form != form)
    Refuse(argument, "an argument that is the same in all invocations for some calls only");
  return form == LaneForm::kLanes ? _uses.values.ToLanes(value, argument) : value.text;
}

std::string LaneFunctionCalls::PassArguments(NodeIndex node, std::vector<Copy>& copies) {
  const NodeIndex function = _resolved.meaning[node].target;
  const auto arguments = _tree.GetChildren(node);
  const Bool isShared = FormOf(node) == LaneForm::kShared;
  std::string list = isShared ? "" : GetMask();
  std::vector<NodeIndex> changed;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const NodeIndex argument = arguments[i], parameter = Child(function, i + 1);
    const LaneForm form = isShared ? LaneForm::kShared : FormOf(parameter);
    list += list.empty() ? "" : ", ";
    if (SetsArgument(_tree.nodes[parameter].flags)) {
      list += PassPlace(argument, parameter, form, copies);
      changed.push_back(_kernel.FindRoot(argument));
    } else {
      list += isShared ? _uses.shared.Shared(argument) : PassValue(argument, form);
    }
  }
  std::sort(changed.begin(), changed.end());
  if (!copies.empty() && std::adjacent_find(changed.begin(), changed.end()) != changed.end())
    Refuse(node, "two arguments that the function changes and that may be the same place");
  return list;
}

LaneValue LaneFunctionCalls::WriteCall(NodeIndex node, const std::string& arguments) {
  const TypeIndex type = TypeOf(node);
  const Bool isShared = FormOf(node) == LaneForm::kShared;
  const std::string call = Join({isShared ? "" : "ostraLanes_", NameOf(node), "(", arguments, ")"});
  LaneValue result{"", isShared ? LaneForm::kShared : LaneForm::kLanes, type};
  if (type == kVoidType) {
    Line({call, ";"});
    return result;
  }
  result.text = NewName("result");
  Line({"const ", isShared ? SharedType(type) : LaneType(type, node), " ", result.text, " = ", call, ";"});
  return result;
}

LaneValue LaneFunctionCalls::CallFunction(NodeIndex node) {
  std::vector<Copy> copies;
  LaneValue result = WriteCall(node, PassArguments(node, copies));
  for (const Copy& copy : copies) {
    _uses.assignments.Assign(copy.place, copy.value);
    _uses.memory.ReleaseIndices(copy.place);
  }
  return result;
}

}  // namespace ostra::kernellanguage
