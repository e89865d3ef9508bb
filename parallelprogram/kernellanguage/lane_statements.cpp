#include <algorithm>

#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {

Bool LanePrinter::HasJump(NodeIndex node, NodeKind kind, Bool isMasked, Bool isBelow) const {
  const NodeKind own = KindOf(node);
  if (own == kind) return !isMasked || isBelow;
  if (IsExpression(own)) return false;
  if (own == NodeKind::kFor || own == NodeKind::kWhile || own == NodeKind::kDoWhile) return false;
  if (own == NodeKind::kSwitch && kind == NodeKind::kBreak) return false;
  const Bool differs = (own == NodeKind::kIf || own == NodeKind::kSwitch) && FormOf(Child(node, 0)) != Form::kShared;
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode && HasJump(child, kind, isMasked, isBelow || differs)) return true;
  }
  return false;
}

Bool LanePrinter::HasReturn(NodeIndex node) const {
  if (KindOf(node) == NodeKind::kReturn) return true;
  if (IsExpression(KindOf(node))) return false;
  const auto children = _tree.GetChildren(node);
  return std::any_of(children.begin(), children.end(),
                     [this](NodeIndex child) { return child != kNoNode && HasReturn(child); });
}

Bool LanePrinter::HasExit(NodeIndex node) const {
  return HasReturn(node) || HasJump(node, NodeKind::kBreak, false) || HasJump(node, NodeKind::kContinue, false);
}

LanePrinter::LoopParts LanePrinter::GetLoopParts(NodeIndex node) const {
  switch (KindOf(node)) {
    case NodeKind::kFor:
      return {.start = Child(node, 0), .condition = Child(node, 1), .step = Child(node, 2), .body = Child(node, 3)};
    case NodeKind::kWhile:
      return {.condition = Child(node, 0), .body = Child(node, 1)};
    default:
      return {.condition = Child(node, 1), .body = Child(node, 0)};
  }
}

Bool LanePrinter::IsMaskedLoop(NodeIndex node) const {
  const LoopParts loop = GetLoopParts(node);
  if (loop.condition != kNoNode && FormOf(loop.condition) != Form::kShared) return true;
  return HasJump(loop.body, NodeKind::kBreak, true) ||
         (HasJump(loop.body, NodeKind::kContinue, true) && HasJump(loop.body, NodeKind::kBreak, false)) ||
         // The step comes after `continue`, too, which is no C++ expression then.
         (loop.step != kNoNode && !IsSharedEffect(loop.step) && HasJump(loop.body, NodeKind::kContinue, false));
}

void LanePrinter::Statements(std::span<const NodeIndex> statements) {
  int open = 0;
  for (std::size_t i = 0; i < statements.size() && !HasRefused(); ++i) {
    Statement(statements[i]);
    if (i + 1 < statements.size() && HasExit(statements[i])) {
      Line({"if (Any(", GetMask(), ")) {"});
      ++open;
    }
  }
  for (; open > 0; --open) Line({"}"});
}

void LanePrinter::Block(NodeIndex node) {
  Line({"{"});
  if (_tree.Is(node, NodeKind::kBlock))
    Statements(_tree.GetChildren(node));
  else
    Statements({&node, 1});
  Line({"}"});
}

void LanePrinter::Statement(NodeIndex node) {
  if (HasRefused()) return;
  MarkLine(node);
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      return Block(node);
    case NodeKind::kDeclaration:
      for (const NodeIndex variable : _tree.GetChildren(node)) Variable(variable);
      return;
    case NodeKind::kExpressionStatement:
      return Effect(Child(node, 0));
    case NodeKind::kIf:
      return If(node);
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      if (IsSlowWalk(node))
        return Refuse(node,
                      "a loop in which each invocation walks through elements of its own, which is slower in lanes");
      return IsMaskedLoop(node) ? MaskedLoop(node) : PlainLoop(node);
    case NodeKind::kSwitch:
      return Switch(node);
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

void LanePrinter::Variable(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const std::string name = _names.GetVariable(node);
  const NodeIndex value = Child(node, 2);
  if (_types[type].kind == TypeKind::kArray) return ArrayVariable(node, type);
  const Form form = FormOf(node);
  if (form == Form::kLanes) {
    const std::string lanes = _isInRows[node] ? RowsType(type) : LaneType(type, node);
    _variableDepths[node] = static_cast<int>(_masks.size());
    if (value == kNoNode) return Line({"[[maybe_unused]] ", lanes, " ", name, "{};"});
    Value first = Evaluate(value);
    if (_uniformity.isCounter[node]) {
      Line({SharedType(type), " ", _names.GetCount(node), " = ", first.text, ";"});
      first.text = _names.GetCount(node);
    }
    _isClamped[node] = first.form == Form::kClamped && first.type == type && !_uses.isChanged[node] && !_isKept[node];
    if (_isClamped[node]) return Line({"[[maybe_unused]] const auto ", name, " = ", first.text, ";"});
    return Line(
        {"[[maybe_unused]] ", lanes, " ", name, " = ", _isInRows[node] ? ToRows(first) : ToLanes(first, value), ";"});
  }
  const std::string shared = SharedType(type);
  if (shared.empty()) return Refuse(node, Join({"a variable of type ", _types.GetName(type)}));
  if (value == kNoNode) return Line({"[[maybe_unused]] ", shared, " ", name, "{};"});
  const Value first = Evaluate(value);
  if (first.form == Form::kLanes) return Refuse(value, "a value that is the same in all invocations, made of others");
  // Labels may be constants.
  const std::string_view qualifier = _tree.HasFlag(node, kIsConst) && first.form == Form::kShared ? "const " : "";
  Line({"[[maybe_unused]] ", qualifier, shared, " ", name, " = ", first.text, ";"});
}

void LanePrinter::ArrayVariable(NodeIndex node, TypeIndex type) {
  const TypeIndex element = _types[type].element;
  const NodeIndex value = Child(node, 2);
  const Bool isInLanes = FormOf(node) == Form::kLanes;
  if (FormOf(node) == Form::kLinear) return Refuse(node, "an array of this kind");
  const std::string name = isInLanes ? LaneType(element, node) : SharedType(element);
  if (name.empty()) return Refuse(node, Join({"an array of ", _types.GetName(element)}));
  std::string values;
  if (value != kNoNode && !_tree.Is(value, NodeKind::kInitializerList)) return Refuse(node, "this value of an array");
  if (value != kNoNode) {
    for (const NodeIndex item : _tree.GetChildren(value)) {
      Value one = Convert(Evaluate(item), element, item);
      if (!isInLanes && one.form != Form::kShared) return Refuse(item, "this value of an array");
      values += Join({values.empty() ? "" : ", ", isInLanes ? ToLanes(one, item) : one.text});
    }
    // What is not listed is 0.
    const auto count = _tree.GetChildren(value).size();
    if (isInLanes && count < _types[type].count) {
      for (std::size_t i = count; i < _types[type].count && i < 4096; ++i)
        values += Join({values.empty() ? "" : ", ", name, "{}"});
    }
  }
  _variableDepths[node] = static_cast<int>(_masks.size());
  Line({"[[maybe_unused]] ", name, " ", _names.GetVariable(node), "[", std::to_string(_types[type].count), "]",
        value == kNoNode ? "" : " = {", values, value == kNoNode ? ";" : "};"});
}

// Moves on the number of turns that all lanes of a loop share, and that of each lane; lanes that have left the loop
// keep what they have. Answers false for other expressions.
Bool LanePrinter::StepCount(NodeIndex node) {
  const NodeKind kind = KindOf(node);
  const Bool isStep = kind == NodeKind::kAssign || kind == NodeKind::kPostfix || kind == NodeKind::kUnary;
  if (!isStep || !IsCount(Child(node, 0))) return false;
  const NodeIndex place = Child(node, 0), variable = _resolved.meaning[place].target;
  const std::string name = _names.GetVariable(variable);
  Line({SharedItself(node), ";"});
  if (kind != NodeKind::kAssign && !IsFloating(_types[TypeOf(place)].scalar)) {
    const Bool isUp = _tree.nodes[node].operation == Operation::kIncrement;
    Line({name, isUp ? " = Increment(" : " = Decrement(", GetMask(), ", ", name, ");"});
  } else {
    const std::string lanes = ToLanes({_names.GetCount(variable), Form::kShared, TypeOf(place)}, place);
    Line({name, " = Select(", GetMask(), ", ", lanes, ", ", name, ");"});
  }
  return true;
}

void LanePrinter::Effect(NodeIndex node) {
  if (StepCount(node)) return;
  const auto children = _tree.GetChildren(node);
  const Operation operation = _tree.nodes[node].operation;
  switch (KindOf(node)) {
    case NodeKind::kComma:
      Effect(children[0]);
      return Effect(children[1]);
    case NodeKind::kAssign:
      if (operation == Operation::kNone) return Assign(children[0], Evaluate(children[1]));
      {
        const Value by = Evaluate(children[1]);
        return Change(children[0], operation, &by, _resolved.computed[node]);
      }
    case NodeKind::kPostfix:
      return Change(children[0], operation == Operation::kIncrement ? Operation::kAdd : Operation::kSubtract, nullptr,
                    _resolved.computed[node]);
    case NodeKind::kUnary:
      if (operation == Operation::kIncrement || operation == Operation::kDecrement)
        return Change(children[0], operation == Operation::kIncrement ? Operation::kAdd : Operation::kSubtract, nullptr,
                      _resolved.computed[node]);
      break;
    case NodeKind::kCall:
      if (_resolved.meaning[node].kind == MeaningKind::kWord && IsAtomic(_resolved.meaning[node].word))
        return CallAtomic(node);
      break;
    default:
      break;
  }
  const Value value = EvaluateItself(node);
  if (!value.text.empty()) Line({"static_cast<void>(", value.text, ");"});
}

Bool LanePrinter::IsSharedEffect(NodeIndex node) const {
  const auto children = _tree.GetChildren(node);
  switch (KindOf(node)) {
    case NodeKind::kComma:
      return IsSharedEffect(children[0]) && IsSharedEffect(children[1]);
    case NodeKind::kAssign:
      if (FormOf(children[1]) != Form::kShared) return false;
      break;
    case NodeKind::kPostfix:
      break;
    case NodeKind::kUnary:
      if (_tree.nodes[node].operation != Operation::kIncrement && _tree.nodes[node].operation != Operation::kDecrement)
        return false;
      break;
    default:
      return false;
  }
  const Meaning& meaning = _resolved.meaning[children[0]];
  return KindOf(children[0]) == NodeKind::kName && meaning.kind == MeaningKind::kVariable &&
         FormOf(meaning.target) != Form::kLanes;
}

// The variable of a place such as v, v.x, a[2] or a[2].y, and its C++.
NodeIndex LanePrinter::FindVariable(NodeIndex place, std::string& text) {
  switch (KindOf(place)) {
    case NodeKind::kName:
      if (_resolved.meaning[place].kind != MeaningKind::kVariable || _names.IsMemory(place)) return kNoNode;
      text = _names.GetVariable(_resolved.meaning[place].target);
      return _resolved.meaning[place].target;
    case NodeKind::kMemberOf: {
      const NodeIndex variable = FindVariable(Child(place, 0), text);
      if (variable == kNoNode) return kNoNode;
      text += Join({".", PartName(place)});
      return variable;
    }
    case NodeKind::kIndex: {
      if (_types[TypeOf(Child(place, 0))].kind != TypeKind::kArray) return kNoNode;
      const NodeIndex variable = FindVariable(Child(place, 0), text);
      if (variable == kNoNode || FormOf(Child(place, 1)) != Form::kShared) return kNoNode;
      text += Join({"[", Shared(Child(place, 1)), "]"});
      return variable;
    }
    default:
      return kNoNode;
  }
}

void LanePrinter::Change(NodeIndex target, Operation operation, const Value* by, TypeIndex computed) {
  const TypeIndex type = TypeOf(target);
  Value before = EvaluateItself(target);
  Value operand = by ? *by : Value{Join({"static_cast<", SharedType(computed), ">(1)"}), Form::kShared, computed};
  Value after;
  const Bool isScalar = before.form == Form::kShared || before.form == Form::kLinear;
  if (isScalar && operand.form == Form::kShared) {
    const std::string left = Convert(before, computed, target).text;
    after = {Join({"(", left, " ", GetSpelling(operation), " ", operand.text, ")"}), before.form, computed,
             before.stride};
  } else {
    after = Binary(operation, Convert(before, computed, target), operand, computed, target);
  }
  Assign(target, Convert(after, type, target));
}

// An element of an array at a place that differs, or a member or component of it. Answers false for other places.
Bool LanePrinter::AssignElements(NodeIndex target, const Value& value) {
  std::string path, array;
  NodeIndex element = target;
  for (; KindOf(element) == NodeKind::kMemberOf; element = Child(element, 0))
    path.insert(0, Join({".", PartName(element)}));
  if (KindOf(element) != NodeKind::kIndex || FormOf(Child(element, 1)) == Form::kShared) return false;
  const Bool isArray = _types[TypeOf(Child(element, 0))].kind == TypeKind::kArray;
  const NodeIndex variable = isArray ? FindVariable(Child(element, 0), array) : kNoNode;
  if (variable == kNoNode || FormOf(variable) != Form::kLanes) return false;
  std::string index = InLanes(Child(element, 1)), values = ToLanes(value, target);
  if (!path.empty()) {
    const std::string place = NewName("index"), whole = NewName("values");
    Line({"{ const auto ", place, " = ", index, ";"});
    Line({"auto ", whole, " = GetElements(", array, ", ", place, ", ", GetMask(), ");"});
    Line({whole, path, " = ", values, ";"});
    index = place;
    values = whole;
  }
  Line({"SetElements(", array, ", ", index, ", ", values, ", ", GetMask(), ");", path.empty() ? "" : " }"});
  return true;
}

void LanePrinter::Assign(NodeIndex target, const Value& value) {
  if (HasRefused()) return;
  // What is on the right comes first, and has been written down as it is after such a call.
  if (HasChangingCall(target)) return Refuse(target, "an assignment to a place that a call finds and changes others");
  std::string path;
  if (const NodeIndex element = FindElement(target, path); element != kNoNode) {
    if (element != target || IsAggregate(TypeOf(target))) {
      Line({"{"});
      const std::string values = NewName("values"), place = ElementOfLane(element);
      Line({"const auto ", values, " = ", ToLanes(value, target), ";"});
      Line({"ForEachLaneIn(", GetMask(), ", [&](int ostraLane) OSTRA_KERNEL_FLAT { ", place, path, " = GetLane(",
            values, ", ostraLane); }); }"});
      return;
    }
    const NodeIndex memory = Child(element, 0);
    const std::string first = _names.GetFirst(memory);
    const Value index = Evaluate(Child(element, 1));
    LaneType(value.type, target);
    if (value.type == kBoolType && (index.form != Form::kShared || value.form != Form::kShared))
      return Refuse(target, "an element of a buffer of bool");
    if (index.form == Form::kShared && value.form == Form::kShared)
      return Line({_names.GetMemory(memory), "[", index.text, "] = ", value.text, ";"});
    if (index.form == Form::kShared)
      return Line({"StoreLast(", first, " + ", index.text, ", ", ToLanes(value, target), ", ", GetMask(), ");"});
    if (index.form == Form::kLinear && index.stride == 1 && value.form == Form::kRows)
      return Line({"StoreRowsOfRun(", first, ", ", index.text, ", ", value.text, ", ", GetMask(), ");"});
    if (index.form == Form::kLinear && index.stride == 1)
      return Line({"StoreRun(", first, ", ", index.text, ", ", ToLanes(value, target), ", ", GetMask(), ");"});
    return Line(
        {"Scatter(", first, ", ", ToLanes(index, element), ", ", ToLanes(value, target), ", ", GetMask(), ");"});
  }
  if (AssignElements(target, value)) return;
  std::string place;
  const NodeIndex variable = FindVariable(target, place);
  if (variable == kNoNode) return Refuse(target, "an assignment to this");
  if (FormOf(variable) != Form::kLanes) {
    if (value.form == Form::kLanes)
      return Refuse(target, "a value that is the same in all invocations, made of others");
    return Line({place, " = ", value.text, ";"});
  }
  const std::string lanes =
      _isInRows[variable] && place == _names.GetVariable(variable) ? ToRows(value) : ToLanes(value, target);
  if (MayBeReadLater(variable)) return Line({place, " = Select(", GetMask(), ", ", lanes, ", ", place, ");"});
  Line({place, " = ", lanes, ";"});
}

void LanePrinter::InBranch(const std::string& mask, NodeIndex statement) {
  Line({"if (Any(", mask, "))"});
  PushMask(mask, statement);
  Block(statement);
  _masks.pop_back();
}

void LanePrinter::If(NodeIndex node) {
  const NodeIndex condition = Child(node, 0), yes = Child(node, 1), no = Child(node, 2);
  if (FormOf(condition) == Form::kShared) {
    // Clang takes a comparison in two pairs of parentheses for a mistake.
    Line({"if (static_cast<Bool>(", Shared(condition), "))"});
    Block(yes);
    if (no == kNoNode) return;
    Line({"else"});
    return Block(no);
  }
  const std::string chosen = NewName("condition"), first = NewName("mask"), second = NewName("mask");
  const std::string mask = GetMask();
  Line({"{"});
  Line({"const Mask ", chosen, " = ", ToMask(condition), ";"});
  Line({"Mask ", first, " = ", mask, " & ", chosen, ";"});
  const Bool hasExit = HasExit(yes) || (no != kNoNode && HasExit(no));
  if (hasExit || no != kNoNode) Line({"Mask ", second, " = AndNot(", mask, ", ", chosen, ");"});
  InBranch(first, yes);
  if (no != kNoNode) InBranch(second, no);
  if (hasExit) Line({mask, " = ", first, " | ", second, ";"});
  Line({"}"});
}

// A loop that all lanes begin and end together.
void LanePrinter::PlainLoop(NodeIndex node) {
  const auto [start, condition, step, body] = GetLoopParts(node);
  const Bool isDoWhile = KindOf(node) == NodeKind::kDoWhile;
  const Bool hasMaskedContinue = HasJump(body, NodeKind::kContinue, true);
  // Lanes may leave by return, or leave a loop around this one: without any there is no next turn.
  const std::string any = HasReturn(body) ? Join({"Any(", GetMask(), ")"}) : "";
  const std::string test = condition == kNoNode ? "true" : Join({"static_cast<Bool>(", Shared(condition), ")"});
  const std::string both = any.empty() ? test : Join({any, " && ", test});
  Line({"{"});
  if (start != kNoNode) Statement(start);
  const Bool isStepShared = step == kNoNode || IsSharedEffect(step);
  if (isDoWhile)
    Line({"do {"});
  else
    Line({"for (; ", both, "; ", step != kNoNode && isStepShared ? SharedItself(step) : "", ") {"});
  std::string mask = GetMask();
  std::string continued;
  if (hasMaskedContinue) {
    mask = NewName("mask");
    continued = NewName("continued");
    Line({"Mask ", mask, " = ", GetMask(), ";"});
    Line({"[[maybe_unused]] Mask ", continued, " = false;"});
    PushMask(mask);
  }
  // What has to be done at the end of a turn is done for lanes that continue, too.
  _exits.push_back({.isPlain = !hasMaskedContinue,
                    .depth = static_cast<int>(_masks.size()),
                    .continued = continued,
                    .isSwitch = false});
  Block(body);
  _exits.pop_back();
  if (hasMaskedContinue) {
    _masks.pop_back();
    if (HasReturn(body)) Line({GetMask(), " = AndNot(", GetMask(), ", ostraReturned);"});
  }
  if (!isStepShared) {
    Line({"if (Any(", GetMask(), ")) {"});
    Effect(step);
    Line({"}"});
  }
  if (isDoWhile)
    Line({"} while (", both, ");"});
  else
    Line({"}"});
  Line({"}"});
}

// Takes the lanes out of the mask of a loop for which the condition does not hold. What is the same in all lanes ends
// the loop for all of them.
void LanePrinter::LeaveUnless(const std::string& mask, NodeIndex condition) {
  if (FormOf(condition) == Form::kShared) return Line({"if (!static_cast<Bool>(", Shared(condition), ")) break;"});
  const Bool isAnd = _tree.IsBinary(condition, Operation::kLogicalAnd);
  if (!isAnd || (FormOf(Child(condition, 0)) != Form::kShared && !IsHarmless(condition)))
    return Line({mask, " = ", ToMaskUnder(mask, condition), ";"});
  LeaveUnless(mask, Child(condition, 0));
  LeaveUnless(mask, Child(condition, 1));
}

// A loop that lanes leave one by one.
void LanePrinter::MaskedLoop(NodeIndex node) {
  const LoopParts loop = GetLoopParts(node);
  const Bool isDoWhile = KindOf(node) == NodeKind::kDoWhile;
  const std::string outer = GetMask(), mask = NewName("mask");
  const std::string continued = HasJump(loop.body, NodeKind::kContinue, false) ? NewName("continued") : "";
  Line({"{"});
  if (loop.start != kNoNode) Statement(loop.start);
  Line({"Mask ", mask, " = ", outer, ";"});
  if (!continued.empty()) Line({"Mask ", continued, " = false;"});
  PushMask(mask, continued.empty() ? node : kNoNode);
  const auto test = [&] {
    if (loop.condition == kNoNode) return;
    MarkLine(loop.condition);
    LeaveUnless(mask, loop.condition);
    if (FormOf(loop.condition) != Form::kShared) Line({"if (None(", mask, ")) break;"});
  };
  Line({"for (;;) {"});
  if (!isDoWhile) test();
  _exits.push_back(
      {.isPlain = false, .depth = static_cast<int>(_masks.size()), .continued = continued, .isSwitch = false});
  Block(loop.body);
  _exits.pop_back();
  if (!continued.empty()) Line({mask, " = ", mask, " | ", continued, "; ", continued, " = false;"});
  Line({"if (None(", mask, ")) break;"});
  if (loop.step != kNoNode) {
    MarkLine(loop.step);
    Effect(loop.step);
  }
  if (isDoWhile) test();
  Line({"}"});
  _masks.pop_back();
  if (HasReturn(loop.body)) Line({outer, " = AndNot(", outer, ", ostraReturned);"});
  Line({"}"});
}

void LanePrinter::Switch(NodeIndex node) {
  const NodeIndex value = Child(node, 0), block = Child(node, 1);
  const auto statements = _tree.GetChildren(block);
  Bool isAfterVariable = false;
  for (const NodeIndex statement : statements) {
    isAfterVariable = isAfterVariable || KindOf(statement) == NodeKind::kDeclaration;
    if (isAfterVariable && (KindOf(statement) == NodeKind::kCase || KindOf(statement) == NodeKind::kDefault))
      return Refuse(statement, "a label behind a variable of the switch");
  }
  if (FormOf(value) == Form::kShared && !HasJump(block, NodeKind::kBreak, true)) {
    Line({"switch (", Shared(value), ") {"});
    _exits.push_back({.isPlain = true, .depth = static_cast<int>(_masks.size()), .continued = "", .isSwitch = true});
    Bool isAfterStatement = false;
    for (const NodeIndex statement : statements) {
      const Bool isLabel = KindOf(statement) == NodeKind::kCase || KindOf(statement) == NodeKind::kDefault;
      if (isLabel && isAfterStatement) Line({"[[fallthrough]];"});
      isAfterStatement = !isLabel;
      if (KindOf(statement) == NodeKind::kCase)
        Line({"case ", Shared(Child(statement, 0)), ":"});
      else if (KindOf(statement) == NodeKind::kDefault)
        Line({"default:"});
      else
        Statement(statement);
      // What follows is for lanes that are still here.
      if (HasExit(statement)) Line({"if (None(", GetMask(), ")) break;"});
    }
    Line({"; }"});
    _exits.pop_back();
    return;
  }
  const std::string outer = GetMask(), mask = NewName("mask"), chosen = NewName("value"), matched = NewName("matched");
  Line({"{"});
  Line({"const auto ", chosen, " = ", InLanes(value), ";"});
  Line({"Mask ", mask, " = false;"});
  Line({"[[maybe_unused]] Mask ", matched, " = false;"});
  std::vector<std::string> labels;
  for (const NodeIndex statement : statements) {
    if (KindOf(statement) != NodeKind::kCase) continue;
    const std::string label = NewName("case");
    const Value constant = Convert(Evaluate(Child(statement, 0)), _resolved.converted[value], statement);
    Line({"const Mask ", label, " = ", outer, " & (", chosen, " == ", ToLanes(constant, statement), ");"});
    Line({matched, " = ", matched, " | ", label, ";"});
    labels.push_back(label);
  }
  _exits.push_back({.isPlain = false, .depth = static_cast<int>(_masks.size()) + 1, .continued = "", .isSwitch = true});
  PushMask(mask);
  std::size_t nextLabel = 0;
  for (std::size_t i = 0; i < statements.size();) {
    const NodeKind kind = KindOf(statements[i]);
    if (kind == NodeKind::kCase || kind == NodeKind::kDefault) {
      Line({mask, " = ", mask, " | ",
            kind == NodeKind::kCase ? labels[nextLabel++] : Join({"AndNot(", outer, ", ", matched, ")"}), ";"});
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < statements.size() && KindOf(statements[end]) != NodeKind::kCase &&
           KindOf(statements[end]) != NodeKind::kDefault)
      ++end;
    Line({"if (Any(", mask, ")) {"});
    Statements(statements.subspan(i, end - i));
    Line({"}"});
    i = end;
  }
  _masks.pop_back();
  _exits.pop_back();
  if (HasReturn(block)) Line({outer, " = AndNot(", outer, ", ostraReturned);"});
  if (HasJump(block, NodeKind::kContinue, false)) {
    const auto loop = std::find_if(_exits.rbegin(), _exits.rend(), [](const Exit& exit) { return !exit.isSwitch; });
    if (loop == _exits.rend() || loop->continued.empty())
      return Refuse(node, "a switch over different values with continue inside");
    Line({outer, " = AndNot(", outer, ", ", loop->continued, ");"});
  }
  Line({"}"});
}

void LanePrinter::Leave(NodeIndex node) {
  const Bool isContinue = KindOf(node) == NodeKind::kContinue;
  std::size_t i = _exits.size();
  while (i > 0 && isContinue && _exits[i - 1].isSwitch) --i;
  if (i == 0) return Refuse(node, "a jump out of nothing");
  const Exit& exit = _exits[i - 1];
  if (exit.isPlain && exit.depth == static_cast<int>(_masks.size())) return Line({isContinue ? "continue;" : "break;"});
  if (isContinue && !exit.continued.empty()) Line({exit.continued, " = ", exit.continued, " | ", GetMask(), ";"});
  Line({GetMask(), " = false;"});
}

void LanePrinter::Return(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  if (_tree.HasFlag(node, kIsKernelReturn)) return Refuse(node, "a kernel that can fail");
  if (value != kNoNode) {
    const std::string lanes = ToLanes(Convert(Evaluate(value), TypeOf(_function), value), value);
    const Bool isOnly = _masks.size() == 1 && !_hasManyReturns;
    Line({"ostraResult = ", isOnly ? lanes : Join({"Select(", GetMask(), ", ", lanes, ", ostraResult)"}), ";"});
  }
  if (_masks.size() == 1) {
    const Bool hasResult = _function != kNoNode && TypeOf(_function) != kVoidType;
    return Line({hasResult ? "return ostraResult;" : "return;"});
  }
  Line({"ostraReturned = ostraReturned | ", GetMask(), ";"});
  Line({GetMask(), " = false;"});
}

}  // namespace ostra::kernellanguage
