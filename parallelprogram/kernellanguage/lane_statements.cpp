#include "parallelprogram/kernellanguage/lane_statements.h"

#include "parallelprogram/kernellanguage/lane_assignments.h"
#include "parallelprogram/kernellanguage/lane_exits.h"
#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_jumps.h"
#include "parallelprogram/kernellanguage/lane_loops.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_switches.h"
#include "parallelprogram/kernellanguage/lane_values.h"
#include "parallelprogram/kernellanguage/lane_variables.h"

namespace ostra::kernellanguage {

void LaneStatements::Statements(std::span<const NodeIndex> statements) {
  int open = 0;
  for (std::size_t i = 0; i < statements.size() && !HasRefused(); ++i) {
    Statement(statements[i]);
    if (i + 1 < statements.size() && _uses.jumps.HasExit(statements[i])) {
      Line({"if (Any(", GetMask(), ")) {"});
      ++open;
    }
  }
  for (; open > 0; --open) Line({"}"});
}

void LaneStatements::Block(NodeIndex node) {
  Line({"{"});
  if (_tree.Is(node, NodeKind::kBlock))
    Statements(_tree.GetChildren(node));
  else
    Statements({&node, 1});
  Line({"}"});
}

void LaneStatements::Statement(NodeIndex node) {
  if (HasRefused()) return;
  MarkLine(node);
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      return Block(node);
    case NodeKind::kDeclaration:
      for (const NodeIndex variable : _tree.GetChildren(node)) _uses.variables.Variable(variable);
      return;
    case NodeKind::kExpressionStatement:
      return _uses.assignments.Effect(Child(node, 0));
    case NodeKind::kIf:
      return If(node);
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      return _uses.loops.Loop(node);
    case NodeKind::kSwitch:
      return _uses.switches.Switch(node);
    case NodeKind::kBreak:
    case NodeKind::kContinue:
      return Leave(node);
    case NodeKind::kReturn:
      return Return(node);
    case NodeKind::kEmpty:
    case NodeKind::kNoiseMark:
    // Group memory is a copy of a buffer, which is read where it lies.
    case NodeKind::kSharedArray:
    case NodeKind::kMakeLocal:
    case NodeKind::kBarrier:
      return;
    default:
      return Refuse(node, Join({"\"", GetKindName(KindOf(node)), "\""}));
  }
}

void LaneStatements::InBranch(const std::string& mask, NodeIndex statement) {
  Line({"if (Any(", mask, "))"});
  _masks.Push(mask, statement);
  Block(statement);
  _masks.Pop();
}

void LaneStatements::If(NodeIndex node) {
  const NodeIndex condition = Child(node, 0), yes = Child(node, 1), no = Child(node, 2);
  if (FormOf(condition) == LaneForm::kShared) {
    // Clang takes a comparison in two pairs of parentheses for a mistake.
    Line({"if (static_cast<Bool>(", _uses.shared.Shared(condition), "))"});
    Block(yes);
    if (no == kNoNode) return;
    Line({"else"});
    return Block(no);
  }
  const std::string chosen = NewName("condition"), first = NewName("mask"), second = NewName("mask");
  const std::string mask = GetMask();
  Line({"{"});
  Line({"const Mask ", chosen, " = ", _uses.expressions.ToMask(condition), ";"});
  Line({"Mask ", first, " = ", mask, " & ", chosen, ";"});
  const Bool hasExit = _uses.jumps.HasExit(yes) || (no != kNoNode && _uses.jumps.HasExit(no));
  if (hasExit || no != kNoNode) Line({"Mask ", second, " = AndNot(", mask, ", ", chosen, ");"});
  InBranch(first, yes);
  if (no != kNoNode) InBranch(second, no);
  if (hasExit) Line({mask, " = ", first, " | ", second, ";"});
  Line({"}"});
}

void LaneStatements::Leave(NodeIndex node) {
  const Bool isContinue = KindOf(node) == NodeKind::kContinue;
  const LaneExit* exit = isContinue ? _uses.exits.FindLoop() : _uses.exits.FindAny();
  if (exit == nullptr) return Refuse(node, "a jump out of nothing");
  if (exit->isPlain && exit->depth == _masks.GetDepth()) return Line({isContinue ? "continue;" : "break;"});
  if (isContinue && !exit->continued.empty()) Line({exit->continued, " = ", exit->continued, " | ", GetMask(), ";"});
  Line({GetMask(), " = false;"});
}

void LaneStatements::Return(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  if (_tree.HasFlag(node, kIsKernelReturn)) return Refuse(node, "a kernel that can fail");
  if (value != kNoNode) {
    const std::string lanes =
        _uses.values.ToLanes(_uses.values.Convert(_uses.expressions.Evaluate(value), TypeOf(_function), value), value);
    const Bool isOnly = _masks.GetDepth() == 1 && !_hasManyReturns;
    Line({"ostraResult = ", isOnly ? lanes : Join({"Select(", GetMask(), ", ", lanes, ", ostraResult)"}), ";"});
  }
  if (_masks.GetDepth() == 1) {
    const Bool hasResult = _function != kNoNode && TypeOf(_function) != kVoidType;
    return Line({hasResult ? "return ostraResult;" : "return;"});
  }
  Line({"ostraReturned = ostraReturned | ", GetMask(), ";"});
  Line({GetMask(), " = false;"});
}

}  // namespace ostra::kernellanguage
