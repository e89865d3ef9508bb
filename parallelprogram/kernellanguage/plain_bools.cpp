// Vectors of bools in the plain form: vectors of ints, 0 and 1, because not every language has others.
#include "parallelprogram/kernellanguage/plain_printer.h"

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

Bool PlainPrinter::IsBoolVector(TypeIndex type) const {
  return _types.IsVector(type) && _types[type].scalar == Scalar::kBool;
}

// Of a parameter, whose numbers may be any: 1 for those that are not 0.
std::string PlainPrinter::BoolsOf(const std::string& numbers, NodeIndex node) const {
  const TypeIndex type = GetVectorType(Scalar::kInt32, _types[_resolved.type[node]].count);
  std::vector<std::string> components;
  for (const std::string& component : Components(numbers, type))
    components.push_back(Join({"int(", component, " != 0)"}));
  return Join({_types.GetName(type), "(", JoinList(components), ")"});
}

// b.x, b[1] and b[k]: whether the number is not 0.
std::string PlainPrinter::BoolComponent(NodeIndex node) {
  const NodeIndex whole = Child(node, 0);
  const std::string numbers = KindOf(whole) == NodeKind::kUniform && !_hoisted.contains(whole)
                                  ? Join({"UNIFORM(", _tree.GetName(whole), ")"})
                                  : Expression(whole, Binding::kPostfix);
  std::string part;
  if (KindOf(node) == NodeKind::kMemberOf)
    part = MemberText(node);
  else if (const auto number = FindNumber(Child(node, 1)); number.value_or(4) < 4)
    part = Join({".", GetComponentName(*number)});
  else
    part = Join({"[", CheckIndex(node, Expression(Child(node, 1), Binding::kComma)), "]"});
  return Join({"(", numbers, MarkOf(node), part, " != 0)"});
}

Bool IsComparisonOfVectors(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node) {
  const Operation operation = tree.nodes[node].operation;
  const Bool isEquality = operation == Operation::kEqual || operation == Operation::kNotEqual;
  return tree.Is(node, NodeKind::kBinary) && isEquality &&
         resolved.types.IsVector(resolved.converted[tree.GetChild(node, 0)]);
}

// == and != of vectors, which give a vector in HLSL and Metal.
std::string PlainPrinter::CallComparison(NodeIndex node) {
  const Bool isEqual = _tree.nodes[node].operation == Operation::kEqual;
  const TypeIndex type = _resolved.converted[Child(node, 0)];
  std::string value;
  for (UInt32 i = 0; i < _types[type].count; ++i)
    value += Join({i == 0    ? ""
                   : isEqual ? " && "
                             : " || ",
                   "v0.", GetComponentName(i), isEqual ? " == " : " != ", "v1.", GetComponentName(i)});
  return CallHelper(Join({isEqual ? "ostra_equal_" : "ostra_different_", HelperWord(type)}), kBoolType, {type, type},
                    Join({"\treturn ", value, ";\n"}), {Expression(Child(node, 0)), Expression(Child(node, 1))});
}

// lessThan and its relatives, any, all and not.
std::string PlainPrinter::CallOfBools(NodeIndex node) {
  const WordId word = _resolved.meaning[node].word;
  const auto operands = _tree.GetChildren(node);
  std::vector<TypeIndex> parameters;
  std::vector<std::string> arguments;
  std::string name = Join({"ostra_", _tree.GetName(node)});
  for (const NodeIndex operand : operands) {
    parameters.push_back(_resolved.converted[operand]);
    arguments.push_back(Expression(operand));
    name += Join({"_", HelperWord(parameters.back())});
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
  return CallHelper(name, result, parameters, Join({"\treturn ", value, ";\n"}), arguments);
}

}  // namespace ostra::kernellanguage
