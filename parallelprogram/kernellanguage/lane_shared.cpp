#include "parallelprogram/kernellanguage/lane_shared.h"

#include "parallelprogram/kernellanguage/lane_held_values.h"
#include "parallelprogram/kernellanguage/lane_values.h"

namespace ostra::kernellanguage {

std::string LaneShared::Shared(NodeIndex node) {
  if (const LaneValue* held = _uses.held.Find(node)) return held->text;
  LaneValue value{SharedItself(node), LaneForm::kShared, TypeOf(node)};
  return _uses.values.Convert(value, _resolved.converted[node], node).text;
}

std::string LaneShared::SharedWord(NodeIndex node, std::string_view component) {
  const WordId word = _resolved.meaning[node].word;
  if (_names.IsInGroup() && (word == WordId::kWorkGroup || (word == WordId::kLocalInvocation && !component.empty()))) {
    const std::string_view vector = word == WordId::kWorkGroup ? "InWorkGroupID" : "ostraLocal";
    return component.empty() ? std::string(vector) : Join({vector, ".", component});
  }
  if (word == WordId::kWorkGroupSize)
    return component.empty() ? "ostraGroupSize" : Join({"ostraGroupSize.", component});
  if (component == "x" && word == WordId::kGlobalInvocation) return "ostraX";
  if (component == "y" || component == "z") {
    const std::string position = Join({"ostra", component == "y" ? "Y" : "Z"});
    const std::string size = Join({"ostraGroupSize.", component});
    if (word == WordId::kGlobalInvocation) return position;
    if (word == WordId::kLocalInvocation) return Join({"(", position, " % ", size, ")"});
    if (word == WordId::kWorkGroup) return Join({"(", position, " / ", size, ")"});
  }
  Refuse(node, Join({NameOf(node), " in this place"}));
  return "";
}

std::string LaneShared::List(NodeIndex node, std::size_t first) {
  std::string list;
  for (const NodeIndex child : _tree.GetChildren(node).subspan(first))
    list += Join({list.empty() ? "" : ", ", Shared(child)});
  return list;
}

std::string LaneShared::Name(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kWord) return SharedWord(node, "");
  if (_kernel.IsCount(node)) return _names.GetCount(meaning.target);
  if (meaning.kind != MeaningKind::kVariable) return std::string(NameOf(node));
  return FormOf(meaning.target) == LaneForm::kLanes ? "" : _names.GetVariable(meaning.target);
}

std::string LaneShared::Construct(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const std::string name = SharedType(type);
  if (name.empty()) return "";
  const Bool isConversion = _types.IsScalar(type) && _tree.GetChildren(node).size() == 2;
  return isConversion ? Join({"static_cast<", name, ">(", List(node, 1), ")"}) : Join({name, "(", List(node, 1), ")"});
}

std::string LaneShared::Member(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  if (KindOf(operand) == NodeKind::kName && _resolved.meaning[operand].kind == MeaningKind::kWord)
    return SharedWord(operand, NameOf(node));
  return Join({SharedItself(operand), ".", NameOf(node)});
}

std::string LaneShared::Index(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  const std::string array = _names.IsMemory(operand) ? _names.GetMemory(operand) : SharedItself(operand);
  return Join({array, "[", Shared(Child(node, 1)), "]"});
}

std::string LaneShared::Call(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kFunction) return Join({NameOf(node), "(", List(node, 0), ")"});
  const auto ofTexture = [&](std::string_view function) {
    return Join({"ostraParameter_", NameOf(Child(node, 0)), ".", function, "(", List(node, 1), ")"});
  };
  switch (meaning.word) {
    case WordId::kLinearInvocation:
      return "ostraLinear";
    case WordId::kTextureSize:
      return ofTexture("GetSize");
    case WordId::kSampleTexture:
    case WordId::kSampleTextureLayer:
      return ofTexture("Sample");
    case WordId::kFetchTexture:
    case WordId::kFetchTextureLayer:
      return ofTexture("Fetch");
    case WordId::kRenderNoise:
      return Join({"RenderNoise(", List(node, 0), ")"});
    default:
      return GetOverloads(meaning.word).empty() ? "" : Join({"vocabulary::", NameOf(node), "(", List(node, 0), ")"});
  }
}

// Operators and the literals and parameters that they begin with.
std::string LaneShared::Operators(NodeIndex node) {
  const std::string_view sign = GetSpelling(OperationOf(node));
  const NodeIndex first = Child(node, 0), second = Child(node, 1);
  switch (KindOf(node)) {
    case NodeKind::kUnary:
      return Join({"(", sign, Shared(first), ")"});
    case NodeKind::kPostfix:
      return Join({"(", SharedItself(first), sign, ")"});
    case NodeKind::kBinary:
      return Join({"(", Shared(first), " ", sign, " ", Shared(second), ")"});
    case NodeKind::kAssign:
      return Join({"(", SharedItself(first), " ", sign, "= ", Shared(second), ")"});
    case NodeKind::kConditional:
      return Join({"(", Shared(first), " ? ", Shared(second), " : ", Shared(Child(node, 2)), ")"});
    case NodeKind::kComma:
      return Join({"(", Shared(first), ", ", Shared(second), ")"});
    default:
      return "";
  }
}

std::string LaneShared::SharedItself(NodeIndex node) {
  std::string text;
  switch (KindOf(node)) {
    case NodeKind::kLiteral:
      return _uses.values.Literal(node).text;
    case NodeKind::kUniform:
      return Join({"ostraParameter_", NameOf(node)});
    case NodeKind::kInitializerList: {
      const Bool isStruct = _types[TypeOf(node)].kind == TypeKind::kStruct;
      return Join({isStruct ? SharedType(TypeOf(node)) : "", "{", List(node, 0), "}"});
    }
    case NodeKind::kLocalData:
      return Join({"ostraParameter_", NameOf(node), "[", Shared(Child(node, 1)), "]"});
    case NodeKind::kMemberOf:
      return Member(node);
    case NodeKind::kIndex:
      return Index(node);
    case NodeKind::kName:
      text = Name(node);
      break;
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      text = Construct(node);
      break;
    case NodeKind::kCall:
      text = Call(node);
      break;
    default:
      text = Operators(node);
      break;
  }
  if (text.empty()) {
    Refuse(node, Join({"this use of \"", NameOf(node), GetSpelling(OperationOf(node)),
                       "\" with one value for all invocations"}));
  }
  return text;
}

}  // namespace ostra::kernellanguage
