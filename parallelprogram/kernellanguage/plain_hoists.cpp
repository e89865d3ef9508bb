// Changes inside of expressions that have no plain text there: of swizzles, of columns, of components of bool vectors,
// of numbers that are computed in another type, and calls that change a part of a variable. They become statements in
// front of the one that they stand in, and their values variables. What && || ?: and the comma say about the order is
// kept; where nothing says it, an expression that names the changed variable in another part is an error.
#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {
namespace {

Bool IsStep(Operation operation) { return operation == Operation::kIncrement || operation == Operation::kDecrement; }

Bool IsLogical(Operation operation) {
  return operation == Operation::kLogicalAnd || operation == Operation::kLogicalOr;
}

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

Bool PlainPrinter::IsBoolComponent(NodeIndex place) const {
  const Bool isPart = KindOf(place) == NodeKind::kIndex || (KindOf(place) == NodeKind::kMemberOf &&
                                                            _resolved.meaning[place].kind == MeaningKind::kComponent);
  return isPart && IsBoolVector(_resolved.type[Child(place, 0)]);
}

// Whether the place has no plain name that can be assigned to.
Bool PlainPrinter::IsPart(NodeIndex place) const {
  return _resolved.meaning[place].kind == MeaningKind::kSwizzle || IsInColumn(place) || IsBoolComponent(place);
}

Bool PlainPrinter::IsChangedArgument(NodeIndex call, std::size_t index) const {
  return kernellanguage::IsChangedArgument(_tree, _resolved, call, index);
}

// An argument that is changed is a variable: not every language takes references to elements and components, and Metal
// alone takes no elements.
Bool PlainPrinter::IsCopied(NodeIndex argument) const {
  return KindOf(argument) != NodeKind::kName && (IsPart(argument) || _options.isForGpu);
}

Bool PlainPrinter::NeedsHoist(NodeIndex node) const {
  const Operation operation = _tree.nodes[node].operation;
  switch (KindOf(node)) {
    case NodeKind::kUnary:
    case NodeKind::kPostfix:
      return IsStep(operation) && (IsPart(Child(node, 0)) || IsSmall(_resolved.type[Child(node, 0)]) ||
                                   _types[_resolved.type[Child(node, 0)]].scalar == Scalar::kHalf);
    case NodeKind::kAssign: {
      const TypeIndex type = _resolved.type[node];
      const Bool isComputed = operation != Operation::kNone;
      // The least number is looked for in the place before.
      const Bool isLookedAt = _options.hasChecks && MayOverflow(node);
      const Bool isWrittenTwice = (isLookedAt || IsOpenRemainder(node)) && !IsSimpleValue(Child(node, 0));
      return isWrittenTwice || (_options.isForGpu && IsValueFirst(node)) || IsPart(Child(node, 0)) ||
             IsStoredSmall(Child(node, 0)) || (isComputed && (_resolved.computed[node] != type || IsMatrix(type)));
    }
    case NodeKind::kCall: {
      const auto arguments = _tree.GetChildren(node);
      for (std::size_t i = 0; i < arguments.size(); ++i)
        if (IsChangedArgument(node, i) && IsCopied(arguments[i])) return true;
      return _unorderedCalls.contains(node);
    }
    default:
      return false;
  }
}

// Children come before their parents.
void PlainPrinter::FindHoists() {
  FindUnorderedCalls();
  _needsHoist.assign(_tree.nodes.size(), false);
  _hasHoists.assign(_tree.nodes.size(), false);
  for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
    _needsHoist[node] = NeedsHoist(node);
    Bool has = _needsHoist[node];
    for (const NodeIndex child : _tree.GetChildren(node)) has = has || (child != kNoNode && _hasHoists[child]);
    _hasHoists[node] = has;
  }
}

Bool PlainPrinter::HasHoists(NodeIndex node) const { return node != kNoNode && _hasHoists[node]; }

// Of the expression of a statement, but for what the statement does itself.
Bool PlainPrinter::HasInnerHoists(NodeIndex node) const {
  for (const NodeIndex child : _tree.GetChildren(node))
    if (child == _copyingCall ? HasInnerHoists(child) : HasHoists(child)) return true;
  return false;
}

// The variable or parameter that a place is a part of.
NodeIndex PlainPrinter::FindRoot(NodeIndex place) const {
  return _resolved.meaning[FindPlaceRoot(_tree, place)].target;
}

void PlainPrinter::CollectNames(NodeIndex node, std::set<NodeIndex>& names) const {
  if (node == kNoNode) return;
  const NodeKind kind = KindOf(node);
  if (kind == NodeKind::kName || kind == NodeKind::kBuffer) names.insert(_resolved.meaning[node].target);
  for (const NodeIndex child : _tree.GetChildren(node)) CollectNames(child, names);
}

// What the statements change that `node` makes necessary.
void PlainPrinter::CollectChanges(NodeIndex node, std::set<NodeIndex>& changed) const {
  if (!HasHoists(node)) return;
  const auto children = _tree.GetChildren(node);
  if (_needsHoist[node] && KindOf(node) != NodeKind::kCall) changed.insert(FindRoot(children[0]));
  if (_needsHoist[node] && KindOf(node) == NodeKind::kCall && !_unorderedCalls.contains(node))
    for (std::size_t i = 0; i < children.size(); ++i)
      if (IsChangedArgument(node, i)) changed.insert(FindRoot(children[i]));
  for (const NodeIndex child : children) CollectChanges(child, changed);
}

void PlainPrinter::CheckOrder(NodeIndex node) {
  const auto children = _tree.GetChildren(node);
  std::map<NodeIndex, UInt32> named;
  std::set<NodeIndex> names, changed;
  if (KindOf(node) == NodeKind::kAssign) {
    // The value comes first; it is kept where the place changes what it names.
    if (IsValueFirst(node)) return;
    CollectNames(children[1], names);
    CollectChanges(Child(node, 0), changed);
    for (const NodeIndex variable : changed)
      if (names.contains(variable)) return Refuse(node, DescribeUnordered(_tree, variable));
    return;
  }
  if (!IsUnordered(KindOf(node), _tree.nodes[node].operation)) return;
  for (const NodeIndex child : children) {
    names.clear();
    CollectNames(child, names);
    CollectChanges(child, changed);
    for (const NodeIndex name : names) ++named[name];
  }
  for (const NodeIndex variable : changed)
    if (variable != kNoNode && named[variable] > 1) return Refuse(node, DescribeUnordered(_tree, variable));
}

void PlainPrinter::HoistParts(NodeIndex node) {
  if (!HasHoists(node)) return;
  CheckOrder(node);
  const auto hoist = [this](NodeIndex child) { child == _copyingCall ? HoistParts(child) : Hoist(child); };
  const auto children = _tree.GetChildren(node);
  if (KindOf(node) == NodeKind::kAssign) hoist(children[1]);
  if (IsValueFirst(node) && !_hoisted.contains(children[1]))
    KeepValue(children[1], _resolved.type[children[1]], Value(children[1], Binding::kAssignment));
  for (std::size_t i = 0; i < children.size(); ++i)
    if (i == 0 || KindOf(node) != NodeKind::kAssign) hoist(children[i]);
}

void PlainPrinter::Hoist(NodeIndex node) {
  if (!HasHoists(node) || _refusal) return;
  const Operation operation = _tree.nodes[node].operation;
  const Bool isLogical = KindOf(node) == NodeKind::kBinary && IsLogical(operation);
  const Bool isConditional = KindOf(node) == NodeKind::kConditional;
  if (KindOf(node) == NodeKind::kComma) {
    ExpressionStatement(Child(node, 0));
    Hoist(Child(node, 1));
    return KeepValue(node, _resolved.type[node], Expression(Child(node, 1)));
  }
  if ((isLogical && HasHoists(Child(node, 1))) ||
      (isConditional && (HasHoists(Child(node, 1)) || HasHoists(Child(node, 2)))))
    return HoistBranches(node);
  HoistParts(node);
  if (_needsHoist[node]) HoistChange(node);
}

void PlainPrinter::KeepValue(NodeIndex node, TypeIndex type, const std::string& value) {
  const std::string name = NewName("Value");
  Line({"const ", TypeName(type), " ", name, " = ", value, ";"});
  _hoisted[node] = name;
}

// && || and ?: compute one of their operands only.
void PlainPrinter::HoistBranches(NodeIndex node) {
  const Bool isConditional = KindOf(node) == NodeKind::kConditional;
  const NodeIndex condition = Child(node, 0);
  Hoist(condition);
  const std::string first = Expression(condition, Binding::kComma), name = NewName("Value");
  const auto branch = [&](NodeIndex value) {
    Line({"{"});
    ++_depth;
    Hoist(value);
    Line({name, " = ", Expression(value), ";"});
    --_depth;
    Line({"}"});
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
  _hoisted[node] = name;
}

void PlainPrinter::HoistChange(NodeIndex node) {
  const TypeIndex type = _resolved.type[node];
  if (KindOf(node) == NodeKind::kCall) {
    const NodeIndex outer = std::exchange(_copyingCall, node);
    const std::string call = Value(node, Binding::kAssignment);
    if (type == kVoidType)
      Line({call, ";"});
    else
      KeepValue(node, type, call);
    WriteBack();
    _copyingCall = outer;
    return;
  }
  const NodeIndex target = Child(node, 0);
  if (KindOf(node) != NodeKind::kAssign) return ChangeByOne(node, true);
  const std::string place =
      _resolved.meaning[target].kind == MeaningKind::kSwizzle ? ChangeSwizzle(node) : ChangePlace(node);
  KeepValue(node, type, PartOf(place, target));
}

// The value of a place whose text, or the text of what it is a swizzle of, is `place`.
std::string PlainPrinter::PartOf(const std::string& place, NodeIndex target) {
  if (IsBoolComponent(target)) return Join({place, " != 0"});
  if (IsStoredSmall(target)) return Join({"int(", place, ")"});
  const Meaning& meaning = _resolved.meaning[target];
  if (meaning.kind != MeaningKind::kSwizzle) return place;
  std::vector<std::string> components;
  for (UInt32 i = 0; i < GetSwizzleCount(meaning.number); ++i)
    components.push_back(Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i))}));
  return Join({TypeName(_resolved.type[target]), "(", JoinList(components), ")"});
}

// ++ and -- of a swizzle or a column.
void PlainPrinter::ChangeByOne(NodeIndex node, Bool isValueUsed) {
  const NodeIndex target = Child(node, 0);
  const TypeIndex type = _resolved.type[target];
  const Meaning& meaning = _resolved.meaning[target];
  const Bool isSwizzle = meaning.kind == MeaningKind::kSwizzle;
  const std::string place = Place(isSwizzle ? Child(target, 0) : target);
  const Scalar scalar = _types[type].scalar;
  const Bool isHalf = scalar == Scalar::kHalf;
  const std::string_view sign = _tree.nodes[node].operation == Operation::kIncrement ? " + " : " - ";
  const std::string one = isHalf || scalar == Scalar::kFloat32 ? "1.0"
                          : scalar == Scalar::kInt32           ? "1"
                          : scalar == Scalar::kUInt32          ? "1u"
                          : IsSmall(type)                      ? "1"
                                                               : Join({TypeName(GetScalarType(scalar)), "(1)"});
  const Bool isBefore = KindOf(node) == NodeKind::kPostfix;
  if (isValueUsed && isBefore) KeepValue(node, type, PartOf(place, target));
  const auto change = [&](const std::string& part) {
    const TypeIndex own = isSwizzle ? GetScalarType(scalar) : type;
    const TypeIndex computed = isHalf ? GetVectorType(Scalar::kFloat32, _types[own].count) : own;
    const std::string changed =
        IsSmall(type) ? StoredText(target, CutInteger(Join({PartOf(part, target), sign, one}), scalar, scalar))
                      : ConvertText(Join({ConvertText(part, own, computed), sign, one}), computed, own);
    Line({MarkOf(node), part, " = ", changed, ";"});
  };
  if (!isSwizzle) change(place);
  for (UInt32 i = 0; isSwizzle && i < GetSwizzleCount(meaning.number); ++i)
    change(Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i))}));
  WriteBack();
  if (isValueUsed && !isBefore) KeepValue(node, type, PartOf(place, target));
}

// A statement that is && || or ?: with such changes in what may not be computed.
Bool PlainPrinter::WriteBranches(NodeIndex expression) {
  const Bool isConditional = KindOf(expression) == NodeKind::kConditional;
  const Bool isLogical = KindOf(expression) == NodeKind::kBinary && IsLogical(_tree.nodes[expression].operation);
  if (!HasHoists(expression) || (!isConditional && !isLogical)) return false;
  Line({"{"});
  ++_depth;
  const NodeIndex condition = Child(expression, 0);
  Hoist(condition);
  const std::string text = Expression(condition, Binding::kComma);
  const Bool isOr = _tree.nodes[expression].operation == Operation::kLogicalOr;
  Line({MarkOf(expression), "if (", isOr ? Join({"!(", text, ")"}) : text, ")"});
  const auto branch = [&](NodeIndex value) {
    Line({"{"});
    ++_depth;
    ExpressionStatement(value);
    --_depth;
    Line({"}"});
  };
  branch(Child(expression, 1));
  if (isConditional) {
    Line({"else"});
    branch(Child(expression, 2));
  }
  --_depth;
  Line({"}"});
  return true;
}

// Braces around a statement of `expression` and what comes before it. Whether there is something.
Bool PlainPrinter::OpenHoists(NodeIndex expression) {
  if (!HasHoists(expression)) return false;
  Line({"{"});
  ++_depth;
  Hoist(expression);
  return true;
}

void PlainPrinter::CloseHoists(Bool isOpen) {
  if (!isOpen) return;
  --_depth;
  Line({"}"});
}

// A loop whose condition or step has such changes: they are statements of its body. "continue" goes to the step and the
// condition, so both stand at the beginning of the body, behind a flag for the first time.
void PlainPrinter::Loop(const LoopParts& loop) {
  const Bool hasLateStep = HasHoists(loop.step), hasFlag = hasLateStep || loop.isBodyFirst;
  Line({"{"});
  ++_depth;
  Statement(loop.start);
  const std::string flag = hasFlag ? NewName("Again") : "";
  if (hasFlag) Line({"bool ", flag, " = false;"});
  if (loop.step == kNoNode || hasLateStep)
    Line({MarkOf(loop.node), "while (true)"});
  else
    Line({MarkOf(loop.node), "for (; true; ", Value(loop.step, Binding::kComma), ")"});
  Line({"{"});
  ++_depth;
  if (hasFlag) {
    Line({"if (", flag, ")"});
    Line({"{"});
    ++_depth;
    if (hasLateStep) ExpressionStatement(loop.step);
    if (loop.isBodyFirst) LoopCondition(loop);
    --_depth;
    Line({"}"});
    Line({flag, " = true;"});
  }
  if (!loop.isBodyFirst) LoopCondition(loop);
  LoopBody(loop.node, loop.body);
  --_depth;
  Line({"}"});
  LoopEnd(loop.node);
  --_depth;
  Line({"}"});
}

void PlainPrinter::LoopCondition(const LoopParts& loop) {
  Hoist(loop.condition);
  if (NeedsCheck(loop.node)) {
    const std::string text = loop.condition == kNoNode ? "" : Expression(loop.condition, Binding::kComma);
    Line({"if (!(", CheckStep(loop.node, text), "))"});
  } else if (loop.condition != kNoNode) {
    Line({"if (!", Expression(loop.condition, Binding::kUnary), ")"});
  } else {
    return;
  }
  Line({"{"});
  Line({"\tbreak;"});
  Line({"}"});
}

}  // namespace ostra::kernellanguage
