#include "parallelprogram/kernellanguage/resolve_atomic_calls.h"

namespace ostra::kernellanguage {

TypeIndex ResolveAtomicCalls::Call(NodeIndex node, WordId word) {
  const auto arguments = _tree.GetChildren(node);
  const Bool isCompare = word == WordId::kAtomicCompareExchange;
  const std::string form = Join({NameOf(node), isCompare ? "(place, expected, value, old)" : "(place, value, old)"});
  if (!CheckCount(node, isCompare ? 4 : 3, form)) return kUnknownType;
  const TypeIndex placeType = ReadPlace(arguments[0]);
  if (placeType == kUnknownType) return kUnknownType;
  Bool isKnown = false;
  const TypeList types = _uses.expressions.ReadArguments(arguments.subspan(1), isKnown);
  if (!isKnown || !CheckValues(arguments.subspan(1), types)) return kUnknownType;
  if (types.back() != placeType && (isCompare || (types.back() != kUIntType && types.back() != kIntType)))
    return Stop(node, "an atomic operation with values of this type");
  if (!_uses.places.CheckPlace(arguments.back(), "the value before")) return kUnknownType;
  SetWord(node, word);
  return kVoidType;
}

TypeIndex ResolveAtomicCalls::ReadPlace(NodeIndex place) {
  if (_tree.Is(place, NodeKind::kCall) && NameOf(place) == GetWord(WordId::kAtomicCounter).name)
    return ReadCounter(place);
  const TypeIndex type = _uses.expressions.Expression(place);
  if (type == kUnknownType || IsStopped()) return kUnknownType;
  if (type != kUIntType && type != kIntType)
    return Fail(place, Join({"atomic operations are of uint and int, this is a ", TypeName(type)}));
  return _uses.places.CheckPlace(place, "an atomic operation") ? type : kUnknownType;
}

TypeIndex ResolveAtomicCalls::ReadCounter(NodeIndex place) {
  if (!CheckCount(place, 1, "GetAtomicCounter(counter)")) return kUnknownType;
  if (!_uses.names.IsInKernel()) return Stop(place, "a counter outside of the kernel's body");
  const NodeIndex name = Child(place, 0);
  const NodeIndex parameter = _uses.parameterWords.ReadArgument(name, WordId::kAtomicCounter);
  if (parameter == kNoNode) return kUnknownType;
  if (_resolved.type[parameter] != kCounterType || !_tree.Is(name, NodeKind::kName)) return Stop(place, "this counter");
  SetWord(place, WordId::kAtomicCounter);
  SetType(place, kUIntType);
  _resolved.isPlace[place] = true;
  return kUIntType;
}

Bool ResolveAtomicCalls::CheckValues(std::span<const NodeIndex> values, const TypeList& types) {
  for (std::size_t i = 0; i + 1 < types.size(); ++i) {
    if (types[i] == types.back()) continue;
    // AtomicAdd(place, 1, old)
    if (_tree.Is(values[i], NodeKind::kLiteral) && types[i] == kIntType && types.back() == kUIntType) {
      Extend(values[i]);
      SetConverted(values[i], kUIntType);
      continue;
    }
    Fail(values[i], Join({"the value is a ", TypeName(types[i]), " and the value before a ", TypeName(types.back()),
                          ": both must have one type"}));
    return false;
  }
  return true;
}

}  // namespace ostra::kernellanguage
