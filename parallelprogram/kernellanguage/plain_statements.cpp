#include <utility>

#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

void PlainPrinter::Line(std::initializer_list<std::string_view> parts) {
  _text.append(_depth, '\t');
  for (const std::string_view part : parts) _text += part;
  _text += '\n';
}

void PlainPrinter::Body(NodeIndex statement, const std::vector<NodeIndex>& traced, Bool hasCalls) {
  Line({"{"});
  ++_depth;
  if (hasCalls && _isInKernel) PrintRecords();
  TraceAll(traced);
  if (statement != kNoNode && KindOf(statement) == NodeKind::kBlock) {
    for (const NodeIndex child : _tree.GetChildren(statement)) Statement(child);
  } else {
    Statement(statement);
  }
  --_depth;
  Line({"}"});
}

std::string PlainPrinter::VariableText(NodeIndex variable) {
  const TypeIndex type = _resolved.type[variable];
  const NodeIndex value = Child(variable, 2);
  const std::string declared =
      Join({TypeName(type), " ", MarkOf(variable), NameOf(variable), ArraySizes(_types, type)});
  return value == kNoNode ? declared : Join({declared, " = ", Expression(value)});
}

void PlainPrinter::Declaration(NodeIndex node) {
  for (const NodeIndex variable : _tree.GetChildren(node)) {
    const std::string_view constant = _tree.HasFlag(variable, kIsConst) ? "const " : "";
    const std::string_view atomic =
        _tree.HasFlag(node, kIsAtomic) || _tree.HasFlag(variable, kIsAtomic) ? "ATOMIC " : "";
    const NodeIndex value = Child(variable, 2);
    _copyingCall = FindWholeCall(value);
    if (value != kNoNode) value == _copyingCall ? HoistParts(value) : Hoist(value);
    const std::string text = VariableText(variable);
    Line({constant, atomic, text, ";"});
    WriteBack();
    TraceVariable(variable);
    PrintRecordsOf(variable);
  }
}

// The place with its indices in variables, so that naming it again reads and changes nothing more.
std::string PlainPrinter::Place(NodeIndex node) {
  switch (KindOf(node)) {
    case NodeKind::kMemberOf:
      if (_resolved.meaning[node].kind == MeaningKind::kSwizzle) break;
      return Join({Place(Child(node, 0)), MemberText(node)});
    case NodeKind::kIndex: {
      if (IsMatrix(_resolved.converted[Child(node, 0)])) return ColumnPlace(node);
      const std::string place = Place(Child(node, 0));
      const NodeIndex index = Child(node, 1);
      if (IsSimple(index)) return Join({place, "[", CheckIndex(node, Expression(index, Binding::kComma)), "]"});
      const std::string name = NewName("Index");
      Line(
          {"const ", TypeName(_resolved.converted[index]), " ", name, " = ", CheckIndex(node, Expression(index)), ";"});
      return Join({place, "[", name, "]"});
    }
    case NodeKind::kName:
    case NodeKind::kBuffer:
      return Value(node, Binding::kPostfix);
    default:
      break;
  }
  Refuse(node, "this place for components");
  return "";
}

// A variable in the place of an argument; what the call makes of it is written back behind the statement.
std::string PlainPrinter::CopyArgument(NodeIndex argument) {
  const Meaning& meaning = _resolved.meaning[argument];
  const TypeIndex type = _resolved.type[argument];
  const Bool isSwizzle = meaning.kind == MeaningKind::kSwizzle;
  const std::string place = Place(isSwizzle ? Child(argument, 0) : argument), name = NewName("Argument");
  Line({TypeName(type), " ", name, " = ", PartOf(place, argument), ";"});
  if (!isSwizzle)
    _writeBacks.push_back(
        Join({place, " = ", IsBoolComponent(argument) ? Join({"int(", name, ")"}) : StoredText(argument, name), ";"}));
  for (UInt32 i = 0; isSwizzle && i < _types[type].count; ++i)
    _writeBacks.push_back(Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i)), " = ", name, ".",
                                GetComponentName(i), ";"}));
  return name;
}

// Behind a statement: what its calls have changed.
void PlainPrinter::WriteBack() {
  for (const std::string& text : std::exchange(_writeBacks, {})) Line({text});
  WriteColumns();
}

// The call that is all of an expression, or all that is assigned: nothing else happens in its statement. What a call
// changes is written back behind it, so it must not be a part of what is assigned.
NodeIndex PlainPrinter::FindWholeCall(NodeIndex expression) const {
  if (expression == kNoNode) return kNoNode;
  const Bool isAssigned = KindOf(expression) == NodeKind::kAssign;
  if (IsValueFirst(expression)) return kNoNode;
  const NodeIndex call = isAssigned ? Child(expression, 1) : expression;
  if (KindOf(call) != NodeKind::kCall) return kNoNode;
  std::set<NodeIndex> changed, names;
  if (!isAssigned || !_needsHoist[call]) return call;
  CollectChanges(call, changed);
  CollectNames(Child(expression, 0), names);
  for (const NodeIndex name : names)
    if (changed.contains(name)) return kNoNode;
  return call;
}

std::string PlainPrinter::NewName(std::string_view what) {
  return Join({"ostra", what, std::to_string(++_temporaries)});
}

// v.xy = ..., v.xy += ...: the value first, then one component after the other.
Bool PlainPrinter::WriteSwizzle(NodeIndex assignment) {
  if (_resolved.meaning[Child(assignment, 0)].kind != MeaningKind::kSwizzle) return false;
  Line({"{"});
  ++_depth;
  ChangeSwizzle(assignment);
  --_depth;
  Line({"}"});
  return true;
}

std::string PlainPrinter::ChangeSwizzle(NodeIndex assignment) {
  const NodeIndex target = Child(assignment, 0), value = Child(assignment, 1);
  const Meaning& meaning = _resolved.meaning[target];
  const TypeIndex type = _resolved.type[target];
  std::string place = Place(Child(target, 0));
  const std::string name = NewName("Value");
  Line({"const ", TypeName(_resolved.converted[value]), " ", name, " = ",
        CheckDivisor(assignment, Expression(value), PartOf(place, target)), ";"});
  const Bool isScalar = _types.IsScalar(_resolved.converted[value]);
  const std::string_view sign = GetSpelling(_tree.nodes[assignment].operation);
  for (UInt32 i = 0; i < _types[type].count; ++i) {
    const std::string component = Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i))});
    const std::string part = isScalar ? name : Join({name, ".", GetComponentName(i)});
    // Components of bool vectors are ints already.
    const Scalar computed = _types[_resolved.converted[value]].scalar;
    const TypeIndex number = GetScalarType(computed);
    const std::string before = _types[type].scalar == Scalar::kHalf ? Join({"float(", component, ")"}) : component;
    const std::string changed = sign.empty()                  ? part
                                : IsOpenRemainder(assignment) ? CallRemainder(number, number, component, part)
                                                              : Join({before, " ", sign, " ", part});
    const Bool isStored = !isScalar && IsBoolVector(_resolved.converted[value]);
    Line({MarkOf(assignment), component, " = ",
          isStored ? changed : StoredComponent(changed, computed, _types[type].scalar), ";"});
  }
  WriteBack();
  return place;
}

// A column that has no place of its own is changed in a variable and written back (WriteColumns).
std::string PlainPrinter::ColumnPlace(NodeIndex node) {
  const NodeIndex matrix = Child(node, 0), index = Child(node, 1);
  const TypeIndex type = _resolved.converted[matrix];
  const UInt32 count = _types[type].count;
  const auto number = FindNumber(index);
  const std::string place = Place(matrix);
  if (count != 2 && number && *number < count) return MakeColumn(place, count, *number);
  const Bool isChecked = NeedsCheck(node);
  std::string column = isChecked ? "" : number ? std::to_string(*number) : Expression(index);
  if (isChecked || (!number && !IsSimple(index))) {
    column = NewName("Index");
    Line({"const int ", column, " = ", CheckIndex(node, Expression(index)), ";"});
  }
  if (count != 2 && _options.isForGpu) return Join({place, "[", column, "]"});
  const std::string name = NewName("Column");
  Line({TypeName(_resolved.type[node]), " ", name, " = ", CallColumn(type, place, column), ";"});
  _changedColumns.push_back({place, column, name, count, number && *number < count ? number : std::nullopt});
  return name;
}

void PlainPrinter::WriteColumns() {
  for (const ChangedColumn& changed : _changedColumns) {
    const auto write = [&](UInt32 i) {
      if (changed.count != 2) return Line({MakeColumn(changed.matrix, changed.count, i), " = ", changed.name, ";"});
      for (UInt32 k = 0; k < 2; ++k)
        Line({MakeElement(changed.matrix, 2, i, k), " = ", changed.name, ".", GetComponentName(k), ";"});
    };
    if (changed.number) {
      write(*changed.number);
      continue;
    }
    for (UInt32 i = 0; i < changed.count; ++i) {
      const std::string_view chain = i == 0 ? "if (" : "else if (";
      if (i + 1 < changed.count)
        Line({chain, changed.index, " == ", std::to_string(i), ")"});
      else
        Line({"else"});
      Line({"{"});
      ++_depth;
      write(i);
      --_depth;
      Line({"}"});
    }
  }
  _changedColumns.clear();
}

// Whether the place is a column without a plain name, or a part of one.
Bool PlainPrinter::IsInColumn(NodeIndex place) const {
  for (; KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex; place = Child(place, 0)) {
    const NodeIndex matrix = Child(place, 0);
    if (KindOf(place) != NodeKind::kIndex || !IsMatrix(_resolved.converted[matrix])) continue;
    return _types[_resolved.converted[matrix]].count == 2 || !FindNumber(Child(place, 1)) || !IsSimple(matrix);
  }
  return false;
}

// What is assigned in another way than it is written: m *= n, i *= 1.5, m[1] = v, b.x = true.
Bool PlainPrinter::WriteChange(NodeIndex assignment) {
  if (!_needsHoist[assignment]) return false;
  Line({"{"});
  ++_depth;
  ChangePlace(assignment);
  --_depth;
  Line({"}"});
  return true;
}

std::string PlainPrinter::ChangePlace(NodeIndex assignment) {
  const NodeIndex target = Child(assignment, 0), value = Child(assignment, 1);
  const TypeIndex type = _resolved.type[target], computed = _resolved.computed[assignment];
  const Operation operation = _tree.nodes[assignment].operation;
  std::string place = Place(target);
  const Part right{value, _resolved.converted[value]};
  _hoisted[target] = place;  // computed once
  std::string changed;
  if (IsBoolComponent(target)) {
    changed = Join({"int(", Expression(value), ")"});
  } else if (_resolved.meaning[assignment].word == WordId::kMul) {
    changed = MultiplyMatrix(type, {target, type}, right);
  } else if (operation != Operation::kNone && IsMatrix(type) && _types[type].count != 2) {
    changed = ComputeMatrix(operation, type, {target, type}, right);
  } else if (operation != Operation::kNone) {
    const std::string left = ConvertText(place, type, computed);
    const std::string by = CheckDivisor(assignment, Expression(value, Binding::kUnary), left);
    const std::string sum = IsOpenRemainder(assignment)
                                ? CallRemainder(GetDividendType(assignment), right.type, left, by)
                                : Join({left, " ", GetSpelling(operation), " ", by});
    changed = ConvertText(sum, computed, type);
  } else {
    changed = Expression(value);
  }
  _hoisted.erase(target);
  Line({MarkOf(assignment), place, " = ", StoredText(target, changed), ";"});
  WriteBack();
  return place;
}

void PlainPrinter::ExpressionStatement(NodeIndex expression) {
  if (KindOf(expression) == NodeKind::kComma) {
    ExpressionStatement(Child(expression, 0));
    return ExpressionStatement(Child(expression, 1));
  }
  if (WriteBranches(expression)) return;
  const NodeIndex outer = std::exchange(_copyingCall, FindWholeCall(expression));
  const Bool isOpen = HasInnerHoists(expression) || (HasHoists(expression) && IsValueFirst(expression));
  if (isOpen) Line({"{"});
  if (isOpen) ++_depth;
  HoistParts(expression);
  const NodeKind kind = KindOf(expression);
  if ((kind == NodeKind::kUnary || kind == NodeKind::kPostfix) && _needsHoist[expression]) {
    Line({"{"});
    ++_depth;
    ChangeByOne(expression, false);
    CloseHoists(true);
  } else if (kind != NodeKind::kAssign || (!WriteSwizzle(expression) && !WriteChange(expression))) {
    Line({Value(expression, Binding::kComma), ";"});
    WriteBack();
  }
  CloseHoists(isOpen);
  _copyingCall = outer;
}

std::string PlainPrinter::ForStart(NodeIndex node) {
  if (node == kNoNode) return "";
  if (KindOf(node) == NodeKind::kExpressionStatement) return Value(Child(node, 0), Binding::kComma);
  std::string text;
  for (const NodeIndex variable : _tree.GetChildren(node)) {
    const std::string declared = VariableText(variable);
    // Further variables go without their type.
    text += text.empty() ? declared : Join({", ", declared.substr(declared.find(' ') + 1)});
  }
  return text;
}

void PlainPrinter::If(NodeIndex node, std::string_view before) {
  const Bool isOpen = OpenHoists(Child(node, 0));
  Line({MarkOf(node), before, "if (", Expression(Child(node, 0), Binding::kComma), ")"});
  std::vector<NodeIndex> changed;
  if (_options.isTraced) FindChanged(Child(node, 0), changed);
  const Bool hasCalls = CountTracedCalls(Child(node, 0)) > 0;
  Body(Child(node, 1), changed, hasCalls);
  const NodeIndex other = Child(node, 2);
  if (other != kNoNode && KindOf(other) == NodeKind::kIf && !HasHoists(Child(other, 0))) {
    If(other, "else ");
  } else if (other != kNoNode) {
    Line({"else"});
    Body(other, changed, hasCalls);
  }
  CloseHoists(isOpen);
}

void PlainPrinter::For(NodeIndex node) {
  const NodeIndex start = Child(node, 0), condition = Child(node, 1), step = Child(node, 2), body = Child(node, 3);
  if (HasHoists(start) || HasHoists(condition) || HasHoists(step))
    return Loop({.node = node, .start = start, .condition = condition, .step = step, .body = body});
  const std::string first = ForStart(start);
  const std::string test = condition == kNoNode ? "" : Expression(condition, Binding::kComma);
  Line({MarkOf(node), "for (", first, "; ", CheckStep(node, test), "; ",
        step == kNoNode ? "" : Value(step, Binding::kComma), ")"});
  LoopBody(node, body);
  LoopEnd(node);
}

void PlainPrinter::Statement(NodeIndex node) {
  if (node == kNoNode || _refusal) return;
  _place = _tree.nodes[node].offset;
  _copyingCall = kNoNode;
  const auto child = [&](std::size_t i) { return Child(node, i); };
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      return Body(node);
    case NodeKind::kDeclaration:
      return Declaration(node);
    case NodeKind::kExpressionStatement:
      ExpressionStatement(child(0));
      TraceChanged(child(0));
      return PrintRecordsOf(child(0));
    case NodeKind::kIf:
      If(node, "");
      return PrintRecordsOf(child(0));
    case NodeKind::kFor:
      For(node);
      return PrintRecordsOf(node);
    case NodeKind::kWhile:
      if (HasHoists(child(0))) {
        Loop({.node = node, .condition = child(0), .body = child(1)});
      } else {
        Line({MarkOf(node), "while (", CheckStep(node, Expression(child(0), Binding::kComma)), ")"});
        LoopBody(node, child(1));
        LoopEnd(node);
      }
      return PrintRecordsOf(child(0));
    case NodeKind::kDoWhile:
      if (HasHoists(child(1))) {
        Loop({.node = node, .condition = child(1), .body = child(0), .isBodyFirst = true});
      } else {
        Line({MarkOf(node), "do"});
        LoopBody(node, child(0));
        Line({"while (", CheckStep(node, Expression(child(1), Binding::kComma)), ");"});
        LoopEnd(node);
      }
      return PrintRecordsOf(child(1));
    case NodeKind::kSwitch: {
      const Bool isOpen = OpenHoists(child(0));
      Line({MarkOf(node), "switch (", Expression(child(0), Binding::kComma), ")"});
      Body(child(1));
      CloseHoists(isOpen);
      return PrintRecordsOf(child(0));
    }
    case NodeKind::kCase:
      return Line({MarkOf(node), "case ", Expression(child(0)), ":"});
    case NodeKind::kDefault:
      return Line({MarkOf(node), "default:"});
    case NodeKind::kBreak:
      return Line({MarkOf(node), "break;"});
    case NodeKind::kContinue:
      return Line({MarkOf(node), "continue;"});
    case NodeKind::kReturn: {
      if (_isInKernel) PrintReportEnd();
      if (_options.isTraced && child(0) != kNoNode) return TracedReturn(node);
      if (child(0) == kNoNode) return Line({MarkOf(node), "return;"});
      const Bool isOpen = OpenHoists(child(0));
      Line({MarkOf(node), "return ", Expression(child(0), Binding::kComma), ";"});
      return CloseHoists(isOpen);
    }
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
                   Expression(child(1)), ")"});
    case NodeKind::kMakeLocal:
      return Line({MarkOf(node), "MAKELOCAL(", _tree.GetName(node), ", ", Expression(child(0)), ", ",
                   _tree.GetName(child(1)), ")"});
    case NodeKind::kBarrier:
      return Line({MarkOf(node), "groupSharedBarrier;"});
    default:
      return Refuse(node, Join({"\"", GetKindName(KindOf(node)), "\""}));
  }
}

}  // namespace ostra::kernellanguage
