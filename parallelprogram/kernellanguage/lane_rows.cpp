// Vectors that are never taken apart: loaded, added, multiplied and stored, they stay in the order that they have in
// memory (LaneRows in ostra/math/lanes/rows.inl).
#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {

Bool LanePrinter::IsFloatVector(TypeIndex type) const {
  return _types.IsVector(type) && _types[type].scalar == Scalar::kFloat32;
}

std::string LanePrinter::RowsType(TypeIndex type) const { return Join({"LaneRows<", SharedType(type), ">"}); }

std::string LanePrinter::ToRows(const Value& value) const {
  return value.form == Form::kRows ? value.text : Join({"ToRows<", SharedType(value.type), ">(", value.text, ")"});
}

// Whether the variable that is named by the node stays in rows, as far as is known.
Bool LanePrinter::IsRowsName(NodeIndex node) const {
  const Meaning& meaning = _resolved.meaning[node];
  return KindOf(node) == NodeKind::kName && meaning.kind == MeaningKind::kVariable && _isInRows[meaning.target];
}

// Whether the value can be had in rows.
Bool LanePrinter::IsRowsValue(NodeIndex node) const {
  const TypeIndex type = TypeOf(node);
  if (!IsFloatVector(type) || _resolved.converted[node] != type) return false;
  if (FormOf(node) == Form::kShared) return true;
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
void LanePrinter::TakeRowsValue(NodeIndex node) {
  const Bool isPart = IsFloatVector(TypeOf(node)) && FormOf(node) != Form::kShared;
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

// Variables that turn out to be needed in another form are taken out.
void LanePrinter::FindRowsIn(NodeIndex node) {
  const auto giveUp = [this](NodeIndex variable) {
    _isInRows[variable] = false;
    _hasFoundRows = true;
  };
  switch (KindOf(node)) {
    case NodeKind::kName:
      if (IsRowsName(node)) giveUp(_resolved.meaning[node].target);
      return;
    case NodeKind::kVariable: {
      const NodeIndex value = Child(node, 2);
      if (!_isInRows[node] || value == kNoNode) break;
      if (IsRowsValue(value)) return TakeRowsValue(value);
      giveUp(node);
      break;
    }
    case NodeKind::kAssign: {
      const NodeIndex target = Child(node, 0), value = Child(node, 1);
      const Bool isElement = KindOf(target) == NodeKind::kIndex && KindOf(Child(target, 0)) == NodeKind::kBuffer &&
                             _tree.nodes[node].operation == Operation::kNone &&
                             _uniformity.Get(Child(target, 1)) == Uniformity{Variance::kLinear, 1};
      if (isElement && IsRowsValue(value)) {
        FindRowsIn(Child(target, 1));
        return TakeRowsValue(value);
      }
      const Bool isNumber = _tree.nodes[node].operation != Operation::kNone &&
                            _resolved.converted[value] == GetScalarType(Scalar::kFloat32);
      if (IsRowsName(target) && isNumber) return FindRowsIn(value);
      if (IsRowsName(target) && IsRowsValue(value)) return TakeRowsValue(value);
      break;
    }
    default:
      break;
  }
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) FindRowsIn(child);
  }
}

void LanePrinter::FindRows() {
  std::vector<Bool> isCandidate(_tree.nodes.size(), false);
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    isCandidate[node] =
        KindOf(node) == NodeKind::kVariable && FormOf(node) == Form::kLanes && IsFloatVector(TypeOf(node));
  }
  do {
    _hasFoundRows = false;
    _isInRows = isCandidate;
    FindRowsIn(_tree.kernel);
    for (const NodeIndex function : _resolved.functions) FindRowsIn(function);
    for (std::size_t node = 0; node < isCandidate.size(); ++node)
      isCandidate[node] = isCandidate[node] && _isInRows[node];
  } while (_hasFoundRows);
}

}  // namespace ostra::kernellanguage
