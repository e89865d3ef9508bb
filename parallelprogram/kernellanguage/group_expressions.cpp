#include "parallelprogram/kernellanguage/group_expressions.h"

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {

std::string GroupExpressions::Expression(NodeIndex node) {
  const auto child = [&](std::size_t i) { return Child(node, i); };
  switch (KindOf(node)) {
    case NodeKind::kLiteral:
      return Literal(node);
    case NodeKind::kName:
      return Name(node);
    case NodeKind::kUniform:
      return Join({"UNIFORM(", NameOf(node), ")"});
    case NodeKind::kBuffer:
      return Join({"UNIFORM_BUFFER(", NameOf(node), ")"});
    case NodeKind::kLocalData:
      return Join({"UNIFORM_BUFFER(", NameOf(node), ")[", Expression(child(1)), "]"});
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      return Construct(node);
    case NodeKind::kMemberOf:
      return Join({Expression(child(0)), ".", NameOf(node)});
    case NodeKind::kIndex:
      return Index(node);
    case NodeKind::kInitializerList:
      return Join({"{", List(node, 0), "}"});
    case NodeKind::kCall:
      return Call(node);
    default:
      return Operator(node);
  }
}

std::string GroupExpressions::Operator(NodeIndex node) {
  const auto child = [&](std::size_t i) { return Expression(Child(node, i)); };
  const std::string_view sign = GetSpelling(_tree.nodes[node].operation);
  switch (KindOf(node)) {
    case NodeKind::kUnary:
      return Join({"(", sign, child(0), ")"});
    case NodeKind::kPostfix:
      return Join({"(", child(0), sign, ")"});
    case NodeKind::kBinary:
      return Join({"(", child(0), " ", sign, " ", child(1), ")"});
    case NodeKind::kAssign:
      return Join({"(", child(0), " ", sign, "= ", child(1), ")"});
    case NodeKind::kConditional:
      return Join({"(", child(0), " ? ", child(1), " : ", child(2), ")"});
    case NodeKind::kComma:
      return Join({"(", child(0), ", ", child(1), ")"});
    default:
      return Refuse(node);
  }
}

std::string GroupExpressions::Refuse(NodeIndex node) {
  const std::string_view sign = GetSpelling(_tree.nodes[node].operation);
  _output.Refuse(node, Join({"this use of \"", NameOf(node), sign, "\""}));
  return "";
}

// Compilers warn of a comparison that stands in two pairs of parentheses.
std::string GroupExpressions::Condition(NodeIndex node) {
  const std::string text = Expression(node);
  return KindOf(node) == NodeKind::kBinary ? text.substr(1, text.size() - 2) : text;
}

std::string GroupExpressions::Variable(NodeIndex variable, std::string_view name) {
  const TypeIndex type = TypeOf(variable);
  const NodeIndex value = Child(variable, 2);
  const std::string declared = Join({_kernel.GetTypeName(type), " ", name, _kernel.GetArraySizes(type)});
  return value == kNoNode ? declared : Join({declared, " = ", Expression(value)});
}

std::string GroupExpressions::Literal(NodeIndex node) const {
  LiteralValue value;
  std::string text(NameOf(node));
  const Bool isFloat = ParseLiteral(text, value) && value.scalar == Scalar::kFloat32;
  return isFloat && text.back() != 'f' && text.back() != 'F' ? text + 'f' : text;
}

std::string GroupExpressions::Name(NodeIndex node) {
  const NodeIndex target = MeaningOf(node).target;
  if (MeaningOf(node).kind != MeaningKind::kVariable) return std::string(NameOf(node));
  if (KindOf(target) == NodeKind::kSharedArray) return Join({"ostraMemory.", _kernel.GetUniqueName(target)});
  _variables.Use(target);
  if (!_variables.IsKnown(target)) return std::string(NameOf(node));
  if (!_variables.IsAt(target, GroupPlace::kKept)) return _kernel.GetUniqueName(target);
  return Join({"ostraMemory.", _kernel.GetUniqueName(target), "[ostraNumber]"});
}

std::string GroupExpressions::Construct(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const std::string name = _kernel.GetTypeName(type);
  if (name.empty()) return Refuse(node);
  const Bool isConversion = _types.IsScalar(type) && _tree.GetChildren(node).size() == 2;
  return isConversion ? Join({"static_cast<", name, ">(", List(node, 1), ")"}) : Join({name, "(", List(node, 1), ")"});
}

std::string GroupExpressions::Index(NodeIndex node) {
  const NodeIndex place = Child(node, 0);
  if (!_tree.Is(MeaningOf(place).target, NodeKind::kSharedArray))
    return Join({Expression(place), "[", Expression(Child(node, 1)), "]"});
  return Join({"GetGroupElement(", Name(place), ", ", Expression(Child(node, 1)), ", \"", NameOf(place),
               "\", __FILE__, __LINE__)"});
}

std::string GroupExpressions::Call(NodeIndex node) {
  const Meaning& meaning = MeaningOf(node);
  const auto texture = [&](std::string_view function) {
    return Join({"ostraParameter_", NameOf(Child(node, 0)), ".", function, "(", List(node, 1), ")"});
  };
  if (meaning.kind != MeaningKind::kFunction) {
    switch (meaning.word) {
      case WordId::kLinearInvocation:
        return "ostraLinearInvocation";
      case WordId::kTextureSize:
        return texture("GetSize");
      case WordId::kSampleTexture:
      case WordId::kSampleTextureLayer:
        return texture("Sample");
      case WordId::kFetchTexture:
      case WordId::kFetchTextureLayer:
        return texture("Fetch");
      case WordId::kAtomicCounter:
      case WordId::kRenderNoise:
        break;
      default:
        if (!IsAtomic(meaning.word) && GetOverloads(meaning.word).empty())
          _output.Refuse(node, Join({"\"", NameOf(node), "\""}));
        break;
    }
  }
  return Join({NameOf(node), "(", List(node, 0), ")"});
}

std::string GroupExpressions::List(NodeIndex node, std::size_t first) {
  const auto children = _tree.GetChildren(node);
  std::string list;
  for (std::size_t i = first; i < children.size(); ++i) list += Join({i == first ? "" : ", ", Expression(children[i])});
  return list;
}

}  // namespace ostra::kernellanguage
