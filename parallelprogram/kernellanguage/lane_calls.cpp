#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {

LanePrinter::Value LanePrinter::Call(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kFunction) return CallFunction(node);
  switch (meaning.word) {
    case WordId::kSampleTexture:
    case WordId::kSampleTextureLayer:
    case WordId::kFetchTexture:
    case WordId::kFetchTextureLayer:
      return CallTexture(node);
    case WordId::kRenderNoise:
      return CallNoise(node);
    case WordId::kLinearInvocation:
      return {"ostraLinear", Form::kLinear, kUIntType, 1};
    default:
      break;
  }
  if (!GetOverloads(meaning.word).empty()) return CallWord(node);
  Refuse(node, Join({NameOf(node), " with values that differ between invocations"}));
  return {"", Form::kLanes, TypeOf(node)};
}

// A number that grows by 1 from lane to lane, kept within bounds: clamp(x, low, high), or min(max(x, low), high).
std::optional<LanePrinter::Value> LanePrinter::CallClamp(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const WordId word = _resolved.meaning[node].word;
  if (type != kIntType && type != kUIntType) return {};
  NodeIndex number = kNoNode, low = kNoNode, high = kNoNode;
  if (word == WordId::kClamp) {
    number = Child(node, 0), low = Child(node, 1), high = Child(node, 2);
  } else if (word == WordId::kMin && KindOf(Child(node, 0)) == NodeKind::kCall &&
             _resolved.meaning[Child(node, 0)].kind == MeaningKind::kWord &&
             _resolved.meaning[Child(node, 0)].word == WordId::kMax) {
    const NodeIndex inner = Child(node, 0);
    if (_resolved.converted[inner] != type) return {};
    number = Child(inner, 0), low = Child(inner, 1), high = Child(node, 1);
  } else {
    return {};
  }
  for (const NodeIndex argument : {number, low, high}) {
    if (_resolved.converted[argument] != type) return {};
  }
  if (_uniformity.Get(number) != Uniformity{Variance::kLinear, 1} || FormOf(low) != Form::kShared ||
      FormOf(high) != Form::kShared)
    return {};
  return Value{
      Join({"ClampedRamp<", SharedType(type), ">{", Evaluate(number).text, ", ", Shared(low), ", ", Shared(high), "}"}),
      Form::kClamped, type};
}

LanePrinter::Value LanePrinter::CallWord(NodeIndex node) {
  if (auto clamped = CallClamp(node)) return *std::move(clamped);
  std::string arguments;
  for (const NodeIndex argument : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.converted[argument];
    const Bool isNumber = _types.IsScalar(type) || _types.IsVector(type);
    if (isNumber && GetSize(_types[type].scalar) != 4)
      Refuse(argument, Join({NameOf(node), " of a ", _types.GetName(type)}));
    const Bool isMatrix = _types[type].kind == TypeKind::kMatrix || _types[type].kind == TypeKind::kAffineMatrix;
    // Matrices are the same in all lanes, or they are refused.
    const std::string text = isMatrix && FormOf(argument) == Form::kShared ? Shared(argument) : InLanes(argument);
    arguments += Join({arguments.empty() ? "" : ", ", text});
  }
  LaneType(TypeOf(node), node);
  return {Join({"::ostra::OSTRA_LANES::", NameOf(node), "(", arguments, ")"}), Form::kLanes, TypeOf(node)};
}

LanePrinter::Value LanePrinter::CallFunction(NodeIndex node) {
  const NodeIndex function = _resolved.meaning[node].target;
  const auto arguments = _tree.GetChildren(node);
  std::string list = GetMask();
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const NodeIndex parameter = Child(function, i + 1);
    const UInt16 flags = _tree.nodes[parameter].flags;
    const Bool isChanged = (flags & (kIsOut | kIsInOut)) || ((flags & kIsReference) && !(flags & kIsConst));
    const Form form = FormOf(parameter);
    if (isChanged || Child(parameter, 1) != kNoNode) {
      std::string place;
      const NodeIndex variable = FindVariable(arguments[i], place);
      if (variable == kNoNode || FormOf(variable) != form)
        Refuse(arguments[i], "an argument that the function changes and that is no part of a variable");
      list += Join({", ", place});
      continue;
    }
    const Value value = Evaluate(arguments[i]);
    if (form == Form::kLanes) {
      list += Join({", ", ToLanes(value, arguments[i])});
    } else {
      if (value.form != form)
        Refuse(arguments[i], "an argument that is the same in all invocations for some calls only");
      list += Join({", ", value.text});
    }
  }
  // Each call once, in the order of the text, whatever becomes of its value.
  const TypeIndex type = TypeOf(node);
  const std::string call = Join({"ostraLanes_", NameOf(function), "(", list, ")"});
  if (type == kVoidType) return {call, Form::kLanes, type};
  const std::string result = NewName("result");
  Line({"const ", LaneType(type, node), " ", result, " = ", call, ";"});
  return {result, Form::kLanes, type};
}

LanePrinter::Value LanePrinter::CallTexture(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  const WordId word = _resolved.meaning[node].word;
  const Bool isSample = word == WordId::kSampleTexture || word == WordId::kSampleTextureLayer;
  LaneType(TypeOf(node), node);
  std::string text = Join({isSample ? "SampleLanes(" : "FetchLanes(", "ostraParameter_", NameOf(arguments[0]), ", ",
                           InLanes(arguments[1]), ", "});
  text += arguments.size() > 2 ? InLanes(arguments[2]) : std::string("Lanes<UInt32>(0u)");
  const std::string result = NewName("texel");
  Line({"const ", LaneType(TypeOf(node), node), " ", result, " = ", text, ", ", GetMask(), ");"});
  return {result, Form::kLanes, TypeOf(node)};
}

LanePrinter::Value LanePrinter::CallNoise(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  if (FormOf(arguments[0]) != Form::kShared)
    Refuse(arguments[0], "a number of a noise that differs between invocations");
  const std::string result = NewName("noise");
  Line({"const Lanes<Float32> ", result, " = NoiseLanes(*this, ", Shared(arguments[0]), ", ", InLanes(arguments[1]),
        ", ", InLanes(arguments[2]), ", ", GetMask(), ");"});
  return {result, Form::kLanes, TypeOf(node)};
}

// One lane after the other, in ascending order: the value before belongs to its invocation.
void LanePrinter::CallAtomic(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  const NodeIndex place = arguments[0], old = arguments.back();
  const Bool isVariable = KindOf(old) == NodeKind::kName && _resolved.meaning[old].kind == MeaningKind::kVariable &&
                          FormOf(_resolved.meaning[old].target) == Form::kLanes;
  if (!isVariable) return Refuse(old, "a value before an atomic operation that is no variable of its own");
  std::string target;
  Line({"{"});
  if (KindOf(place) == NodeKind::kCall) {
    target = Join({"GetAtomicCounter(", NameOf(Child(place, 0)), ")"});
  } else if (KindOf(place) == NodeKind::kIndex && KindOf(Child(place, 0)) == NodeKind::kBuffer) {
    const Value index = Evaluate(Child(place, 1));
    const std::string name = NewName("index");
    Line({"const auto ", name, " = ", ToLanes(index, place), ";"});
    target = Join({"ostraParameter_", NameOf(Child(place, 0)), "[", name, ".Get(ostraLane)]"});
  } else {
    return Refuse(place, "an atomic operation on this");
  }
  std::string values;
  for (const NodeIndex argument : arguments.subspan(1, arguments.size() - 2)) {
    const std::string name = NewName("operand");
    Line({"const auto ", name, " = ", InLanes(argument), ";"});
    values += Join({name, ".Get(ostraLane), "});
  }
  Line({"ForEachLaneIn(", GetMask(), ", [&](int ostraLane) OSTRA_KERNEL_FLAT {"});
  Line({SharedType(TypeOf(old)), " ostraOld = 0;"});
  Line({NameOf(node), "(", target, ", ", values, "ostraOld);"});
  Line({NameOf(old), ".Set(ostraLane, ostraOld);"});
  Line({"}); }"});
}

int LanePrinter::CountReturns(NodeIndex node) const {
  if (KindOf(node) == NodeKind::kReturn) return 1;
  int count = 0;
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) count += CountReturns(child);
  }
  return count;
}

void LanePrinter::Functions() {
  for (const NodeIndex function : _resolved.functions) Function(function);
}

// A function of the file for lanes: a mask first, then its parameters in the form that all calls give them.
void LanePrinter::Function(NodeIndex function) {
  const auto children = _tree.GetChildren(function);
  const NodeIndex body = children.back();
  const TypeIndex result = TypeOf(function);
  const std::string type = result == kVoidType ? "void" : HasLaneType(result) ? LaneType(result, function) : "";
  Bool canBeWritten = !type.empty();
  std::string parameters = "[[maybe_unused]] Mask ostraMask";
  for (const NodeIndex parameter : children.subspan(1, children.size() - 2)) {
    const UInt16 flags = _tree.nodes[parameter].flags;
    const Bool isChanged = (flags & (kIsOut | kIsInOut)) || ((flags & kIsReference) && !(flags & kIsConst));
    const Bool isInLanes = FormOf(parameter) == Form::kLanes;
    const TypeIndex own = TypeOf(parameter);
    if (_types[own].kind == TypeKind::kArray || (isInLanes ? !HasLaneType(own) : SharedType(own).empty())) {
      canBeWritten = false;
      break;
    }
    parameters += Join({", [[maybe_unused]] ", isInLanes ? LaneType(own, parameter) : SharedType(own),
                        isChanged ? "& " : " ", NameOf(parameter)});
    // Lanes outside of the caller's mask keep what they have.
    if (isInLanes) _variableDepths[parameter] = isChanged ? 0 : 1;
  }
  // Calls of it are refused where they stand: nothing is named that is not written.
  if (!canBeWritten) return;
  _function = function;
  _hasManyReturns = CountReturns(body) > 1;
  _masks = {{"ostraMask"}};
  Line({"OSTRA_KERNEL_INLINE static ", type, " ostraLanes_", NameOf(function), "(", parameters, ") {"});
  Line({"[[maybe_unused]] Mask ostraReturned = false;"});
  if (result != kVoidType) Line({type, " ostraResult{};"});
  Block(body);
  Line({result == kVoidType ? "}" : "return ostraResult; }"});
  _function = kNoNode;
}

}  // namespace ostra::kernellanguage
