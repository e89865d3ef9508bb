#include "parallelprogram/kernellanguage/resolve_calls.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/library_words.h"

namespace ostra::kernellanguage {

TypeIndex ResolveCalls::Call(NodeIndex node) {
  const std::string_view name = NameOf(node);
  const Word* word = FindWord(name);
  // Words that are macros of the CPU form come before all names.
  const Bool isMacro = word && (word->kind == WordKind::kTexture || word->id == WordId::kLinearInvocation);
  if (!isMacro) {
    if (const NodeIndex variable = _uses.names.FindVariable(node); variable != kNoNode) {
      return Fail(node, Join({"\"", name, "\" is a variable here and cannot be called"}),
                  {{GetOffset(variable), "it is declared here"}});
    }
    const auto functions = _uses.names.FindFunctions(name);
    if (!functions.empty()) return _uses.functionCalls.Call(node, functions);
  }
  if (!word || (IsLibraryWord(word->id) && IsDeclaredLater(name))) return _uses.unknownNames.FailName(node, true);
  return CallWord(node, *word);
}

TypeIndex ResolveCalls::CallWord(NodeIndex node, const Word& word) {
  switch (word.kind) {
    case WordKind::kTexture:
      return _uses.textureCalls.Call(node, word.id);
    case WordKind::kAtomic:
      return _uses.atomicCalls.Call(node, word.id);
    case WordKind::kFunction:
      return _uses.wordCalls.Call(node, word.id);
    default:
      break;
  }
  switch (word.id) {
    case WordId::kRenderNoise:
      return RenderNoise(node);
    case WordId::kLinearInvocation:
      return LinearInvocation(node);
    case WordId::kSampleGradient:
      return SampleGradient(node);
    default:
      return Stop(node, Join({"this use of \"", NameOf(node), "\""}));
  }
}

TypeIndex ResolveCalls::LinearInvocation(NodeIndex node) {
  if (!_uses.names.IsInKernel()) return Stop(node, "LinearInvocation outside of the kernel's body");
  if (!CheckCount(node, 0, "LinearInvocation()")) return kUnknownType;
  _resolved.usesLinearInvocation = true;
  SetWord(node, WordId::kLinearInvocation);
  return kUIntType;
}

TypeIndex ResolveCalls::SampleGradient(NodeIndex node) {
  Bool isKnown = false;
  const auto arguments = _tree.GetChildren(node);
  const TypeList types = _uses.expressions.ReadArguments(arguments, isKnown);
  if (!CheckCount(node, 2, "SampleGradient(UNIFORM(gradient), position)") || !isKnown) return kUnknownType;
  if (types[0] != kGradientType) return Stop(arguments[0], "a gradient of this kind");
  if (!_uses.conversions.Convert(arguments[1], kFloatType, "the position")) return kUnknownType;
  SetWord(node, WordId::kSampleGradient);
  return GetVectorType(Scalar::kFloat32, 3);
}

TypeIndex ResolveCalls::RenderNoise(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  if (!_uses.names.IsInKernel()) return Stop(node, "RenderNoise outside of the kernel's body");
  if (!CheckCount(node, 3, "RenderNoise(number, position, time)")) return kUnknownType;
  Bool isKnown = false;
  const TypeList types = _uses.expressions.ReadArguments(arguments, isKnown);
  if (!isKnown) return kUnknownType;
  const Bool isPosition = types[1] == kFloatType || (IsVector(types[1]) && Get(types[1]).scalar == Scalar::kFloat32);
  if (!IsScalar(types[0]) || !isPosition) return Stop(node, Join({"RenderNoise of ", ListTypes(types)}));
  SetConverted(arguments[0], GetScalarType(Scalar::kInt64));
  if (!_uses.conversions.Convert(arguments[2], kFloatType, "the time")) return kUnknownType;
  SetWord(node, WordId::kRenderNoise);
  return kFloatType;
}

Bool ResolveCalls::IsDeclaredLater(std::string_view name) const {
  const auto items = _tree.GetChildren(_tree.root);
  return std::any_of(items.begin(), items.end(), [&](NodeIndex item) {
    return (_tree.Is(item, NodeKind::kPrototype) || _tree.Is(item, NodeKind::kFunction)) && NameOf(item) == name;
  });
}

}  // namespace ostra::kernellanguage
