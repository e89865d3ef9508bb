#include "parallelprogram/kernellanguage/plain_statements.h"

#include <utility>

#include "parallelprogram/kernellanguage/plain_expressions.h"

namespace ostra::kernellanguage {

PlainStatements::PlainStatements(const PlainBasis& basis, const Uses& uses)
    : PlainPart(basis),
      _checkPlan(uses.checkPlan),
      _tracePlan(uses.tracePlan),
      _reportPlan(uses.reportPlan),
      _hoistPlan(uses.hoistPlan),
      _kept(uses.kept),
      _sites(uses.sites),
      _words(uses.words),
      _reports(uses.reports),
      _checks(uses.checks),
      _expressions(uses.expressions),
      _changes(uses.changes),
      _hoists(uses.hoists),
      _traces(uses.traces) {}

void PlainStatements::Statement(NodeIndex node) {
  if (node == kNoNode || _out.HasRefused()) return;
  _out.SetPlace(_tree.nodes[node].offset);
  _changes.SetCopyingCall(kNoNode);
  const auto child = [&](std::size_t i) { return Child(node, i); };
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      return Body(node);
    case NodeKind::kDeclaration:
      return Declaration(node);
    case NodeKind::kExpressionStatement:
      _hoists.ExpressionStatement(child(0));
      _traces.TraceChanged(child(0));
      return _reports.PrintRecordsOf(child(0));
    case NodeKind::kIf:
      If(node, "");
      return _reports.PrintRecordsOf(child(0));
    case NodeKind::kFor:
      For(node);
      return _reports.PrintRecordsOf(node);
    case NodeKind::kWhile:
      While(node);
      return _reports.PrintRecordsOf(child(0));
    case NodeKind::kDoWhile:
      DoWhile(node);
      return _reports.PrintRecordsOf(child(1));
    case NodeKind::kSwitch:
      Switch(node);
      return _reports.PrintRecordsOf(child(0));
    case NodeKind::kCase:
      return Line({MarkOf(node), "case ", _expressions.Expression(child(0)), ":"});
    case NodeKind::kDefault:
      return Line({MarkOf(node), "default:"});
    case NodeKind::kBreak:
      return Line({MarkOf(node), "break;"});
    case NodeKind::kContinue:
      return Line({MarkOf(node), "continue;"});
    case NodeKind::kReturn:
      return Return(node);
    case NodeKind::kEmpty:
      return;
    case NodeKind::kNoiseMark:
      return Line({MarkOf(node), "ADDNOISECALL"});
    case NodeKind::kPrint:
      return PrintStatement(node);
    case NodeKind::kAssert:
      return AssertStatement(node);
    case NodeKind::kSharedArray:
      return Line({MarkOf(node), "GROUPSHAREDMEM(", TypeName(_resolved.type[child(0)]), ", ", NameOf(node), ", ",
                   _expressions.Expression(child(1)), ")"});
    case NodeKind::kMakeLocal:
      return Line({MarkOf(node), "MAKELOCAL(", _tree.GetName(node), ", ", _expressions.Expression(child(0)), ", ",
                   _tree.GetName(child(1)), ")"});
    case NodeKind::kBarrier:
      return Line({MarkOf(node), "groupSharedBarrier;"});
    default:
      return Refuse(node, Join({"\"", GetKindName(KindOf(node)), "\""}));
  }
}

void PlainStatements::Body(NodeIndex statement, const std::vector<NodeIndex>& traced, Bool hasCalls) {
  _out.Open();
  if (hasCalls && _out.IsInKernel()) _reports.PrintRecords();
  _traces.TraceAll(traced);
  if (statement != kNoNode && KindOf(statement) == NodeKind::kBlock) {
    for (const NodeIndex child : _tree.GetChildren(statement)) Statement(child);
  } else {
    Statement(statement);
  }
  _out.Close();
}

std::string PlainStatements::VariableText(NodeIndex variable) {
  const TypeIndex type = _resolved.type[variable];
  const NodeIndex value = Child(variable, 2);
  const std::string declared = Join({TypeName(type), " ", MarkOf(variable), NameOf(variable), _names.ArraySizes(type)});
  return value == kNoNode ? declared : Join({declared, " = ", _expressions.Expression(value)});
}

void PlainStatements::Declaration(NodeIndex node) {
  for (const NodeIndex variable : _tree.GetChildren(node)) {
    const std::string_view constant = _tree.HasFlag(variable, kIsConst) ? "const " : "";
    const std::string_view atomic =
        _tree.HasFlag(node, kIsAtomic) || _tree.HasFlag(variable, kIsAtomic) ? "ATOMIC " : "";
    const NodeIndex value = Child(variable, 2);
    _changes.SetCopyingCall(_hoistPlan.FindWholeCall(value));
    if (value != kNoNode) value == _changes.GetCopyingCall() ? _hoists.HoistParts(value) : _hoists.Hoist(value);
    const std::string text = VariableText(variable);
    Line({constant, atomic, text, ";"});
    _changes.WriteBack();
    _traces.TraceVariable(variable);
    _reports.PrintRecordsOf(variable);
  }
}

void PlainStatements::If(NodeIndex node, std::string_view before) {
  const Bool isOpen = _hoists.OpenHoists(Child(node, 0));
  Line({MarkOf(node), before, "if (", _expressions.Expression(Child(node, 0), Binding::kComma), ")"});
  std::vector<NodeIndex> changed;
  if (_options.isTraced) _tracePlan.FindChanged(Child(node, 0), changed);
  const Bool hasCalls = _tracePlan.CountTracedCalls(Child(node, 0)) > 0;
  Body(Child(node, 1), changed, hasCalls);
  const NodeIndex other = Child(node, 2);
  if (other != kNoNode && KindOf(other) == NodeKind::kIf && !_hoistPlan.HasHoists(Child(other, 0))) {
    If(other, "else ");
  } else if (other != kNoNode) {
    Line({"else"});
    Body(other, changed, hasCalls);
  }
  _hoists.CloseHoists(isOpen);
}

std::string PlainStatements::ForStart(NodeIndex node) {
  if (node == kNoNode) return "";
  if (KindOf(node) == NodeKind::kExpressionStatement) return _expressions.Value(Child(node, 0), Binding::kComma);
  std::string text;
  for (const NodeIndex variable : _tree.GetChildren(node)) {
    const std::string declared = VariableText(variable);
    // Further variables go without their type.
    text += text.empty() ? declared : Join({", ", declared.substr(declared.find(' ') + 1)});
  }
  return text;
}

void PlainStatements::For(NodeIndex node) {
  const NodeIndex start = Child(node, 0), condition = Child(node, 1), step = Child(node, 2), body = Child(node, 3);
  if (_hoistPlan.HasHoists(start) || _hoistPlan.HasHoists(condition) || _hoistPlan.HasHoists(step))
    return Loop({.node = node, .start = start, .condition = condition, .step = step, .body = body});
  const std::string first = ForStart(start);
  const std::string test = condition == kNoNode ? "" : _expressions.Expression(condition, Binding::kComma);
  Line({MarkOf(node), "for (", first, "; ", _checks.CheckStep(node, test), "; ",
        step == kNoNode ? "" : _expressions.Value(step, Binding::kComma), ")"});
  LoopBody(node, body);
  _checks.PrintLoopEnd(node);
}

void PlainStatements::While(NodeIndex node) {
  const NodeIndex condition = Child(node, 0), body = Child(node, 1);
  if (_hoistPlan.HasHoists(condition)) return Loop({.node = node, .condition = condition, .body = body});
  const std::string test = _expressions.Expression(condition, Binding::kComma);
  Line({MarkOf(node), "while (", _checks.CheckStep(node, test), ")"});
  LoopBody(node, body);
  _checks.PrintLoopEnd(node);
}

void PlainStatements::DoWhile(NodeIndex node) {
  const NodeIndex body = Child(node, 0), condition = Child(node, 1);
  if (_hoistPlan.HasHoists(condition))
    return Loop({.node = node, .condition = condition, .body = body, .isBodyFirst = true});
  Line({MarkOf(node), "do"});
  LoopBody(node, body);
  Line({"while (", _checks.CheckStep(node, _expressions.Expression(condition, Binding::kComma)), ");"});
  _checks.PrintLoopEnd(node);
}

void PlainStatements::Switch(NodeIndex node) {
  const Bool isOpen = _hoists.OpenHoists(Child(node, 0));
  Line({MarkOf(node), "switch (", _expressions.Expression(Child(node, 0), Binding::kComma), ")"});
  Body(Child(node, 1));
  _hoists.CloseHoists(isOpen);
}

void PlainStatements::Return(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  if (_out.IsInKernel()) _reports.PrintReportEnd();
  if (value == kNoNode) return Line({MarkOf(node), "return;"});
  if (_options.isTraced) return TracedReturn(node);
  const Bool isOpen = _hoists.OpenHoists(value);
  Line({MarkOf(node), "return ", _expressions.Expression(value, Binding::kComma), ";"});
  _hoists.CloseHoists(isOpen);
}

void PlainStatements::TracedReturn(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  const TypeIndex type = _resolved.converted[value];
  _out.Open();
  const Bool isOpen = _hoists.OpenHoists(value);
  const std::string text = _expressions.Expression(value), name = NewName("Value");
  Line({MarkOf(node), "const ", TypeName(type), " ", name, " = ", text, ";"});
  _traces.TraceChanged(value);
  _traces.TraceReturned(node, name, type);
  Line({MarkOf(node), "return ", name, ";"});
  _hoists.CloseHoists(isOpen);
  _out.Close();
}

// A loop whose condition or step has such changes: they are statements of its body. "continue" goes to the step and the
// condition, so both stand at the beginning of the body, behind a flag for the first time.
void PlainStatements::Loop(const LoopParts& loop) {
  const Bool hasLateStep = _hoistPlan.HasHoists(loop.step), hasFlag = hasLateStep || loop.isBodyFirst;
  _out.Open();
  Statement(loop.start);
  const std::string flag = hasFlag ? NewName("Again") : "";
  if (hasFlag) Line({"bool ", flag, " = false;"});
  if (loop.step == kNoNode || hasLateStep)
    Line({MarkOf(loop.node), "while (true)"});
  else
    Line({MarkOf(loop.node), "for (; true; ", _expressions.Value(loop.step, Binding::kComma), ")"});
  _out.Open();
  if (hasFlag) {
    Line({"if (", flag, ")"});
    _out.Open();
    if (hasLateStep) _hoists.ExpressionStatement(loop.step);
    if (loop.isBodyFirst) LoopCondition(loop);
    _out.Close();
    Line({flag, " = true;"});
  }
  if (!loop.isBodyFirst) LoopCondition(loop);
  LoopBody(loop.node, loop.body);
  _out.Close();
  _checks.PrintLoopEnd(loop.node);
  _out.Close();
}

void PlainStatements::LoopCondition(const LoopParts& loop) {
  _hoists.Hoist(loop.condition);
  if (_checkPlan.NeedsCheck(loop.node)) {
    const std::string text = loop.condition == kNoNode ? "" : _expressions.Expression(loop.condition, Binding::kComma);
    Line({"if (!(", _checks.CheckStep(loop.node, text), "))"});
  } else if (loop.condition != kNoNode) {
    Line({"if (!", _expressions.Expression(loop.condition, Binding::kUnary), ")"});
  } else {
    return;
  }
  Line({"{"});
  Line({"\tbreak;"});
  Line({"}"});
}

// The body of a loop, and what is behind a loop.
void PlainStatements::LoopBody(NodeIndex loop, NodeIndex body) {
  if (!_checkPlan.NeedsRounds(loop))
    return Body(body, _tracePlan.ListLoopVariables(loop),
                _tracePlan.CountTracedCalls(loop) > _tracePlan.CountTracedCalls(body));
  _out.Open();
  Line({"ostraRounds += 1u;"});
  Statement(body);
  _out.Close();
}

void PlainStatements::PrintStatement(NodeIndex node) {
  if (!_options.hasReports || _options.isTraced) return;
  Line({MarkOf(node), "{"});
  _out.Indent();
  std::string types;
  std::vector<std::string> words;
  if (_hoistPlan.HasHoists(node)) _hoists.HoistParts(node);
  for (const NodeIndex value : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.type[value];
    std::string text = _expressions.Value(value, Binding::kAssignment);
    if (!_kept.IsSimpleValue(value) || !_types.IsScalar(type)) {
      const std::string name = NewName("Value");
      Line({"const ", TypeName(type), " ", name, " = ", text, ";"});
      text = name;
    }
    for (std::string& word : _words.MakeWords(text, type)) words.push_back(std::move(word));
    types += Join({types.empty() ? "" : ",", _words.MakeTypeCode(type)});
  }
  const std::string_view text = _tree.GetName(node);
  const std::size_t site = _sites.AddSite(node, "print", types, text.substr(1, text.size() - 2));
  if (!_out.IsInKernel()) {
    Line({_reports.CallPrint(site, words), ";"});
  } else {
    if (_reportPlan.HasPrintingFunctions()) _reports.PrintRecords();
    _reports.PrintRecord(site, words);
  }
  _out.Close();
}

void PlainStatements::AssertStatement(NodeIndex node) {
  if (!_options.hasReports || _options.isTraced) return;
  const std::string_view text = _tree.GetName(node);
  const std::size_t site = _sites.AddSite(node, "assert", "", text.empty() ? text : text.substr(1, text.size() - 2));
  const Bool isOpen = _hoists.OpenHoists(Child(node, 0));
  Line({MarkOf(node), "if (!(", _expressions.Expression(Child(node, 0), Binding::kComma), "))"});
  Line({"{"});
  Line({"\t", _reports.CallFail(site, "0u", "0u"), ";"});
  Line({"}"});
  _hoists.CloseHoists(isOpen);
}

}  // namespace ostra::kernellanguage
