#include "parallelprogram/kernellanguage/plain_hoists.h"

#include <map>
#include <utility>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/operations.h"
#include "parallelprogram/kernellanguage/plain_expressions.h"

namespace ostra::kernellanguage {
namespace {

// Whether the order in which the children are computed is not certain.
Bool IsUnordered(NodeKind kind, Operation operation) {
  switch (kind) {
    case NodeKind::kBinary:
      return !IsLogical(operation);
    case NodeKind::kCall:
    case NodeKind::kConstruct:
    case NodeKind::kInitializerList:
    case NodeKind::kIndex:
    case NodeKind::kLocalData:
    case NodeKind::kPrint:
      return true;
    default:
      return false;
  }
}

}  // namespace

void PlainHoists::ExpressionStatement(NodeIndex expression) {
  if (KindOf(expression) == NodeKind::kComma) {
    ExpressionStatement(Child(expression, 0));
    return ExpressionStatement(Child(expression, 1));
  }
  if (WriteBranches(expression)) return;
  const NodeIndex outer = _changes.SetCopyingCall(_hoistPlan.FindWholeCall(expression));
  const Bool isOpen = _hoistPlan.HasInnerHoists(expression, _changes.GetCopyingCall()) ||
                      (_hoistPlan.HasHoists(expression) && _kernel.IsValueFirst(expression));
  if (isOpen) Line({"{"});
  if (isOpen) _out.Indent();
  HoistParts(expression);
  const NodeKind kind = KindOf(expression);
  if ((kind == NodeKind::kUnary || kind == NodeKind::kPostfix) && _hoistPlan.NeedsHoist(expression)) {
    _out.Open();
    _changes.ChangeByOne(expression, false);
    CloseHoists(true);
  } else if (kind != NodeKind::kAssign || (!_changes.WriteSwizzle(expression) && !_changes.WriteChange(expression))) {
    Line({_expressions.Value(expression, Binding::kComma), ";"});
    _changes.WriteBack();
  }
  CloseHoists(isOpen);
  _changes.SetCopyingCall(outer);
}

void PlainHoists::Hoist(NodeIndex node) {
  if (!_hoistPlan.HasHoists(node) || _out.HasRefused()) return;
  const Operation operation = _tree.nodes[node].operation;
  const Bool isLogical = KindOf(node) == NodeKind::kBinary && IsLogical(operation);
  const Bool isConditional = KindOf(node) == NodeKind::kConditional;
  if (KindOf(node) == NodeKind::kComma) {
    ExpressionStatement(Child(node, 0));
    Hoist(Child(node, 1));
    return _changes.KeepValue(node, _resolved.type[node], _expressions.Expression(Child(node, 1)));
  }
  if ((isLogical && _hoistPlan.HasHoists(Child(node, 1))) ||
      (isConditional && (_hoistPlan.HasHoists(Child(node, 1)) || _hoistPlan.HasHoists(Child(node, 2)))))
    return HoistBranches(node);
  HoistParts(node);
  if (_hoistPlan.NeedsHoist(node)) HoistChange(node);
}

void PlainHoists::HoistParts(NodeIndex node) {
  if (!_hoistPlan.HasHoists(node)) return;
  CheckOrder(node);
  const auto hoist = [this](NodeIndex child) { child == _changes.GetCopyingCall() ? HoistParts(child) : Hoist(child); };
  const auto children = _tree.GetChildren(node);
  if (KindOf(node) == NodeKind::kAssign) hoist(children[1]);
  if (_kernel.IsValueFirst(node) && !_kept.IsKept(children[1]))
    _changes.KeepValue(children[1], _resolved.type[children[1]], _expressions.Value(children[1], Binding::kAssignment));
  for (std::size_t i = 0; i < children.size(); ++i)
    if (i == 0 || KindOf(node) != NodeKind::kAssign) hoist(children[i]);
}

Bool PlainHoists::OpenHoists(NodeIndex expression) {
  if (!_hoistPlan.HasHoists(expression)) return false;
  _out.Open();
  Hoist(expression);
  return true;
}

void PlainHoists::CloseHoists(Bool isOpen) {
  if (!isOpen) return;
  _out.Close();
}

void PlainHoists::CheckOrder(NodeIndex node) {
  const auto children = _tree.GetChildren(node);
  std::map<NodeIndex, UInt32> named;
  std::set<NodeIndex> names, changed;
  if (KindOf(node) == NodeKind::kAssign) {
    // The value comes first; it is kept where the place changes what it names.
    if (_kernel.IsValueFirst(node)) return;
    _kernel.CollectNames(children[1], names);
    _hoistPlan.CollectChanges(Child(node, 0), changed);
    for (const NodeIndex variable : changed)
      if (names.contains(variable)) return Refuse(node, DescribeUnordered(_tree, variable));
    return;
  }
  if (!IsUnordered(KindOf(node), _tree.nodes[node].operation)) return;
  for (const NodeIndex child : children) {
    names.clear();
    _kernel.CollectNames(child, names);
    _hoistPlan.CollectChanges(child, changed);
    for (const NodeIndex name : names) ++named[name];
  }
  for (const NodeIndex variable : changed)
    if (variable != kNoNode && named[variable] > 1) return Refuse(node, DescribeUnordered(_tree, variable));
}

// && || and ?: compute one of their operands only.
void PlainHoists::HoistBranches(NodeIndex node) {
  const Bool isConditional = KindOf(node) == NodeKind::kConditional;
  const NodeIndex condition = Child(node, 0);
  Hoist(condition);
  const std::string first = _expressions.Expression(condition, Binding::kComma), name = NewName("Value");
  const auto branch = [&](NodeIndex value) {
    _out.Open();
    Hoist(value);
    Line({name, " = ", _expressions.Expression(value), ";"});
    _out.Close();
  };
  if (!isConditional) {
    Line({"bool ", name, " = ", first, ";"});
    Line({"if (", _tree.nodes[node].operation == Operation::kLogicalAnd ? "" : "!", name, ")"});
    branch(Child(node, 1));
  } else {
    Line({TypeName(_resolved.type[node]), " ", name, ";"});
    Line({"if (", first, ")"});
    branch(Child(node, 1));
    Line({"else"});
    branch(Child(node, 2));
  }
  _kept.Keep(node, name);
}

void PlainHoists::HoistChange(NodeIndex node) {
  const TypeIndex type = _resolved.type[node];
  if (KindOf(node) == NodeKind::kCall) {
    const NodeIndex outer = _changes.SetCopyingCall(node);
    const std::string call = _expressions.Value(node, Binding::kAssignment);
    if (type == kVoidType)
      Line({call, ";"});
    else
      _changes.KeepValue(node, type, call);
    _changes.WriteBack();
    _changes.SetCopyingCall(outer);
    return;
  }
  if (KindOf(node) == NodeKind::kConstruct) return _changes.KeepStruct(node);
  const NodeIndex target = Child(node, 0);
  if (KindOf(node) != NodeKind::kAssign) return _changes.ChangeByOne(node, true);
  const std::string place = _resolved.meaning[target].kind == MeaningKind::kSwizzle ? _changes.ChangeSwizzle(node)
                                                                                    : _changes.ChangePlace(node);
  _changes.KeepValue(node, type, _values.PartOf(place, target));
}

// A statement that is && || or ?: with such changes in what may not be computed.
Bool PlainHoists::WriteBranches(NodeIndex expression) {
  const Bool isConditional = KindOf(expression) == NodeKind::kConditional;
  const Bool isLogical = KindOf(expression) == NodeKind::kBinary && IsLogical(_tree.nodes[expression].operation);
  if (!_hoistPlan.HasHoists(expression) || (!isConditional && !isLogical)) return false;
  _out.Open();
  const NodeIndex condition = Child(expression, 0);
  Hoist(condition);
  const std::string text = _expressions.Expression(condition, Binding::kComma);
  const Bool isOr = _tree.nodes[expression].operation == Operation::kLogicalOr;
  Line({MarkOf(expression), "if (", isOr ? Join({"!(", text, ")"}) : text, ")"});
  const auto branch = [&](NodeIndex value) {
    _out.Open();
    ExpressionStatement(value);
    _out.Close();
  };
  branch(Child(expression, 1));
  if (isConditional) {
    Line({"else"});
    branch(Child(expression, 2));
  }
  _out.Close();
  return true;
}

}  // namespace ostra::kernellanguage
