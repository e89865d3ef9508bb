#include "parallelprogram/kernellanguage/resolve_word_calls.h"

#include <algorithm>
#include <array>

#include "parallelprogram/kernellanguage/conversions.h"
#include "parallelprogram/kernellanguage/host_names.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/overloads.h"

namespace ostra::kernellanguage {

TypeIndex ResolveWordCalls::Call(NodeIndex node, WordId word) {
  Bool isKnown = false, isPlain = false;
  const TypeList types = _uses.expressions.ReadArguments(_tree.GetChildren(node), isKnown);
  if (!isKnown) return kUnknownType;
  if (IsLongInteger(GetCommonScalarOf(_resolved.types, types)) && !GetLongOverloads(word).empty())
    return CallOfLongs(node, word, types);
  const Bool hasDouble = std::find(types.begin(), types.end(), kDoubleType) != types.end();
  const auto overloads = hasDouble ? GetDoubleOverloads(word) : GetOverloads(word);
  if (!CheckWidths(node, overloads, types)) return kUnknownType;
  const auto chosen = ChooseOverload(node, word, overloads, types, isPlain);
  if (!chosen || !ConvertArguments(node, overloads[*chosen])) return kUnknownType;
  if (IsGroupWord(word) && !_uses.groupCalls.CheckCall(node)) return kUnknownType;
  // The translation for GPUs replaces the other name of this word as a text.
  const Bool isOtherName = word == WordId::kMatrixOffset && NameOf(node) != GetWord(word).name;
  if ((GetWord(word).isExtension || isOtherName) && isPlain) Extend(node);
  SetWord(node, word, *chosen);
  return overloads[*chosen].result;
}

TypeIndex ResolveWordCalls::CallOfLongs(NodeIndex node, WordId word, const TypeList& types) {
  const TypeIndex wanted = GetScalarType(GetCommonScalarOf(_resolved.types, types));
  const Bool areScalars = std::all_of(types.begin(), types.end(), [this](TypeIndex type) { return IsScalar(type); });
  const auto overloads = GetLongOverloads(word);
  const auto fits = [&](const Overload& overload) {
    return areScalars && overload.count == types.size() && overload.parameters[0] == wanted;
  };
  const auto found = std::find_if(overloads.begin(), overloads.end(), fits);
  if (found == overloads.end()) return FailOverload(node, overloads, types);
  for (const NodeIndex argument : _tree.GetChildren(node)) SetConverted(argument, wanted);
  Extend(node);
  SetWord(node, word, static_cast<std::size_t>(found - overloads.begin()));
  return found->result;
}

// Numbers of 64 bits are for words that have overloads of them; false with a message for others.
Bool ResolveWordCalls::CheckWidths(NodeIndex node, Overloads overloads, const TypeList& types) {
  const Bool hasDouble = std::find(types.begin(), types.end(), kDoubleType) != types.end();
  const Bool hasFloat = IsFloating(GetCommonScalarOf(_resolved.types, types));
  for (const TypeIndex type : types) {
    const Bool isNumber = IsScalar(type) || IsVector(type);
    const Bool isDouble = type == kDoubleType && !overloads.empty();
    // Beside a float it becomes one.
    const Bool isConverted = IsScalar(type) && IsLongInteger(Get(type).scalar) && hasFloat;
    if (!isNumber || isDouble || isConverted) continue;
    if (GetSize(Get(type).scalar) != 8 && (!hasDouble || IsScalar(type))) continue;
    Stop(node, Join({NameOf(node), " of numbers of 64 bits"}));
    return false;
  }
  return true;
}

std::optional<std::size_t> ResolveWordCalls::ChooseOverload(NodeIndex node, WordId word, Overloads overloads,
                                                            const TypeList& types, Bool& isPlain) {
  std::vector<Candidate> candidates;
  // Arguments that the function sets are variables of just that type.
  std::vector<std::array<Bool, std::size(Overload{}.parameters)>> exact(overloads.size());
  for (std::size_t i = 0; i < overloads.size(); ++i) {
    const Overload& overload = overloads[i];
    for (std::size_t k = 0; k < overload.count; ++k) exact[i][k] = overload.Changes(k);
    candidates.push_back({{overload.parameters, overload.count}, {exact[i].data(), overload.count}});
  }
  std::size_t chosen = 0;
  const Choice choice = kernellanguage::ChooseOverload(_resolved.types, candidates, types, chosen);
  isPlain = choice == Choice::kFound && !IsCut(_resolved.types, overloads[chosen], types);
  if (isPlain) return chosen;
  if (const auto mixed = FindMixedOverload(_resolved.types, overloads, types)) {
    Extend(node);
    return mixed;
  }
  const Bool setsArguments = overloads[0].changed != 0;
  if (choice == Choice::kUncertain && !HasSeveralWidths(_resolved.types, types))
    Stop(node, Join({"the choice of ", NameOf(node), " for ", ListTypes(types)}));
  else if (!setsArguments && IsLibraryWord(word) && MayBeHostName(NameOf(node)))
    // C++ has functions by some of these names, too.
    Stop(node, Join({NameOf(node), " of ", ListTypes(types)}));
  else
    FailOverload(node, overloads, types);
  return std::nullopt;
}

Bool ResolveWordCalls::ConvertArguments(NodeIndex node, const Overload& overload) {
  const auto arguments = _tree.GetChildren(node);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (!_uses.conversions.Convert(arguments[i], overload.parameters[i], "an argument")) return false;
    if (overload.Changes(i) &&
        !_uses.places.CheckPlace(arguments[i], Join({"an argument that ", NameOf(node), " sets"})))
      return false;
  }
  return true;
}

TypeIndex ResolveWordCalls::FailOverload(NodeIndex node, Overloads overloads, const TypeList& types) {
  constexpr int kMaxListed = 6;
  std::string forms;
  int count = 0;
  for (const Overload& overload : overloads) {
    if (overload.count != types.size() || ++count > kMaxListed) continue;
    const TypeList parameters(overload.parameters, overload.parameters + overload.count);
    forms += Join({forms.empty() ? "(" : ", (", ListTypes(parameters), ")"});
  }
  if (count > kMaxListed) forms += ", ...";
  if (count == 0) {
    return Fail(node, Join({NameOf(node), " does not take ", std::to_string(types.size()),
                            types.size() == 1 ? " argument" : " arguments"}));
  }
  return Fail(node, Join({"there is no ", NameOf(node), " of ", ListTypes(types), "; it takes ", forms}));
}

}  // namespace ostra::kernellanguage
