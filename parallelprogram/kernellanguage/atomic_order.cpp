#include "parallelprogram/kernellanguage/atomic_order.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/changes.h"

namespace ostra::kernellanguage {
namespace {

// Operations in any order of which leave the same value.
Bool IsCommutative(WordId word) {
  return word == WordId::kAtomicAdd || word == WordId::kAtomicSub || word == WordId::kAtomicMin ||
         word == WordId::kAtomicMax || word == WordId::kAtomicAnd || word == WordId::kAtomicOr ||
         word == WordId::kAtomicXor;
}

class AtomicOrder {
 public:
  AtomicOrder(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  void Add(NodeIndex node, Bool isInLoop) {
    const NodeKind kind = _tree.nodes[node].kind;
    const Meaning& meaning = _resolved.meaning[node];
    if (kind == NodeKind::kCall && meaning.kind == MeaningKind::kWord && IsAtomic(meaning.word))
      _calls.push_back({node, FindMemory(_tree.GetChild(node, 0)), isInLoop});
    isInLoop = isInLoop || IsLoop(kind);
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (child != kNoNode) Add(child, isInLoop);
    }
  }

  // kNoNode if the order of none matters.
  NodeIndex Find() const {
    for (const Call& call : _calls) {
      const auto isOther = [&](const Call& other) { return other.memory == call.memory && other.node != call.node; };
      const Bool isAlone = !call.isInLoop && std::none_of(_calls.begin(), _calls.end(), isOther);
      const WordId word = _resolved.meaning[call.node].word;
      const auto isUnlike = [&](const Call& other) {
        return other.memory == call.memory && _resolved.meaning[other.node].word != word;
      };
      const Bool isFree = IsCommutative(word) && std::none_of(_calls.begin(), _calls.end(), isUnlike) &&
                          !IsRead(_tree.GetChildren(call.node).back());
      if (!isAlone && !isFree) return call.node;
    }
    return kNoNode;
  }

 private:
  struct Call {
    NodeIndex node, memory;
    Bool isInLoop;
  };

  // The declaration of the buffer, array or counter.
  NodeIndex FindMemory(NodeIndex place) const {
    const NodeIndex root = FindPlaceRoot(_tree, place);
    return _resolved.meaning[_tree.Is(root, NodeKind::kCall) ? _tree.GetChild(root, 0) : root].target;
  }

  Bool IsOldValue(NodeIndex name) const {
    return std::any_of(_calls.begin(), _calls.end(),
                       [&](const Call& call) { return _tree.GetChildren(call.node).back() == name; });
  }

  // Whether anything but these operations names the variable.
  Bool IsRead(NodeIndex old) const {
    const NodeIndex variable = _resolved.meaning[old].target;
    for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
      const Bool isNamed = _tree.Is(node, NodeKind::kName) && _resolved.meaning[node].kind == MeaningKind::kVariable &&
                           _resolved.meaning[node].target == variable;
      if (isNamed && !IsOldValue(node)) return true;
    }
    return false;
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  std::vector<Call> _calls;
};

}  // namespace

NodeIndex FindOrderedAtomic(const SyntaxTree& tree, const ResolvedTree& resolved, const GroupPiece& piece) {
  AtomicOrder order(tree, resolved);
  for (const GroupPiece::Item& item : piece.items) order.Add(item.node, false);
  return order.Find();
}

}  // namespace ostra::kernellanguage
