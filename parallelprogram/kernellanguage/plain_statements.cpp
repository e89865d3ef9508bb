#include "parallelprogram/kernellanguage/plain_statements.h"

#include <utility>

#include "parallelprogram/kernellanguage/plain_expressions.h"

namespace ostra::kernellanguage {

void PlainStatements::Statement(NodeIndex node) {
  if (node == kNoNode || _out.HasRefused()) return;
  _out.SetPlace(_tree.nodes[node].offset);
  _uses.changes.SetCopyingCall(kNoNode);
  const auto child = [&](std::size_t i) { return Child(node, i); };
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      return Body(node);
    case NodeKind::kDeclaration:
      return Declaration(node);
    case NodeKind::kExpressionStatement:
      _uses.hoists.ExpressionStatement(child(0));
      _uses.traces.TraceChanged(child(0));
      return _uses.reports.PrintRecordsOf(child(0));
    case NodeKind::kIf:
      If(node, "");
      return _uses.reports.PrintRecordsOf(child(0));
    case NodeKind::kFor:
      For(node);
      return _uses.reports.PrintRecordsOf(node);
    case NodeKind::kWhile:
      While(node);
      return _uses.reports.PrintRecordsOf(child(0));
    case NodeKind::kDoWhile:
      DoWhile(node);
      return _uses.reports.PrintRecordsOf(child(1));
    case NodeKind::kSwitch:
      Switch(node);
      return _uses.reports.PrintRecordsOf(child(0));
    case NodeKind::kReturn:
      return Return(node);
    case NodeKind::kPrint:
      return PrintStatement(node);
    case NodeKind::kAssert:
      return AssertStatement(node);
    default:
      return SingleLine(node);
  }
}

// A statement with nothing around or inside of it.
void PlainStatements::SingleLine(NodeIndex node) {
  const auto child = [&](std::size_t i) { return Child(node, i); };
  switch (KindOf(node)) {
    case NodeKind::kCase:
      return Line({MarkOf(node), "case ", _uses.expressions.Expression(child(0)), ":"});
    case NodeKind::kEmpty:
      return;
    case NodeKind::kDefault:
      return Line({MarkOf(node), "default:"});
    case NodeKind::kBreak:
      return Line({MarkOf(node), "break;"});
    case NodeKind::kContinue:
      return Line({MarkOf(node), "continue;"});
    case NodeKind::kNoiseMark:
      return Line({MarkOf(node), "ADDNOISECALL"});
    case NodeKind::kSharedArray:
      return Line({MarkOf(node), "GROUPSHAREDMEM(", TypeName(_resolved.type[child(0)]), ", ", NameOf(node), ", ",
                   SharedSize(node), ")"});
    case NodeKind::kMakeLocal:
      return Line({MarkOf(node), "MAKELOCAL(", _tree.GetName(node), ", ", _uses.expressions.Expression(child(0)), ", ",
                   _tree.GetName(child(1)), ")"});
    case NodeKind::kBarrier:
      return Line({MarkOf(node), "groupSharedBarrier;"});
    default:
      return Refuse(node, Join({"\"", GetKindName(KindOf(node)), "\""}));
  }
}

void PlainStatements::Body(NodeIndex statement, const std::vector<NodeIndex>& traced, Bool hasCalls) {
  _out.Open();
  if (hasCalls && _out.IsInKernel()) _uses.reports.PrintRecords();
  _uses.traces.TraceAll(traced);
  if (statement != kNoNode && KindOf(statement) == NodeKind::kBlock) {
    for (const NodeIndex child : _tree.GetChildren(statement)) Statement(child);
  } else {
    Statement(statement);
  }
  _out.Close();
}

// As a number where the text could have parentheses, at which the line translator ends.
std::string PlainStatements::SharedSize(NodeIndex array) {
  const NodeIndex size = Child(array, 1);
  const Bool isPlain = KindOf(size) == NodeKind::kLiteral || KindOf(size) == NodeKind::kName;
  return isPlain ? _uses.expressions.Expression(size) : std::to_string(_types[_resolved.type[array]].count);
}

std::string PlainStatements::VariableText(NodeIndex variable) {
  const TypeIndex type = _resolved.type[variable];
  const NodeIndex value = Child(variable, 2);
  const std::string declared = Join({TypeName(type), " ", MarkOf(variable), NameOf(variable), _names.ArraySizes(type)});
  if (value == kNoNode) return declared;
  const Bool isOfFile = _kernel.fileConstants.contains(variable);
  return Join(
      {declared, " = ", isOfFile ? _uses.expressions.ConstantText(variable) : _uses.expressions.Expression(value)});
}

void PlainStatements::Declaration(NodeIndex node) {
  for (const NodeIndex variable : _tree.GetChildren(node)) {
    const std::string_view constant = _tree.HasFlag(variable, kIsConst) ? "const " : "";
    const std::string_view atomic =
        _tree.HasFlag(node, kIsAtomic) || _tree.HasFlag(variable, kIsAtomic) ? "ATOMIC " : "";
    const NodeIndex value = Child(variable, 2);
    _uses.changes.SetCopyingCall(_uses.hoistPlan.FindWholeCall(value));
    if (value != kNoNode)
      value == _uses.changes.GetCopyingCall() ? _uses.hoists.HoistParts(value) : _uses.hoists.Hoist(value);
    const std::string text = VariableText(variable);
    Line({constant, atomic, text, ";"});
    _uses.changes.WriteBack();
    _uses.traces.TraceVariable(variable);
    _uses.reports.PrintRecordsOf(variable);
  }
}

void PlainStatements::If(NodeIndex node, std::string_view before) {
  const Bool isOpen = _uses.hoists.OpenHoists(Child(node, 0));
  Line({MarkOf(node), before, "if (", _uses.expressions.Expression(Child(node, 0), Binding::kComma), ")"});
  std::vector<NodeIndex> changed;
  if (_options.isTraced) _uses.tracePlan.FindChanged(Child(node, 0), changed);
  const Bool hasCalls = _uses.tracePlan.CountTracedCalls(Child(node, 0)) > 0;
  Body(Child(node, 1), changed, hasCalls);
  const NodeIndex other = Child(node, 2);
  if (other != kNoNode && KindOf(other) == NodeKind::kIf && !_uses.hoistPlan.HasHoists(Child(other, 0))) {
    If(other, "else ");
  } else if (other != kNoNode) {
    Line({"else"});
    Body(other, changed, hasCalls);
  }
  _uses.hoists.CloseHoists(isOpen);
}

std::string PlainStatements::ForStart(NodeIndex node) {
  if (node == kNoNode) return "";
  if (KindOf(node) == NodeKind::kExpressionStatement) return _uses.expressions.Value(Child(node, 0), Binding::kComma);
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
  if (_uses.hoistPlan.HasHoists(start) || _uses.hoistPlan.HasHoists(condition) || _uses.hoistPlan.HasHoists(step))
    return Loop(node);
  const std::string first = ForStart(start);
  const std::string test = condition == kNoNode ? "" : _uses.expressions.Expression(condition, Binding::kComma);
  Line({MarkOf(node), "for (", first, "; ", _uses.checks.CheckStep(node, test), "; ",
        step == kNoNode ? "" : _uses.expressions.Value(step, Binding::kComma), ")"});
  LoopBody(node, body);
  _uses.checks.PrintLoopEnd(node);
}

void PlainStatements::While(NodeIndex node) {
  const NodeIndex condition = Child(node, 0), body = Child(node, 1);
  if (_uses.hoistPlan.HasHoists(condition)) return Loop(node);
  const std::string test = _uses.expressions.Expression(condition, Binding::kComma);
  Line({MarkOf(node), "while (", _uses.checks.CheckStep(node, test), ")"});
  LoopBody(node, body);
  _uses.checks.PrintLoopEnd(node);
}

void PlainStatements::DoWhile(NodeIndex node) {
  const NodeIndex body = Child(node, 0), condition = Child(node, 1);
  if (_uses.hoistPlan.HasHoists(condition)) return Loop(node);
  Line({MarkOf(node), "do"});
  LoopBody(node, body);
  Line({"while (", _uses.checks.CheckStep(node, _uses.expressions.Expression(condition, Binding::kComma)), ");"});
  _uses.checks.PrintLoopEnd(node);
}

void PlainStatements::Switch(NodeIndex node) {
  const Bool isOpen = _uses.hoists.OpenHoists(Child(node, 0));
  Line({MarkOf(node), "switch (", _uses.expressions.Expression(Child(node, 0), Binding::kComma), ")"});
  Body(Child(node, 1));
  _uses.hoists.CloseHoists(isOpen);
}

void PlainStatements::Return(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  if (_out.IsInKernel()) _uses.reports.PrintReportEnd();
  if (value == kNoNode) return Line({MarkOf(node), "return;"});
  if (_options.isTraced) return TracedReturn(node);
  const Bool isOpen = _uses.hoists.OpenHoists(value);
  Line({MarkOf(node), "return ", _uses.expressions.Expression(value, Binding::kComma), ";"});
  _uses.hoists.CloseHoists(isOpen);
}

void PlainStatements::TracedReturn(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  const TypeIndex type = _resolved.converted[value];
  _out.Open();
  const Bool isOpen = _uses.hoists.OpenHoists(value);
  const std::string text = _uses.expressions.Expression(value), name = NewName("Value");
  Line({MarkOf(node), "const ", TypeName(type), " ", name, " = ", text, ";"});
  _uses.traces.TraceChanged(value);
  _uses.traces.TraceReturned(node, name, type);
  Line({MarkOf(node), "return ", name, ";"});
  _uses.hoists.CloseHoists(isOpen);
  _out.Close();
}

// A loop whose condition or step has such changes: they are statements of its body. "continue" goes to the step and the
// condition, so both stand at the beginning of the body, behind a flag for the first time.
void PlainStatements::Loop(NodeIndex node) {
  const LoopParts loop = GetLoopParts(_tree, node);
  const Bool isBodyFirst = KindOf(node) == NodeKind::kDoWhile;
  const Bool hasLateStep = _uses.hoistPlan.HasHoists(loop.step), hasFlag = hasLateStep || isBodyFirst;
  _out.Open();
  Statement(loop.start);
  const std::string flag = hasFlag ? NewName("Again") : "";
  if (hasFlag) Line({"bool ", flag, " = false;"});
  if (loop.step == kNoNode || hasLateStep)
    Line({MarkOf(node), "while (true)"});
  else
    Line({MarkOf(node), "for (; true; ", _uses.expressions.Value(loop.step, Binding::kComma), ")"});
  _out.Open();
  if (hasFlag) {
    Line({"if (", flag, ")"});
    _out.Open();
    if (hasLateStep) _uses.hoists.ExpressionStatement(loop.step);
    if (isBodyFirst) LoopCondition(node, loop.condition);
    _out.Close();
    Line({flag, " = true;"});
  }
  if (!isBodyFirst) LoopCondition(node, loop.condition);
  LoopBody(node, loop.body);
  _out.Close();
  _uses.checks.PrintLoopEnd(node);
  _out.Close();
}

void PlainStatements::LoopCondition(NodeIndex loop, NodeIndex condition) {
  _uses.hoists.Hoist(condition);
  if (_uses.checkPlan.NeedsCheck(loop)) {
    const std::string text = condition == kNoNode ? "" : _uses.expressions.Expression(condition, Binding::kComma);
    Line({"if (!(", _uses.checks.CheckStep(loop, text), "))"});
  } else if (condition != kNoNode) {
    Line({"if (!", _uses.expressions.Expression(condition, Binding::kUnary), ")"});
  } else {
    return;
  }
  Line({"{"});
  Line({"\tbreak;"});
  Line({"}"});
}

// The body of a loop, and what is behind a loop.
void PlainStatements::LoopBody(NodeIndex loop, NodeIndex body) {
  if (!_uses.checkPlan.NeedsRounds(loop))
    return Body(body, _uses.tracePlan.ListLoopVariables(loop),
                _uses.tracePlan.CountTracedCalls(loop) > _uses.tracePlan.CountTracedCalls(body));
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
  if (_uses.hoistPlan.HasHoists(node)) _uses.hoists.HoistParts(node);
  for (const NodeIndex value : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.type[value];
    std::string text = _uses.expressions.Value(value, Binding::kAssignment);
    if (!_uses.kept.IsSimpleValue(value) || !_types.IsScalar(type)) {
      const std::string name = NewName("Value");
      Line({"const ", TypeName(type), " ", name, " = ", text, ";"});
      text = name;
    }
    for (std::string& word : _uses.words.MakeWords(text, type)) words.push_back(std::move(word));
    types += Join({types.empty() ? "" : ",", _uses.words.MakeTypeCode(type)});
  }
  const std::string_view text = _tree.GetName(node);
  const std::size_t site = _uses.sites.AddSite(node, "print", types, text.substr(1, text.size() - 2));
  if (!_out.IsInKernel()) {
    Line({_uses.reports.CallPrint(site, words), ";"});
  } else {
    if (_uses.reportPlan.HasPrintingFunctions()) _uses.reports.PrintRecords();
    _uses.reports.PrintRecord(site, words);
  }
  _out.Close();
}

void PlainStatements::AssertStatement(NodeIndex node) {
  if (!_options.hasReports || _options.isTraced) return;
  const std::string_view text = _tree.GetName(node);
  const std::size_t site =
      _uses.sites.AddSite(node, "assert", "", text.empty() ? text : text.substr(1, text.size() - 2));
  const Bool isOpen = _uses.hoists.OpenHoists(Child(node, 0));
  Line({MarkOf(node), "if (!(", _uses.expressions.Expression(Child(node, 0), Binding::kComma), "))"});
  Line({"{"});
  Line({"\t", _uses.reports.CallFail(site, "0u", "0u"), ";"});
  Line({"}"});
  _uses.hoists.CloseHoists(isOpen);
}

}  // namespace ostra::kernellanguage
