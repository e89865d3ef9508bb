#include "parallelprogram/kernellanguage/plain_bools.h"

#include "parallelprogram/kernellanguage/plain_expressions.h"

namespace ostra::kernellanguage {
namespace {

std::string_view GetComparison(WordId word) {
  switch (word) {
    case WordId::kLessThan:
      return "<";
    case WordId::kLessThanEqual:
      return "<=";
    case WordId::kGreaterThan:
      return ">";
    case WordId::kGreaterThanEqual:
      return ">=";
    case WordId::kEqual:
      return "==";
    default:
      return "!=";
  }
}

}  // namespace

std::string PlainBools::BoolComponent(NodeIndex node) {
  const NodeIndex whole = Child(node, 0);
  const std::string numbers = KindOf(whole) == NodeKind::kUniform && !_kept.IsKept(whole)
                                  ? Join({"UNIFORM(", _tree.GetName(whole), ")"})
                                  : _expressions.Expression(whole, Binding::kPostfix);
  std::string part;
  if (KindOf(node) == NodeKind::kMemberOf)
    part = _expressions.MemberText(node);
  else if (const auto number = _kernel.FindNumber(Child(node, 1)); number.value_or(4) < 4)
    part = Join({".", GetComponentName(*number)});
  else
    part = Join({"[", _checks.CheckIndex(node, _expressions.Expression(Child(node, 1), Binding::kAssignment)), "]"});
  return Join({"(", numbers, MarkOf(node), part, " != 0)"});
}

std::string PlainBools::CallComparison(NodeIndex node) {
  const Bool isEqual = _tree.nodes[node].operation == Operation::kEqual;
  const TypeIndex type = _resolved.converted[Child(node, 0)];
  std::string value;
  for (UInt32 i = 0; i < _types[type].count; ++i)
    value += Join({i == 0    ? ""
                   : isEqual ? " && "
                             : " || ",
                   "v0.", GetComponentName(i), isEqual ? " == " : " != ", "v1.", GetComponentName(i)});
  return _helpers.Call(Join({isEqual ? "ostra_equal_" : "ostra_different_", _names.HelperWord(type)}), kBoolType,
                       {type, type}, Join({"\treturn ", value, ";\n"}),
                       {_expressions.Expression(Child(node, 0)), _expressions.Expression(Child(node, 1))});
}

std::string PlainBools::CallOfBools(NodeIndex node) {
  const WordId word = _resolved.meaning[node].word;
  const auto operands = _tree.GetChildren(node);
  std::vector<TypeIndex> parameters;
  std::vector<std::string> arguments;
  std::string name = Join({"ostra_", _tree.GetName(node)});
  for (const NodeIndex operand : operands) {
    parameters.push_back(_resolved.converted[operand]);
    arguments.push_back(_expressions.Expression(operand));
    name += Join({"_", _names.HelperWord(parameters.back())});
  }
  const UInt32 count = _types[parameters[0]].count;
  std::vector<std::string> tests;
  for (UInt32 i = 0; i < count; ++i) {
    const std::string_view component = GetComponentName(i);
    if (word == WordId::kNot)
      tests.push_back(Join({"(v0.", component, " == 0) ? 1 : 0"}));
    else if (word == WordId::kAny || word == WordId::kAll)
      tests.push_back(Join({"v0.", component, " != 0"}));
    else
      tests.push_back(Join({"(v0.", component, " ", GetComparison(word), " v1.", component, ") ? 1 : 0"}));
  }
  const TypeIndex result = _resolved.type[node];
  std::string value;
  if (word == WordId::kAny || word == WordId::kAll)
    for (const std::string& test : tests)
      value += Join({value.empty() ? "" : word == WordId::kAny ? " || " : " && ", test});
  else
    value = Join({TypeName(result), "(", JoinList(tests), ")"});
  return _helpers.Call(name, result, parameters, Join({"\treturn ", value, ";\n"}), arguments);
}

}  // namespace ostra::kernellanguage
