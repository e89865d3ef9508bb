#include <algorithm>

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
    case WordId::kSampleGradient:
      return CallEachLane(node, "::ostra::SampleGradient", Shared(Child(node, 0)), 1);
    default:
      break;
  }
  if (!GetOverloads(meaning.word).empty()) return CallWord(node);
  Refuse(node, Join({NameOf(node), " with values that differ between invocations"}));
  return {"", Form::kLanes, TypeOf(node)};
}

// Whether the function is one of matrices that lanes compute one after the other: all but products with a vector.
Bool LanePrinter::IsMatrixFunction(NodeIndex call) const {
  const auto arguments = _tree.GetChildren(call);
  const auto isOfVector = [&](NodeIndex argument) { return _types.IsVector(_resolved.converted[argument]); };
  const auto isOfMatrix = [&](NodeIndex argument) { return IsAggregate(_resolved.converted[argument]); };
  return std::any_of(arguments.begin(), arguments.end(), isOfMatrix) &&
         std::none_of(arguments.begin(), arguments.end(), isOfVector);
}

// Whether the function of 64-bit floats is one of the C library, which lanes compute one after the other.
Bool LanePrinter::IsLibraryFunction(NodeIndex call) const {
  if (!IsElementary(_resolved.meaning[call].word)) return false;
  const auto arguments = _tree.GetChildren(call);
  return std::any_of(arguments.begin(), arguments.end(),
                     [this](NodeIndex argument) { return _resolved.converted[argument] == kDoubleType; });
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
  if (IsMatrixFunction(node) || IsLibraryFunction(node))
    return CallEachLane(node, Join({"vocabulary::", NameOf(node)}));
  std::string arguments;
  for (const NodeIndex argument : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.converted[argument];
    const Bool isNumber = _types.IsScalar(type) || _types.IsVector(type);
    if (isNumber && GetSize(_types[type].scalar) != 4 && type != kDoubleType)
      Refuse(argument, Join({NameOf(node), " of a ", _types.GetName(type)}));
    // A matrix that is the same in all lanes is not spread over them.
    const Bool isShared = IsAggregate(type) && FormOf(argument) == Form::kShared;
    const std::string text = isShared ? Shared(argument) : InLanes(argument);
    arguments += Join({arguments.empty() ? "" : ", ", text});
  }
  LaneType(TypeOf(node), node);
  return {Join({"::ostra::OSTRA_LANES::", NameOf(node), "(", arguments, ")"}), Form::kLanes, TypeOf(node)};
}

Bool LanePrinter::ChangesArguments(NodeIndex call) const {
  if (KindOf(call) != NodeKind::kCall || _resolved.meaning[call].kind != MeaningKind::kFunction) return false;
  const auto parameters = _tree.GetChildren(_resolved.meaning[call].target);
  return std::any_of(parameters.begin() + 1, parameters.end() - 1,
                     [this](NodeIndex parameter) { return SetsArgument(_tree.nodes[parameter].flags); });
}

Bool LanePrinter::HasChangingCall(NodeIndex expression) const {
  const auto children = _tree.GetChildren(expression);
  return ChangesArguments(expression) || std::any_of(children.begin(), children.end(), [this](NodeIndex child) {
           return child != kNoNode && HasChangingCall(child);
         });
}

// The variable, array or buffer of which a place is a part.
NodeIndex LanePrinter::FindRoot(NodeIndex place) const {
  while (KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex) place = Child(place, 0);
  return _resolved.meaning[place].target;
}

// C++ of an argument that the function changes: the place itself if it is held as the parameter is, else a copy, which
// goes into `copies`.
std::string LanePrinter::PassPlace(NodeIndex argument, NodeIndex parameter, Form form, std::vector<Copy>& copies) {
  std::string place;
  const NodeIndex variable = FindVariable(argument, place);
  const Bool isArray = _types[TypeOf(argument)].kind == TypeKind::kArray;
  if (isArray && form != Form::kShared) Refuse(argument, "an array that a function changes");
  if (variable != kNoNode && FormOf(variable) == form) return place;
  if (isArray) Refuse(argument, "an array that a function changes");
  if (HasRefused()) return "";
  HoldIndices(argument);
  const TypeIndex type = TypeOf(argument);
  const std::string name = NewName("changed");
  const std::string before = _tree.HasFlag(parameter, kIsOut) ? "{}"
                             : form == Form::kShared          ? Join({" = ", Shared(argument)})
                                                     : Join({" = ", ToLanes(EvaluateItself(argument), argument)});
  Line({form == Form::kShared ? SharedType(type) : LaneType(type, argument), " ", name, before, ";"});
  copies.push_back({argument, {name, form, type}});
  return name;
}

LanePrinter::Value LanePrinter::CallFunction(NodeIndex node) {
  const NodeIndex function = _resolved.meaning[node].target;
  const auto arguments = _tree.GetChildren(node);
  // With arguments that are the same in all lanes it is the function as it is, called once.
  const Bool isShared = FormOf(node) == Form::kShared;
  std::string list = isShared ? "" : GetMask();
  std::vector<Copy> copies;
  std::vector<NodeIndex> changed;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const NodeIndex argument = arguments[i], parameter = Child(function, i + 1);
    const Form form = isShared ? Form::kShared : FormOf(parameter);
    list += list.empty() ? "" : ", ";
    if (SetsArgument(_tree.nodes[parameter].flags)) {
      list += PassPlace(argument, parameter, form, copies);
      changed.push_back(FindRoot(argument));
    } else if (isShared) {
      list += Shared(argument);
    } else {
      const Value value = Evaluate(argument);
      if (form != Form::kLanes && value.form != form)
        Refuse(argument, "an argument that is the same in all invocations for some calls only");
      list += form == Form::kLanes ? ToLanes(value, argument) : value.text;
    }
  }
  std::sort(changed.begin(), changed.end());
  if (!copies.empty() && std::adjacent_find(changed.begin(), changed.end()) != changed.end())
    Refuse(node, "two arguments that the function changes and that may be the same place");
  // Each call once, in the order of the text, whatever becomes of its value.
  const TypeIndex type = TypeOf(node);
  Value result{Join({isShared ? "" : "ostraLanes_", NameOf(function), "(", list, ")"}),
               isShared ? Form::kShared : Form::kLanes, type};
  if (type == kVoidType) {
    Line({result.text, ";"});
    result.text.clear();
  } else {
    const std::string name = NewName("result");
    Line({"const ", isShared ? SharedType(type) : LaneType(type, node), " ", name, " = ", result.text, ";"});
    result.text = name;
  }
  for (const Copy& copy : copies) {
    Assign(copy.place, copy.value);
    ReleaseIndices(copy.place);
  }
  return result;
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
  if (FormOf(arguments[0]) != Form::kShared) return CallEachLane(node, "this->RenderNoise");
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
  } else if (KindOf(place) == NodeKind::kIndex && _names.IsMemory(Child(place, 0))) {
    const Value index = Evaluate(Child(place, 1));
    const std::string name = NewName("index");
    Line({"const auto ", name, " = ", ToLanes(index, place), ";"});
    target = Join({_names.GetMemory(Child(place, 0)), "[", name, ".Get(ostraLane)]"});
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
  Line({_names.GetVariable(_resolved.meaning[old].target), ".Set(ostraLane, ostraOld);"});
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
    const Bool isChanged = SetsArgument(_tree.nodes[parameter].flags);
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
