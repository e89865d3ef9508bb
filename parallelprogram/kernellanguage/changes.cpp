#include "parallelprogram/kernellanguage/changes.h"

#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

NodeIndex FindPlaceRoot(const SyntaxTree& tree, NodeIndex place) {
  while (tree.Is(place, NodeKind::kMemberOf) || tree.Is(place, NodeKind::kIndex)) place = tree.GetChild(place, 0);
  return place;
}

Bool IsChangedArgument(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex call, std::size_t index) {
  const Meaning& meaning = resolved.meaning[call];
  if (meaning.kind == MeaningKind::kWord && IsLibraryWord(meaning.word))
    return GetOverloads(meaning.word)[meaning.overload].Changes(index);
  if (meaning.kind != MeaningKind::kFunction) return false;
  const auto parameters = tree.GetChildren(meaning.target);
  if (index + 2 >= parameters.size()) return false;
  return SetsArgument(tree.nodes[parameters[index + 1]].flags);
}

std::vector<NodeIndex> ListChangedPlaces(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node) {
  const Operation operation = tree.nodes[node].operation;
  const Bool isStep = IsStep(operation);
  switch (tree.nodes[node].kind) {
    case NodeKind::kAssign:
    case NodeKind::kPostfix:
      return {tree.GetChild(node, 0)};
    case NodeKind::kUnary:
      return isStep ? std::vector{tree.GetChild(node, 0)} : std::vector<NodeIndex>();
    case NodeKind::kCall:
      break;
    default:
      return {};
  }
  const WordId word = resolved.meaning[node].word;
  const Bool isAtomic = word >= WordId::kAtomicAdd && word <= WordId::kAtomicCompareExchange;
  std::vector<NodeIndex> places;
  const auto arguments = tree.GetChildren(node);
  for (std::size_t i = 0; i < arguments.size(); ++i)
    if ((isAtomic && (i == 0 || i + 1 == arguments.size())) || IsChangedArgument(tree, resolved, node, i))
      places.push_back(arguments[i]);
  return places;
}

}  // namespace ostra::kernellanguage
