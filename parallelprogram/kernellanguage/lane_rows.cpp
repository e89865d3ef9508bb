#include "parallelprogram/kernellanguage/lane_rows.h"

namespace ostra::kernellanguage {

LaneRows::LaneRows(const LaneKernel& kernel) : LaneQuery(kernel) {
  std::vector<Bool> isCandidate(_tree.nodes.size(), false);
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    isCandidate[node] =
        KindOf(node) == NodeKind::kVariable && FormOf(node) == LaneForm::kLanes && IsFloatVector(TypeOf(node));
  }
  do {
    _hasGivenUp = false;
    _isInRows = isCandidate;
    FindRowsIn(_tree.kernel);
    for (const NodeIndex function : _resolved.functions) FindRowsIn(function);
    for (std::size_t node = 0; node < isCandidate.size(); ++node)
      isCandidate[node] = isCandidate[node] && _isInRows[node];
  } while (_hasGivenUp);
}

Bool LaneRows::IsFloatVector(TypeIndex type) const {
  return _types.IsVector(type) && _types[type].scalar == Scalar::kFloat32;
}

// Whether the variable that is named by the node stays in rows, as far as is known.
Bool LaneRows::IsRowsName(NodeIndex node) const {
  const Meaning& meaning = _resolved.meaning[node];
  return KindOf(node) == NodeKind::kName && meaning.kind == MeaningKind::kVariable && _isInRows[meaning.target];
}

// Whether the value can be had in rows.
Bool LaneRows::IsRowsValue(NodeIndex node) const {
  const TypeIndex type = TypeOf(node);
  if (!IsFloatVector(type) || _resolved.converted[node] != type) return false;
  if (FormOf(node) == LaneForm::kShared) return true;
  switch (KindOf(node)) {
    case NodeKind::kName:
      return IsRowsName(node);
    case NodeKind::kIndex:
      return KindOf(Child(node, 0)) == NodeKind::kBuffer;
    case NodeKind::kUnary:
      return IsRowsValue(Child(node, 0));
    case NodeKind::kBinary:
      for (const NodeIndex operand : _tree.GetChildren(node)) {
        const Bool isNumber = _resolved.converted[operand] == GetScalarType(Scalar::kFloat32);
        if (!isNumber && !IsRowsValue(operand)) return false;
      }
      return true;
    default:
      return false;
  }
}

// What stands in rows inside of such a value.
void LaneRows::TakeRowsValue(NodeIndex node) {
  const Bool isPart = IsFloatVector(TypeOf(node)) && FormOf(node) != LaneForm::kShared;
  if (!isPart) return FindRowsIn(node);
  switch (KindOf(node)) {
    case NodeKind::kName:
      return;
    case NodeKind::kIndex:
      _isInRows[node] = true;
      return FindRowsIn(Child(node, 1));
    default:
      for (const NodeIndex operand : _tree.GetChildren(node)) TakeRowsValue(operand);
  }
}

void LaneRows::GiveUp(NodeIndex variable) {
  _isInRows[variable] = false;
  _hasGivenUp = true;
}

// Whether the assignment keeps rows as they are.
Bool LaneRows::FindInAssignment(NodeIndex node) {
  const NodeIndex target = Child(node, 0), value = Child(node, 1);
  const Bool isComputed = OperationOf(node) != Operation::kNone;
  const Bool isElement = KindOf(target) == NodeKind::kIndex && KindOf(Child(target, 0)) == NodeKind::kBuffer &&
                         !isComputed && _uniformity.Get(Child(target, 1)) == Uniformity{Variance::kLinear, 1};
  const Bool isNumber = isComputed && _resolved.converted[value] == GetScalarType(Scalar::kFloat32);
  if (isElement && IsRowsValue(value)) {
    FindRowsIn(Child(target, 1));
    TakeRowsValue(value);
  } else if (IsRowsName(target) && isNumber) {
    FindRowsIn(value);
  } else if (IsRowsName(target) && IsRowsValue(value)) {
    TakeRowsValue(value);
  } else {
    return false;
  }
  return true;
}

// Variables that turn out to be needed in another form are taken out.
void LaneRows::FindRowsIn(NodeIndex node) {
  switch (KindOf(node)) {
    case NodeKind::kName:
      if (IsRowsName(node)) GiveUp(_resolved.meaning[node].target);
      return;
    case NodeKind::kVariable: {
      const NodeIndex value = Child(node, 2);
      if (!_isInRows[node] || value == kNoNode) break;
      if (IsRowsValue(value)) return TakeRowsValue(value);
      GiveUp(node);
      break;
    }
    case NodeKind::kAssign:
      if (FindInAssignment(node)) return;
      break;
    default:
      break;
  }
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) FindRowsIn(child);
  }
}

}  // namespace ostra::kernellanguage
