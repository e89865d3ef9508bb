#include "parallelprogram/kernellanguage/item_order.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

namespace ostra::kernellanguage {
namespace {

class FunctionSorter {
 public:
  explicit FunctionSorter(const SyntaxTree& tree) : _tree(tree) {
    for (const NodeIndex item : tree.GetChildren(tree.root)) {
      if (!tree.Is(item, NodeKind::kFunction)) continue;
      _byName[tree.nodes[item].name].push_back(item);
      _all.push_back(item);
    }
  }

  const std::vector<NodeIndex>& GetAll() const { return _all; }
  std::vector<NodeIndex> Sort() {
    for (const NodeIndex function : _all) Append(function, 0);
    return std::move(_sorted);
  }

 private:
  // The functions of the file that a part of it calls, by name.
  void FindCalled(NodeIndex node, std::vector<NodeIndex>& called) const {
    if (node == kNoNode) return;
    if (_tree.Is(node, NodeKind::kCall)) {
      const auto found = _byName.find(_tree.nodes[node].name);
      if (found != _byName.end()) called.insert(called.end(), found->second.begin(), found->second.end());
    }
    for (const NodeIndex child : _tree.GetChildren(node)) FindCalled(child, called);
  }

  void Append(NodeIndex function, Int depth) {
    if (depth > kMaxCallDepth || !_seen.insert(function).second) return;
    std::vector<NodeIndex> called;
    FindCalled(_tree.GetChildren(function).back(), called);
    for (const NodeIndex other : called) Append(other, depth + 1);
    _sorted.push_back(function);
  }

  const SyntaxTree& _tree;
  std::unordered_map<NameIndex, std::vector<NodeIndex>> _byName;
  std::vector<NodeIndex> _all, _sorted;
  std::unordered_set<NodeIndex> _seen;
};

}  // namespace

ItemOrder OrderItems(const SyntaxTree& tree) {
  const auto items = tree.GetChildren(tree.root);
  FunctionSorter sorter(tree);
  const std::vector<NodeIndex>& all = sorter.GetAll();
  const std::vector<NodeIndex> sorted = sorter.Sort();
  if (sorted == all) return {.items = {items.begin(), items.end()}};
  ItemOrder order{.items = {}, .firstMoved = *std::mismatch(sorted.begin(), sorted.end(), all.begin()).first};
  std::copy_if(items.begin(), items.end(), std::back_inserter(order.items),
               [&](NodeIndex item) { return !tree.Is(item, NodeKind::kFunction); });
  order.items.insert(order.items.end(), sorted.begin(), sorted.end());
  return order;
}

}  // namespace ostra::kernellanguage
