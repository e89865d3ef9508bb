#include "parallelprogram/kernellanguage/resolve_places.h"

namespace ostra::kernellanguage {
namespace {

// Whether a kSwizzle names a component twice.
Bool HasRepetition(UInt32 number) {
  UInt32 seen = 0;
  for (UInt32 i = 0; i < GetSwizzleCount(number); ++i) {
    const UInt32 bit = 1u << GetSwizzleComponent(number, i);
    if (seen & bit) return true;
    seen |= bit;
  }
  return false;
}

}  // namespace

std::string ResolvePlaces::GetConstReason(NodeIndex node) const {
  const Meaning& meaning = _resolved.meaning[node];
  switch (KindOf(node)) {
    case NodeKind::kMemberOf:
      if (meaning.kind == MeaningKind::kSwizzle && HasRepetition(meaning.number))
        return Join({"\".", NameOf(node), "\" names a component twice: it cannot be changed"});
      return GetConstReason(Child(node, 0));
    case NodeKind::kIndex:
      return GetConstReason(Child(node, 0));
    case NodeKind::kUniform:
      return Join({"UNIFORM(", NameOf(node), ") cannot be changed in a kernel"});
    case NodeKind::kBuffer:
    case NodeKind::kLocalData: {
      const TypeIndex type = _resolved.type[meaning.target];
      return Get(type).isConst ? Join({"the buffer \"", NameOf(node), "\" is declared const"}) : std::string();
    }
    case NodeKind::kName:
      if (meaning.kind == MeaningKind::kWord) return Join({NameOf(node), " cannot be changed"});
      return _tree.HasFlag(meaning.target, kIsConst) ? Join({"\"", NameOf(node), "\" is const"}) : std::string();
    default:
      return "";
  }
}

Bool ResolvePlaces::CheckPlace(NodeIndex node, std::string_view what) {
  if (!_resolved.isPlace[node]) {
    const Bool isPlainValue = IsScalar(_resolved.type[node]) && !_tree.Is(node, NodeKind::kConditional);
    const Bool isOfClass = _tree.Is(node, NodeKind::kMemberOf) || _tree.Is(node, NodeKind::kIndex);
    if (isPlainValue && !isOfClass)
      Fail(node, Join({what, " needs a variable, not a value"}));
    else
      Stop(node, Join({what, " to this value"}));
    return false;
  }
  const std::string reason = GetConstReason(node);
  if (reason.empty()) return true;
  Fail(node, reason);
  return false;
}

}  // namespace ostra::kernellanguage
