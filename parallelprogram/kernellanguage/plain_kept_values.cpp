#include "parallelprogram/kernellanguage/plain_kept_values.h"

namespace ostra::kernellanguage {
const std::string* KeptValues::Find(NodeIndex node) const {
  const auto found = _names.find(node);
  return found == _names.end() ? nullptr : &found->second;
}

Bool KeptValues::IsSimple(NodeIndex node) const {
  return _kernel.resolved.converted[node] == _kernel.resolved.type[node] ? IsSimpleValue(node)
                                                                         : _kernel.GetKind(node) == NodeKind::kLiteral;
}

Bool KeptValues::IsSimpleValue(NodeIndex node) const {
  if (IsKept(node)) return true;
  switch (_kernel.GetKind(node)) {
    case NodeKind::kLiteral:
    case NodeKind::kUniform:
      return true;
    case NodeKind::kName:
      return _kernel.resolved.meaning[node].kind == MeaningKind::kVariable ||
             _kernel.resolved.meaning[node].kind == MeaningKind::kWord;
    case NodeKind::kMemberOf:
      return _kernel.resolved.meaning[node].kind != MeaningKind::kSwizzle && IsSimple(_kernel.GetChild(node, 0));
    default:
      return false;
  }
}

}  // namespace ostra::kernellanguage
