#include "parallelprogram/kernellanguage/resolve_group_calls.h"

#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

void ResolveGroupCalls::FindCalls(NodeIndex node) {
  if (node == kNoNode) return;
  if (_tree.Is(node, NodeKind::kCall)) {
    const Word* word = FindWord(NameOf(node));
    if (word && IsGroupWord(word->id)) _calls.insert(node);
  }
  const Bool isChoice =
      _tree.Is(node, NodeKind::kConditional) || (_tree.Is(node, NodeKind::kBinary) && IsLogical(OperationOf(node)));
  for (const NodeIndex child : _tree.GetChildren(node)) {
    FindCalls(child);
    if (isChoice) return;
  }
}

Bool ResolveGroupCalls::CheckCall(NodeIndex node) {
  if (!_names.IsInKernel()) {
    Fail(node, Join({NameOf(node), " stands in a function: it belongs into the kernel"}));
    return false;
  }
  if (_calls.contains(node)) return true;
  Fail(node, Join({NameOf(node), " needs a statement of its own here: assign its value to a variable before"}));
  return false;
}

}  // namespace ostra::kernellanguage
