#include "parallelprogram/kernellanguage/plain_trace_plan.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {
TracePlan::TracePlan(const PlainKernel& kernel) : _kernel(kernel) { FindUnorderedCalls(); }

Int TracePlan::CountTraceWords() const {
  return _kernel.options.isTraced ? 1 + static_cast<Int>(_kernel.resolved.parameters.size()) : 0;
}

std::string TracePlan::MakeTraceNames() const {
  if (!_kernel.options.isTraced) return "";
  std::string names = "\t@";
  for (const NodeIndex parameter : _kernel.resolved.parameters) names += Join({"\t@", _kernel.tree.GetName(parameter)});
  return names;
}

void TracePlan::FindChanged(NodeIndex node, std::vector<NodeIndex>& places) const {
  if (node == kNoNode) return;
  const auto children = _kernel.tree.GetChildren(node);
  for (const NodeIndex child : children) FindChanged(child, places);
  const Operation operation = _kernel.tree.nodes[node].operation;
  const Bool isStep = IsStep(operation);
  if (_kernel.GetKind(node) == NodeKind::kAssign || (isStep && !children.empty())) places.push_back(children[0]);
  if (_kernel.GetKind(node) != NodeKind::kCall) return;
  const Meaning& meaning = _kernel.resolved.meaning[node];
  const Bool isAtomic = IsAtomicCall(node);
  for (std::size_t i = 0; i < children.size(); ++i) {
    Bool isChanged = isAtomic && (i == 0 || i + 1 == children.size());
    if (meaning.kind == MeaningKind::kFunction) {
      const auto parameters = _kernel.tree.GetChildren(meaning.target);
      isChanged = i + 2 < parameters.size() && SetsArgument(_kernel.tree.nodes[parameters[i + 1]].flags);
    } else if (meaning.kind == MeaningKind::kWord && meaning.overload < GetOverloads(meaning.word).size()) {
      isChanged = GetOverloads(meaning.word)[meaning.overload].Changes(i);
    }
    if (isChanged) places.push_back(children[i]);
  }
}

Bool TracePlan::IsAtomicCall(NodeIndex node) const {
  const Meaning& meaning = _kernel.resolved.meaning[node];
  return _kernel.GetKind(node) == NodeKind::kCall && meaning.kind == MeaningKind::kWord &&
         GetWord(meaning.word).kind == WordKind::kAtomic;
}

void TracePlan::FindCounted(NodeIndex node, std::vector<NodeIndex>& calls) const {
  if (node == kNoNode) return;
  for (const NodeIndex child : _kernel.tree.GetChildren(node)) FindCounted(child, calls);
  if (!IsAtomicCall(node)) return;
  const Meaning& place = _kernel.resolved.meaning[_kernel.GetChild(node, 0)];
  if (place.kind == MeaningKind::kWord && place.word == WordId::kAtomicCounter) calls.push_back(node);
}

Bool TracePlan::IsValueFixed(NodeIndex atomic, const std::vector<NodeIndex>& changed) const {
  const ChangedNames names = ListNames(changed);
  const auto children = _kernel.tree.GetChildren(atomic);
  return std::all_of(children.begin() + 1, children.end() - 1,
                     [&](NodeIndex value) { return IsRepeatable(value) && !Mentions(value, names); });
}

std::vector<NodeIndex> TracePlan::ListLoopVariables(NodeIndex loop) const {
  std::vector<NodeIndex> traced, changed;
  if (!_kernel.options.isTraced) return traced;
  if (_kernel.GetKind(loop) == NodeKind::kWhile) {
    FindChanged(_kernel.GetChild(loop, 0), traced);
    return traced;
  }
  if (_kernel.GetKind(loop) != NodeKind::kFor) return traced;
  std::set<NodeIndex> known;
  const NodeIndex start = _kernel.GetChild(loop, 0);
  if (start != kNoNode && _kernel.GetKind(start) == NodeKind::kDeclaration)
    for (const NodeIndex variable : _kernel.tree.GetChildren(start)) {
      known.insert(variable);
      traced.push_back(variable);
    }
  for (const NodeIndex part : {start, _kernel.GetChild(loop, 1), _kernel.GetChild(loop, 2)}) FindChanged(part, changed);
  for (const NodeIndex place : changed) {
    const NodeIndex root = FindTracedRoot(place);
    if (root == kNoNode || _kernel.GetKind(root) == NodeKind::kBuffer) continue;
    if (known.insert(_kernel.resolved.meaning[root].target).second) traced.push_back(place);
  }
  return traced;
}

NodeIndex TracePlan::FindTracedRoot(NodeIndex place) const {
  while (_kernel.GetKind(place) == NodeKind::kMemberOf || _kernel.GetKind(place) == NodeKind::kIndex)
    place = _kernel.GetChild(place, 0);
  const Bool isVariable =
      _kernel.GetKind(place) == NodeKind::kName && _kernel.resolved.meaning[place].kind == MeaningKind::kVariable;
  return isVariable || _kernel.GetKind(place) == NodeKind::kBuffer ? place : kNoNode;
}

NodeIndex TracePlan::WidenPlace(NodeIndex place) const {
  const NodeIndex root = FindTracedRoot(place);
  const Bool isOfBuffer = root != kNoNode && _kernel.GetKind(root) == NodeKind::kBuffer;
  while (_kernel.GetKind(place) == NodeKind::kMemberOf || _kernel.GetKind(place) == NodeKind::kIndex) {
    const NodeIndex whole = _kernel.GetChild(place, 0);
    const TypeIndex type = _kernel.resolved.type[whole];
    if (!_kernel.types.IsVector(type) && !_kernel.IsMatrix(type)) break;
    const Bool isSimplePart =
        _kernel.GetKind(place) == NodeKind::kMemberOf && _kernel.types.IsScalar(_kernel.resolved.type[place]);
    if (isOfBuffer && isSimplePart && _kernel.types.IsVector(type)) break;
    place = whole;
  }
  return place;
}

TracePlan::ChangedNames TracePlan::ListNames(const std::vector<NodeIndex>& changed) const {
  ChangedNames names;
  for (const NodeIndex place : changed) {
    const NodeIndex root = FindTracedRoot(place);
    if (root == kNoNode) continue;
    if (_kernel.GetKind(root) == NodeKind::kBuffer)
      names.buffer = _kernel.tree.GetName(root);
    else
      names.variables.insert(_kernel.resolved.meaning[root].target);
  }
  return names;
}

Bool TracePlan::AreIndicesFixed(NodeIndex place, const std::vector<NodeIndex>& changed) const {
  const ChangedNames names = ListNames(changed);
  for (; _kernel.GetKind(place) == NodeKind::kMemberOf || _kernel.GetKind(place) == NodeKind::kIndex;
       place = _kernel.GetChild(place, 0)) {
    if (_kernel.GetKind(place) != NodeKind::kIndex) continue;
    if (!IsRepeatable(_kernel.GetChild(place, 1)) || Mentions(_kernel.GetChild(place, 1), names)) return false;
  }
  return true;
}

std::size_t TracePlan::CountTracedCalls(NodeIndex node) const {
  if (!_kernel.options.isTraced || node == kNoNode) return 0;
  std::size_t count =
      _kernel.GetKind(node) == NodeKind::kCall && _kernel.resolved.meaning[node].kind == MeaningKind::kFunction;
  for (const NodeIndex child : _kernel.tree.GetChildren(node)) count += CountTracedCalls(child);
  return count;
}

// Whether computing the value again changes nothing and gives the same.
Bool TracePlan::IsRepeatable(NodeIndex node) const {
  if (node == kNoNode) return true;
  std::vector<NodeIndex> changed;
  FindChanged(node, changed);
  if (!changed.empty()) return false;
  if (_kernel.GetKind(node) == NodeKind::kCall && (_kernel.resolved.meaning[node].kind == MeaningKind::kFunction ||
                                                   IsGroupWord(_kernel.resolved.meaning[node].word)))
    return false;
  for (const NodeIndex child : _kernel.tree.GetChildren(node))
    if (!IsRepeatable(child)) return false;
  return true;
}

// Whether the expression reads one of the variables, or the buffer.
Bool TracePlan::Mentions(NodeIndex node, const ChangedNames& names) const {
  if (node == kNoNode) return false;
  if (_kernel.GetKind(node) == NodeKind::kName && names.variables.contains(_kernel.resolved.meaning[node].target))
    return true;
  if (_kernel.GetKind(node) == NodeKind::kBuffer && _kernel.tree.GetName(node) == names.buffer) return true;
  for (const NodeIndex child : _kernel.tree.GetChildren(node))
    if (Mentions(child, names)) return true;
  return false;
}

void TracePlan::FindUnorderedCalls() {
  if (!_kernel.options.isTraced) return;
  for (NodeIndex node = 0; node < _kernel.tree.nodes.size(); ++node) {
    const Bool isBranch = _kernel.GetKind(node) == NodeKind::kConditional || _kernel.GetKind(node) == NodeKind::kComma;
    const Operation operation = _kernel.tree.nodes[node].operation;
    if (!IsExpression(_kernel.GetKind(node)) || isBranch || IsLogical(operation)) continue;
    const auto children = _kernel.tree.GetChildren(node);
    const auto count = std::count_if(children.begin(), children.end(),
                                     [this](NodeIndex child) { return CountTracedCalls(child) > 0; });
    if (count < 2) continue;
    for (const NodeIndex child : children) AddCalls(child);
  }
}

void TracePlan::AddCalls(NodeIndex node) {
  if (node == kNoNode) return;
  if (_kernel.GetKind(node) == NodeKind::kCall && _kernel.resolved.meaning[node].kind == MeaningKind::kFunction)
    _unorderedCalls.insert(node);
  for (const NodeIndex child : _kernel.tree.GetChildren(node)) AddCalls(child);
}

}  // namespace ostra::kernellanguage
