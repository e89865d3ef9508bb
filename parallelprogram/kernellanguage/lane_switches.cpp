#include "parallelprogram/kernellanguage/lane_switches.h"

#include "parallelprogram/kernellanguage/lane_exits.h"
#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_jumps.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_statements.h"
#include "parallelprogram/kernellanguage/lane_values.h"

namespace ostra::kernellanguage {

void LaneSwitches::Switch(NodeIndex node) {
  const NodeIndex block = Child(node, 1);
  Bool isAfterVariable = false;
  for (const NodeIndex statement : _tree.GetChildren(block)) {
    isAfterVariable = isAfterVariable || KindOf(statement) == NodeKind::kDeclaration;
    if (isAfterVariable && IsLabel(statement)) return Refuse(statement, "a label behind a variable of the switch");
  }
  if (FormOf(Child(node, 0)) == LaneForm::kShared && !_uses.jumps.HasJump(block, NodeKind::kBreak, true))
    return PlainSwitch(node);
  return MaskedSwitch(node);
}

void LaneSwitches::PlainSwitch(NodeIndex node) {
  Line({"switch (", _uses.shared.Shared(Child(node, 0)), ") {"});
  _uses.exits.Push({.isPlain = true, .depth = _masks.GetDepth(), .continued = "", .isSwitch = true});
  Bool isAfterStatement = false;
  for (const NodeIndex statement : _tree.GetChildren(Child(node, 1))) {
    if (IsLabel(statement) && isAfterStatement) Line({"[[fallthrough]];"});
    isAfterStatement = !IsLabel(statement);
    if (KindOf(statement) == NodeKind::kCase)
      Line({"case ", _uses.shared.Shared(Child(statement, 0)), ":"});
    else if (KindOf(statement) == NodeKind::kDefault)
      Line({"default:"});
    else
      _uses.statements.Statement(statement);
    // What follows is for lanes that are still here.
    if (_uses.jumps.HasExit(statement)) Line({"if (None(", GetMask(), ")) break;"});
  }
  Line({"; }"});
  _uses.exits.Pop();
}

void LaneSwitches::MaskedSwitch(NodeIndex node) {
  const NodeIndex value = Child(node, 0), block = Child(node, 1);
  const std::string mask = NewName("mask"), chosen = NewName("value"), matched = NewName("matched");
  Line({"{"});
  Line({"const auto ", chosen, " = ", _uses.expressions.InLanes(value), ";"});
  Line({"Mask ", mask, " = false;"});
  Line({"[[maybe_unused]] Mask ", matched, " = false;"});
  const std::vector<std::string> cases = FindCases(node, chosen, matched);
  _uses.exits.Push({.isPlain = false, .depth = _masks.GetDepth() + 1, .continued = "", .isSwitch = true});
  _masks.Push(mask);
  MaskedStatements(block, matched, cases);
  _masks.Pop();
  _uses.exits.Pop();
  LeaveSwitch(node);
  Line({"}"});
}

std::vector<std::string> LaneSwitches::FindCases(NodeIndex node, const std::string& chosen,
                                                 const std::string& matched) {
  std::vector<std::string> cases;
  for (const NodeIndex statement : _tree.GetChildren(Child(node, 1))) {
    if (KindOf(statement) != NodeKind::kCase) continue;
    const std::string label = NewName("case");
    const LaneValue constant = _uses.values.Convert(_uses.expressions.Evaluate(Child(statement, 0)),
                                                    _resolved.converted[Child(node, 0)], statement);
    Line({"const Mask ", label, " = ", GetMask(), " & (", chosen, " == ", _uses.values.ToLanes(constant, statement),
          ");"});
    Line({matched, " = ", matched, " | ", label, ";"});
    cases.push_back(label);
  }
  return cases;
}

void LaneSwitches::MaskedStatements(NodeIndex block, const std::string& matched,
                                    const std::vector<std::string>& cases) {
  const auto statements = _tree.GetChildren(block);
  const std::string mask = GetMask();
  std::size_t nextCase = 0;
  for (std::size_t i = 0; i < statements.size();) {
    if (IsLabel(statements[i])) {
      const Bool isCase = KindOf(statements[i]) == NodeKind::kCase;
      const std::string others = Join({"AndNot(", _masks.GetOuter(), ", ", matched, ")"});
      Line({mask, " = ", mask, " | ", isCase ? cases[nextCase++] : others, ";"});
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < statements.size() && !IsLabel(statements[end])) ++end;
    Line({"if (Any(", mask, ")) {"});
    _uses.statements.Statements(statements.subspan(i, end - i));
    Line({"}"});
    i = end;
  }
}

void LaneSwitches::LeaveSwitch(NodeIndex node) {
  const NodeIndex block = Child(node, 1);
  const std::string outer = GetMask();
  if (_uses.jumps.HasReturn(block)) Line({outer, " = AndNot(", outer, ", ostraReturned);"});
  if (!_uses.jumps.HasJump(block, NodeKind::kContinue, false)) return;
  const LaneExit* loop = _uses.exits.FindLoop();
  if (loop == nullptr || loop->continued.empty())
    return Refuse(node, "a switch over different values with continue inside");
  Line({outer, " = AndNot(", outer, ", ", loop->continued, ");"});
}

}  // namespace ostra::kernellanguage
