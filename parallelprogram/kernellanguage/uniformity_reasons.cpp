// Why a value differs between invocations: the steps from it to what makes it differ.
#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/uniformity.h"

namespace ostra::kernellanguage {
namespace {

std::string DescribeStep(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node, NodeIndex next) {
  const std::string_view name = tree.GetName(node);
  const NodeKind kind = tree.nodes[node].kind;
  if (kind == NodeKind::kVariable || kind == NodeKind::kFunctionParameter)
    return Join({"\"", name, "\" differs between invocations"});
  if (kind == NodeKind::kFunction) return Join({"the result of \"", name, "\" differs between invocations"});
  if (next != kNoNode) return "it is computed here";
  const Bool isShared = kind == NodeKind::kSharedArray;
  if (isShared) return Join({"\"", name, "\" holds what other invocations of the group have written"});
  if (kind == NodeKind::kMemberOf || kind == NodeKind::kName) return "the number of the invocation differs along x";
  if (kind == NodeKind::kIndex || kind == NodeKind::kLocalData)
    return "an element of a buffer that the kernel may write";
  if (kind == NodeKind::kCall && resolved.meaning[node].word == WordId::kLinearInvocation)
    return "the number of the invocation differs along x";
  if (kind == NodeKind::kCall && IsAtomic(resolved.meaning[node].word))
    return "every invocation gets another value before";
  return "it differs here";
}

}  // namespace

std::vector<UniformityReason> Explain(const SyntaxTree& tree, const ResolvedTree& resolved,
                                      const UniformityTable& table, NodeIndex node) {
  std::vector<UniformityReason> reasons;
  if (node == kNoNode || table.Get(node).IsSame()) return reasons;
  while (node != kNoNode && reasons.size() < kMaxReasons) {
    const NodeIndex next = table.causes[node];
    // Nodes on the way that only pass a value on say nothing new.
    const NodeKind kind = tree.nodes[node].kind;
    const Bool isPassing = next != kNoNode && (kind == NodeKind::kName || kind == NodeKind::kConstruct ||
                                               kind == NodeKind::kCast || kind == NodeKind::kBinary);
    if (!isPassing || reasons.empty()) reasons.push_back({node, DescribeStep(tree, resolved, node, next)});
    const Bool isKnown = std::any_of(reasons.begin(), reasons.end(), [&](const auto& r) { return r.node == next; });
    if (isKnown) break;
    node = next;
  }
  return reasons;
}

}  // namespace ostra::kernellanguage
