#include "parallelprogram/kernellanguage/lane_calls.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/clamp_windows.h"
#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_function_calls.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_values.h"
#include "parallelprogram/kernellanguage/lane_windows.h"

namespace ostra::kernellanguage {

LaneValue LaneCalls::Call(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kFunction) return _uses.functionCalls.CallFunction(node);
  switch (meaning.word) {
    case WordId::kSampleTexture:
    case WordId::kSampleTextureLayer:
    case WordId::kFetchTexture:
    case WordId::kFetchTextureLayer:
      return CallTexture(node);
    case WordId::kRenderNoise:
      return CallNoise(node);
    case WordId::kLinearInvocation:
      return {"ostraLinear", LaneForm::kLinear, kUIntType, 1};
    case WordId::kSampleGradient:
      return CallEachLane(node, "::ostra::SampleGradient", _uses.shared.Shared(Child(node, 0)), 1);
    default:
      break;
  }
  if (!GetOverloads(meaning.word).empty()) return CallWord(node);
  Refuse(node, Join({NameOf(node), " with values that differ between invocations"}));
  return {"", LaneForm::kLanes, TypeOf(node)};
}

// Whether the function is one of matrices that lanes compute one after the other: all but products with a vector.
Bool LaneCalls::IsMatrixFunction(NodeIndex call) const {
  const auto arguments = _tree.GetChildren(call);
  const auto isOfVector = [&](NodeIndex argument) { return _types.IsVector(_resolved.converted[argument]); };
  const auto isOfMatrix = [&](NodeIndex argument) { return IsAggregate(_resolved.converted[argument]); };
  return std::any_of(arguments.begin(), arguments.end(), isOfMatrix) &&
         std::none_of(arguments.begin(), arguments.end(), isOfVector);
}

// Whether the function of 64-bit floats is one of the C library, which lanes compute one after the other.
Bool LaneCalls::IsLibraryFunction(NodeIndex call) const {
  if (!IsElementary(_resolved.meaning[call].word)) return false;
  const auto arguments = _tree.GetChildren(call);
  return std::any_of(arguments.begin(), arguments.end(),
                     [this](NodeIndex argument) { return _resolved.converted[argument] == kDoubleType; });
}

// A number that grows by 1 from lane to lane, kept within bounds.
std::optional<LaneValue> LaneCalls::CallClamp(NodeIndex node) {
  const auto [number, low, high] = GetClampedNumber(_tree, _resolved, node);
  if (number == kNoNode || _uniformity.Get(number) != Uniformity{Variance::kLinear, 1} ||
      FormOf(low) != LaneForm::kShared || FormOf(high) != LaneForm::kShared)
    return {};
  const TypeIndex type = TypeOf(node);
  const std::string first = _uses.expressions.Evaluate(number).text;
  if (_uses.windows.IsLeftOut(node)) return LaneValue{first, LaneForm::kLinear, type, 1};
  return LaneValue{Join({"ClampedRamp<", SharedType(type), ">{", first, ", ", _uses.shared.Shared(low), ", ",
                         _uses.shared.Shared(high), "}"}),
                   LaneForm::kClamped, type};
}

LaneValue LaneCalls::CallWord(NodeIndex node) {
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
    const Bool isShared = IsAggregate(type) && FormOf(argument) == LaneForm::kShared;
    const std::string text = isShared ? _uses.shared.Shared(argument) : _uses.expressions.InLanes(argument);
    arguments += Join({arguments.empty() ? "" : ", ", text});
  }
  LaneType(TypeOf(node), node);
  return {Join({"::ostra::OSTRA_LANES::", NameOf(node), "(", arguments, ")"}), LaneForm::kLanes, TypeOf(node)};
}

// The arguments are computed before; those that are the same in all lanes are named as they are.
LaneValue LaneCalls::CallEachLane(NodeIndex node, std::string_view function, std::string arguments,
                                  std::size_t firstArgument) {
  const auto children = _tree.GetChildren(node);
  for (std::size_t i = firstArgument; i < children.size(); ++i) {
    const LaneValue value = _uses.expressions.Evaluate(children[i]);
    const std::string name = NewName("argument");
    Line({"const auto ", name, " = ",
          value.form == LaneForm::kShared ? value.text : _uses.values.ToLanes(value, children[i]), ";"});
    arguments += Join({arguments.empty() ? "" : ", ",
                       value.form == LaneForm::kShared ? name : Join({"GetLane(", name, ", ostraLane)"})});
  }
  return _uses.values.MapLanes(TypeOf(node), node, Join({function, "(", arguments, ")"}));
}

LaneValue LaneCalls::CallTexture(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  const WordId word = _resolved.meaning[node].word;
  const Bool isSample = word == WordId::kSampleTexture || word == WordId::kSampleTextureLayer;
  LaneType(TypeOf(node), node);
  std::string text = Join({isSample ? "SampleLanes(" : "FetchLanes(", "ostraParameter_", NameOf(arguments[0]), ", ",
                           _uses.expressions.InLanes(arguments[1]), ", "});
  text += arguments.size() > 2 ? _uses.expressions.InLanes(arguments[2]) : std::string("Lanes<UInt32>(0u)");
  const std::string result = NewName("texel");
  Line({"const ", LaneType(TypeOf(node), node), " ", result, " = ", text, ", ", GetMask(), ");"});
  return {result, LaneForm::kLanes, TypeOf(node)};
}

LaneValue LaneCalls::CallNoise(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  if (FormOf(arguments[0]) != LaneForm::kShared) return CallEachLane(node, "this->RenderNoise");
  const std::string result = NewName("noise");
  Line({"const Lanes<Float32> ", result, " = NoiseLanes(*this, ", _uses.shared.Shared(arguments[0]), ", ",
        _uses.expressions.InLanes(arguments[1]), ", ", _uses.expressions.InLanes(arguments[2]), ", ", GetMask(), ");"});
  return {result, LaneForm::kLanes, TypeOf(node)};
}

void LaneCalls::CallAtomic(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  const NodeIndex place = arguments[0], old = arguments.back();
  const Bool isVariable = KindOf(old) == NodeKind::kName && _resolved.meaning[old].kind == MeaningKind::kVariable &&
                          FormOf(_resolved.meaning[old].target) == LaneForm::kLanes;
  if (!isVariable) return Refuse(old, "a value before an atomic operation that is no variable of its own");
  Line({"{"});
  const std::string target = AtomicPlace(place);
  if (target.empty()) return;
  std::string values;
  for (const NodeIndex argument : arguments.subspan(1, arguments.size() - 2)) {
    const std::string name = NewName("operand");
    Line({"const auto ", name, " = ", _uses.expressions.InLanes(argument), ";"});
    values += Join({name, ".Get(ostraLane), "});
  }
  Line({"ForEachLaneIn(", GetMask(), ", [&](int ostraLane) OSTRA_KERNEL_FLAT {"});
  Line({SharedType(TypeOf(old)), " ostraOld = 0;"});
  Line({NameOf(node), "(", target, ", ", values, "ostraOld);"});
  Line({_names.GetVariable(_resolved.meaning[old].target), ".Set(ostraLane, ostraOld);"});
  Line({"}); }"});
}

std::string LaneCalls::AtomicPlace(NodeIndex place) {
  if (KindOf(place) == NodeKind::kCall) return Join({"GetAtomicCounter(", NameOf(Child(place, 0)), ")"});
  if (KindOf(place) == NodeKind::kIndex && _names.IsMemory(Child(place, 0))) {
    const LaneValue index = _uses.expressions.Evaluate(Child(place, 1));
    const std::string name = NewName("index");
    Line({"const auto ", name, " = ", _uses.values.ToLanes(index, place), ";"});
    return Join({_names.GetMemory(Child(place, 0)), "[", name, ".Get(ostraLane)]"});
  }
  Refuse(place, "an atomic operation on this");
  return "";
}

}  // namespace ostra::kernellanguage
