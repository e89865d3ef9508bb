#include "parallelprogram/kernellanguage/lane_loops.h"

#include "parallelprogram/kernellanguage/lane_assignments.h"
#include "parallelprogram/kernellanguage/lane_exits.h"
#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_jumps.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_statements.h"
#include "parallelprogram/kernellanguage/lane_walks.h"
#include "parallelprogram/kernellanguage/lane_windows.h"

namespace ostra::kernellanguage {

// A loop that all lanes begin and end together.
void LaneLoops::PlainLoop(NodeIndex node) {
  const auto [start, condition, step, body] = GetLoopParts(_tree, node);
  const Bool isDoWhile = KindOf(node) == NodeKind::kDoWhile;
  // Lanes may leave by return, or leave a loop around this one: without any there is no next turn.
  const std::string any = _uses.jumps.HasReturn(body) ? Join({"Any(", GetMask(), ")"}) : "";
  const std::string test =
      condition == kNoNode ? "true" : Join({"static_cast<Bool>(", _uses.shared.Shared(condition), ")"});
  const std::string both = any.empty() ? test : Join({any, " && ", test});
  Line({"{"});
  if (start != kNoNode) _uses.statements.Statement(start);
  const Bool isStepShared = step == kNoNode || _uses.jumps.IsSharedEffect(step);
  if (isDoWhile)
    Line({"do {"});
  else
    Line({"for (; ", both, "; ", step != kNoNode && isStepShared ? _uses.shared.SharedItself(step) : "", ") {"});
  if (_uses.jumps.HasJump(body, NodeKind::kContinue, true))
    TurnOfSome(body);
  else
    Turn(body, {.isPlain = true, .depth = _masks.GetDepth()});
  if (!isStepShared) {
    Line({"if (Any(", GetMask(), ")) {"});
    _uses.assignments.Effect(step);
    Line({"}"});
  }
  if (isDoWhile)
    Line({"} while (", both, ");"});
  else
    Line({"}"});
  Line({"}"});
}

// A loop that lanes leave one by one.
void LaneLoops::MaskedLoop(NodeIndex node) {
  const LoopParts loop = GetLoopParts(_tree, node);
  const Bool isDoWhile = KindOf(node) == NodeKind::kDoWhile;
  const std::string outer = GetMask(), mask = NewName("mask");
  const std::string continued = _uses.jumps.HasJump(loop.body, NodeKind::kContinue, false) ? NewName("continued") : "";
  Line({"{"});
  if (loop.start != kNoNode) _uses.statements.Statement(loop.start);
  Line({"Mask ", mask, " = ", outer, ";"});
  if (!continued.empty()) Line({"Mask ", continued, " = false;"});
  _masks.Push(mask, continued.empty() ? node : kNoNode);
  Line({"for (;;) {"});
  if (!isDoWhile) Test(mask, loop.condition);
  Turn(loop.body, {.depth = _masks.GetDepth(), .continued = continued});
  if (!continued.empty()) Line({mask, " = ", mask, " | ", continued, "; ", continued, " = false;"});
  Line({"if (None(", mask, ")) break;"});
  if (loop.step != kNoNode) {
    MarkLine(loop.step);
    _uses.assignments.Effect(loop.step);
  }
  if (isDoWhile) Test(mask, loop.condition);
  Line({"}"});
  _masks.Pop();
  if (_uses.jumps.HasReturn(loop.body)) Line({outer, " = AndNot(", outer, ", ostraReturned);"});
  Line({"}"});
}

void LaneLoops::Loop(NodeIndex node) {
  if (_uses.walks.IsSlowWalk(node))
    return Refuse(node, "a loop in which each invocation walks through elements of its own, which is slower in lanes");
  if (_uses.jumps.IsMaskedLoop(node)) return MaskedLoop(node);
  const std::string inside = _uses.windows.Begin(node);
  return inside.empty() ? PlainLoop(node) : WindowLoop(node, inside);
}

void LaneLoops::WindowLoop(NodeIndex node, const std::string& inside) {
  Line({"if (", inside, ") {"});
  _masks.Push("Mask(true)", node);
  PlainLoop(node);
  _masks.Pop();
  Line({"} else {"});
  _uses.windows.BeginClamped();
  PlainLoop(node);
  Line({"}"});
  _uses.windows.End();
}

void LaneLoops::Turn(NodeIndex body, const LaneExit& exit) {
  _uses.exits.Push(exit);
  _uses.statements.Block(body);
  _uses.exits.Pop();
}

void LaneLoops::TurnOfSome(NodeIndex body) {
  const std::string mask = NewName("mask"), continued = NewName("continued");
  Line({"Mask ", mask, " = ", GetMask(), ";"});
  Line({"[[maybe_unused]] Mask ", continued, " = false;"});
  _masks.Push(mask);
  // What has to be done at the end of a turn is done for lanes that continue, too.
  Turn(body, {.depth = _masks.GetDepth(), .continued = continued});
  _masks.Pop();
  if (_uses.jumps.HasReturn(body)) Line({GetMask(), " = AndNot(", GetMask(), ", ostraReturned);"});
}

void LaneLoops::LeaveUnless(const std::string& mask, NodeIndex condition) {
  if (FormOf(condition) == LaneForm::kShared)
    return Line({"if (!static_cast<Bool>(", _uses.shared.Shared(condition), ")) break;"});
  const Bool isAnd = _tree.IsBinary(condition, Operation::kLogicalAnd);
  if (!isAnd || (FormOf(Child(condition, 0)) != LaneForm::kShared && !_kernel.IsHarmless(condition)))
    return Line({mask, " = ", _uses.expressions.ToMaskUnder(mask, condition), ";"});
  LeaveUnless(mask, Child(condition, 0));
  LeaveUnless(mask, Child(condition, 1));
}

void LaneLoops::Test(const std::string& mask, NodeIndex condition) {
  if (condition == kNoNode) return;
  MarkLine(condition);
  LeaveUnless(mask, condition);
  if (FormOf(condition) != LaneForm::kShared) Line({"if (None(", mask, ")) break;"});
}

}  // namespace ostra::kernellanguage
