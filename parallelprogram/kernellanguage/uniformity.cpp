#include "parallelprogram/kernellanguage/uniformity.h"

#include <algorithm>
#include <optional>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/loop_counters.h"
#include "parallelprogram/kernellanguage/operations.h"
#include "parallelprogram/kernellanguage/plain_report_layout.h"
#include "parallelprogram/kernellanguage/safe_code.h"

namespace ostra::kernellanguage {
namespace {

// Sweeps over the file until nothing changes; kernels need three or four.
constexpr Int kMaxSweeps = 60;

constexpr Uniformity kSame{Variance::kUniform, 0}, kRow{Variance::kRow, 0}, kVarying{Variance::kVarying, 0};

Uniformity MakeLinear(Int64 stride) {
  if (stride == 0) return kRow;
  if (stride > 0x7fffffff || stride < -0x7fffffff) return kVarying;
  return {Variance::kLinear, static_cast<Int32>(stride)};
}

// Of a value that is one of the two, the same one in all lanes.
Uniformity Merge(const Uniformity& a, const Uniformity& b) {
  if (a == b) return a;
  if (a.IsSame() && b.IsSame()) return std::max(a.variance, b.variance) == Variance::kRow ? kRow : kSame;
  return kVarying;
}

// Of a value that is computed from both, lane by lane.
Uniformity Combine(const Uniformity& a, const Uniformity& b) {
  return a.IsSame() && b.IsSame() ? Merge(a, b) : kVarying;
}

class Analyzer {
 public:
  Analyzer(const SyntaxTree& tree, const ResolvedTree& resolved, UniformityScope scope)
      : _tree(tree),
        _resolved(resolved),
        _isOfGroup(scope == UniformityScope::kGroup),
        _isInOneGroup(scope != UniformityScope::kRow) {
    const std::size_t count = tree.nodes.size();
    _table.nodes.assign(count, kSame);
    _table.isLeftApart.assign(count, false);
    _table.isCalledWide.assign(count, false);
    _table.isCounter.assign(count, false);
    _table.causes.assign(count, kNoNode);
    if (scope == UniformityScope::kRow) _countedLoops = FindLoopCounters(tree, resolved);
    _countedLoops.resize(count, kNoNode);
    _counts.assign(count, kSame);
    _regionOf.assign(count, 0);
    _isInterrupted.assign(count, false);
    _losesLanes.assign(count, false);
    _hasVaryingReturn.assign(count, false);
    _isCalledVarying.assign(count, false);
    _isAssigned.assign(count, false);
    for (const NodeIndex function : resolved.functions) {
      for (const NodeIndex parameter : tree.GetChildren(function)) {
        if (!tree.HasFlag(parameter, kIsOut)) _isAssigned[parameter] = true;
      }
    }
  }

  UniformityTable Run() {
    Int sweep = 0;
    do {
      _hasChanged = false;
      AnalyzeBody(_tree.kernel, _tree.GetChild(_tree.kernel, 0));
      // Callers stand behind the functions that they call.
      for (std::size_t i = _resolved.functions.size(); i-- > 0;) {
        const NodeIndex function = _resolved.functions[i];
        AnalyzeBody(function, _tree.GetChildren(function).back());
      }
    } while (_hasChanged && ++sweep < kMaxSweeps);
    if (_hasChanged)
      GiveUp();
    else
      MarkCounters();
    return std::move(_table);
  }

 private:
  // A part of the code that not all lanes may run: below a condition, or a loop.
  struct Region {
    Variance variance;
    NodeIndex cause;
  };
  // What break or continue leave.
  struct Target {
    NodeIndex node;
    std::size_t regionCount;
    Bool isLoop;
  };

  void GiveUp() {
    std::fill(_table.nodes.begin(), _table.nodes.end(), kVarying);
    std::fill(_table.isLeftApart.begin(), _table.isLeftApart.end(), true);
    std::fill(_table.isCalledWide.begin(), _table.isCalledWide.end(), true);
    std::fill(_table.causes.begin(), _table.causes.end(), kNoNode);
  }

  void MarkCounters() {
    for (NodeIndex node = 0; node < _countedLoops.size(); ++node)
      _table.isCounter[node] =
          _countedLoops[node] != kNoNode && _counts[node].IsSame() && _table.nodes[node] == kVarying;
  }

  void AnalyzeBody(NodeIndex function, NodeIndex block) {
    _function = function;
    _regions.clear();
    _targets.clear();
    _hasLostLanes = _isCalledVarying[function];
    _hasReturnedValue = false;
    Statement(block);
  }

  // Answers only grow, so that the sweeps end.
  void Raise(NodeIndex node, const Uniformity& to, NodeIndex cause) {
    Uniformity& known = _table.nodes[node];
    const Bool isLower = to.variance < known.variance;
    if (known == to || known.variance == Variance::kVarying || (isLower && known.IsSame())) return;
    if (!to.IsSame() && _table.causes[node] == kNoNode && cause != node) _table.causes[node] = cause;
    // Strides that change from sweep to sweep are none.
    known = to.variance > known.variance ? to : kVarying;
    _hasChanged = true;
  }
  // One more of the values of a variable.
  void RaiseVariable(NodeIndex variable, const Uniformity& value, NodeIndex cause, Bool isFirst = false) {
    Raise(variable, isFirst ? value : Merge(_table.nodes[variable], value), cause);
  }
  // One more of the values of a counter in its loop.
  void RaiseCount(NodeIndex variable, const Uniformity& value) {
    const Uniformity count = Merge(_counts[variable], value);
    if (count != _counts[variable]) _hasChanged = true;
    _counts[variable] = count;
  }
  Bool IsInCountedLoop(NodeIndex variable) const {
    return _countedLoops[variable] != kNoNode &&
           std::any_of(_targets.begin(), _targets.end(),
                       [loop = _countedLoops[variable]](const Target& target) { return target.node == loop; });
  }
  void SetFlag(std::vector<Bool>& flags, NodeIndex node) {
    if (!flags[node]) _hasChanged = true;
    flags[node] = true;
  }

  static Variance ToControl(const Uniformity& condition) {
    return condition.IsSame() ? condition.variance : Variance::kVarying;
  }
  Region GetControl(std::size_t firstRegion) const {
    Region control{Variance::kUniform, kNoNode};
    for (std::size_t i = firstRegion; i < _regions.size(); ++i) {
      if (_regions[i].variance > control.variance) control = _regions[i];
    }
    return control;
  }

  // --- Statements ---

  // Notes between which invocations it differs whether they come to a statement.
  void MarkReached(NodeIndex node) {
    const Region control = GetControl(0);
    const Bool isVarying = control.variance == Variance::kVarying || _hasLostLanes;
    Raise(node, isVarying ? kVarying : Uniformity{control.variance, 0}, control.cause);
  }

  void Statement(NodeIndex node) {
    if (node == kNoNode) return;
    MarkReached(node);
    switch (_tree.nodes[node].kind) {
      case NodeKind::kBlock:
        for (const NodeIndex statement : _tree.GetChildren(node)) Statement(statement);
        break;
      case NodeKind::kDeclaration:
        for (const NodeIndex variable : _tree.GetChildren(node)) Declare(variable);
        break;
      case NodeKind::kIf:
        return If(node);
      case NodeKind::kFor:
      case NodeKind::kWhile:
      case NodeKind::kDoWhile:
        return Loop(node);
      case NodeKind::kSwitch:
        return Switch(node);
      case NodeKind::kBreak:
      case NodeKind::kContinue:
        return Leave(_tree.Is(node, NodeKind::kBreak));
      case NodeKind::kReturn:
        return Return(node);
      case NodeKind::kSharedArray:
        return Raise(node, kVarying, kNoNode);
      case NodeKind::kExpressionStatement:
      case NodeKind::kCase:
      case NodeKind::kPrint:
      case NodeKind::kAssert:
        for (const NodeIndex value : _tree.GetChildren(node)) Value(value);
        break;
      default:
        break;
    }
  }

  void Declare(NodeIndex variable) {
    _regionOf[variable] = _regions.size();
    const NodeIndex value = _tree.GetChild(variable, 2);
    if (value == kNoNode) return;
    const Uniformity given = Value(value);
    RaiseVariable(variable, given, value, _table.nodes[variable] == kSame);
    RaiseCount(variable, given);
    _isAssigned[variable] = true;
  }

  void If(NodeIndex node) {
    const NodeIndex condition = _tree.GetChild(node, 0);
    const Uniformity value = Value(condition);
    _regions.push_back({ToControl(value), condition});
    Statement(_tree.GetChild(node, 1));
    Statement(_tree.GetChild(node, 2));
    _regions.pop_back();
  }

  void Loop(NodeIndex node) {
    const auto [start, condition, step, body] = GetLoopParts(_tree, node);
    if (_losesLanes[node]) _hasLostLanes = true;
    const std::size_t outside = _regions.size();
    const Variance known = _table.isLeftApart[node] || _isInterrupted[node] ? Variance::kVarying : Variance::kUniform;
    _regions.push_back({known, condition == kNoNode ? _breakCause : condition});
    _targets.push_back({node, _regions.size(), true});
    Statement(start);
    if (condition != kNoNode) EnterLoop(node, Value(condition), condition);
    // Lanes that wait for the next turn keep what they have in the variables of a `for`.
    _regions.push_back({_isInterrupted[node] ? Variance::kVarying : Variance::kUniform, _breakCause});
    Statement(body);
    _regions.pop_back();
    if (step != kNoNode) Value(step);
    if (condition != kNoNode) EnterLoop(node, Value(condition), condition);
    _targets.pop_back();
    _regions.resize(outside);
  }

  void EnterLoop(NodeIndex node, const Uniformity& condition, NodeIndex cause) {
    const Variance variance = ToControl(condition);
    if (variance == Variance::kVarying) SetFlag(_table.isLeftApart, node);
    if (variance > _regions.back().variance) _regions.back() = {variance, cause};
  }

  void Switch(NodeIndex node) {
    const NodeIndex value = _tree.GetChild(node, 0);
    const Variance chosen = ToControl(Value(value));
    const Bool isInterrupted = _table.isLeftApart[node];
    _regions.push_back({isInterrupted ? Variance::kVarying : chosen, value});
    _targets.push_back({node, _regions.size(), false});
    Statement(_tree.GetChild(node, 1));
    _targets.pop_back();
    _regions.pop_back();
  }

  // break and continue.
  void Leave(Bool isBreak) {
    for (std::size_t i = _targets.size(); i-- > 0;) {
      const Target& target = _targets[i];
      if (!isBreak && !target.isLoop) continue;
      const Region control = GetControl(target.regionCount);
      if (control.variance != Variance::kVarying) return;
      // A switch inside of the loop that lanes leave by continue is left apart, too.
      _breakCause = control.cause;
      for (std::size_t k = i; k < _targets.size(); ++k) {
        if (isBreak || !_targets[k].isLoop) SetFlag(_table.isLeftApart, _targets[k].node);
        if (_targets[k].isLoop) SetFlag(_isInterrupted, _targets[k].node);
      }
      return;
    }
  }
  void Return(NodeIndex node) {
    const NodeIndex value = _tree.GetChild(node, 0);
    const Region control = GetControl(0);
    if (control.variance == Variance::kVarying) {
      _hasLostLanes = true;
      SetFlag(_hasVaryingReturn, _function);
      for (const Target& target : _targets) {
        if (target.isLoop) SetFlag(_losesLanes, target.node);
      }
    }
    if (value == kNoNode) return;
    Uniformity result = Value(value);
    NodeIndex cause = value;
    if (control.variance == Variance::kVarying) {
      result = kVarying;
      cause = control.cause;
    } else if (control.variance == Variance::kRow) {
      result = Combine(result, kRow);
    }
    RaiseVariable(_function, result, cause, !_hasReturnedValue && _table.nodes[_function] == kSame);
    _hasReturnedValue = true;
  }

  // --- Expressions ---

  // The value as it is wanted.
  Uniformity Value(NodeIndex node) {
    Uniformity value = ValueItself(node);
    if (value.variance == Variance::kLinear) {
      const TypeIndex type = _resolved.converted[node];
      if (type != kIntType && type != kUIntType) value = kVarying;
    }
    Raise(node, value, _cause);
    return _table.nodes[node];
  }

  // Of all children, computed lane by lane.
  Uniformity ValueOfChildren(NodeIndex node, std::size_t first = 0) {
    Uniformity value = kSame;
    const auto children = _tree.GetChildren(node);
    NodeIndex cause = kNoNode;
    for (std::size_t i = first; i < children.size(); ++i) {
      const Uniformity part = Value(children[i]);
      if (cause == kNoNode && !part.IsSame()) cause = children[i];
      value = Combine(value, part);
    }
    _cause = cause;
    return value;
  }

  // That of a part, which is the cause when it differs.
  Uniformity ValueOf(NodeIndex part) {
    const Uniformity value = Value(part);
    _cause = part;
    return value;
  }

  Uniformity ValueItself(NodeIndex node) {
    const auto child = [&](std::size_t i) { return _tree.GetChild(node, i); };
    _cause = kNoNode;
    switch (_tree.nodes[node].kind) {
      case NodeKind::kLiteral:
      case NodeKind::kUniform:
      case NodeKind::kBuffer:
        return kSame;
      case NodeKind::kName:
        return NameValue(_resolved.meaning[node]);
      case NodeKind::kLocalData:
        return Element(_resolved.meaning[node].target, child(1));
      case NodeKind::kUnary:
      case NodeKind::kPostfix:
        return Unary(node);
      case NodeKind::kBinary:
        return Binary(node);
      case NodeKind::kAssign:
        return Assignment(node);
      case NodeKind::kConditional:
        return Conditional(node);
      case NodeKind::kComma:
        Value(child(0));
        return ValueOf(child(1));
      case NodeKind::kCall:
        return Call(node);
      case NodeKind::kConstruct:
        return Construct(node);
      case NodeKind::kCast:
        return ValueOf(child(1));
      case NodeKind::kMemberOf:
        return Member(node);
      case NodeKind::kIndex:
        return IndexValue(node);
      case NodeKind::kInitializerList:
        return ValueOfChildren(node);
      default:
        return kVarying;
    }
  }

  Uniformity NameValue(const Meaning& meaning) {
    if (meaning.kind == MeaningKind::kVariable) {
      _cause = meaning.target;
      return IsInCountedLoop(meaning.target) ? _counts[meaning.target] : _table.nodes[meaning.target];
    }
    const Bool isSame = meaning.kind == MeaningKind::kParameter || meaning.word == WordId::kWorkGroupSize ||
                        (_isInOneGroup && meaning.word == WordId::kWorkGroup);
    return isSame ? kSame : kVarying;
  }

  // Of InGlobalInvocationID and its relatives only x differs in a row.
  Uniformity Member(NodeIndex node) {
    const NodeIndex operand = _tree.GetChild(node, 0);
    const Uniformity whole = Value(operand);
    const Meaning& meaning = _resolved.meaning[operand];
    const Bool isWord = _tree.Is(operand, NodeKind::kName) && meaning.kind == MeaningKind::kWord;
    const Meaning& part = _resolved.meaning[node];
    _cause = operand;
    if (!isWord || whole.IsSame()) return whole.variance == Variance::kLinear ? kVarying : whole;
    _cause = kNoNode;
    if (part.kind == MeaningKind::kComponent) return InvocationComponent(meaning.word, part.number);
    Uniformity together = kSame;
    for (UInt32 i = 0; i < GetSwizzleCount(part.number); ++i)
      together = Combine(together, InvocationComponent(meaning.word, GetSwizzleComponent(part.number, i)));
    return together;
  }

  Uniformity InvocationComponent(WordId word, UInt32 component) const {
    if (_isOfGroup) return _resolved.groupSize[component] == 1 ? kSame : kVarying;
    if (component > 0) return kRow;
    return word == WordId::kGlobalInvocation || _isInOneGroup ? MakeLinear(1) : kVarying;
  }

  Uniformity Element(NodeIndex parameter, NodeIndex index) {
    const Uniformity place = Value(index);
    if (_isOfGroup && IsReportedNumber(parameter, index)) return kSame;
    const Type& buffer = _resolved.types[_resolved.type[parameter]];
    _cause = place.IsSame() ? kNoNode : index;
    return buffer.isConst && place.IsSame() ? place : kVarying;
  }

  // Whether a number of the report is one that stays as it was when the dispatch began.
  Bool IsReportedNumber(NodeIndex parameter, NodeIndex index) const {
    return _tree.GetName(parameter) == kReportParameter && GetConstant(index).value_or(0) >= kFirstSettledWord;
  }

  Uniformity IndexValue(NodeIndex node) {
    const NodeIndex operand = _tree.GetChild(node, 0), index = _tree.GetChild(node, 1);
    if (_tree.Is(operand, NodeKind::kBuffer)) {
      Value(operand);
      return Element(_resolved.meaning[operand].target, index);
    }
    const NodeIndex array = _resolved.meaning[operand].target;
    if (_isOfGroup && _tree.Is(operand, NodeKind::kName) && _tree.Is(array, NodeKind::kSharedArray) &&
        _tree.GetName(array).starts_with(kGroupArrayPrefix))
      return Value(index);
    return ValueOfChildren(node);
  }

  std::optional<Int64> GetConstant(NodeIndex node) const {
    const Node& entry = _tree.nodes[node];
    LiteralValue value;
    if (entry.kind == NodeKind::kLiteral && ParseLiteral(_tree.GetName(node), value) && IsInteger(value.scalar) &&
        value.integer <= 0x7fffffff)
      return static_cast<Int64>(value.integer);
    if (entry.kind == NodeKind::kUnary && entry.operation == Operation::kMinus) {
      const auto operand = GetConstant(_tree.GetChild(node, 0));
      if (operand) return -*operand;
    }
    const Bool isConversion = entry.kind == NodeKind::kCast || entry.kind == NodeKind::kConstruct;
    const Bool isInteger = _resolved.type[node] == kIntType || _resolved.type[node] == kUIntType;
    if (isConversion && isInteger && entry.childCount == 2) return GetConstant(_tree.GetChild(node, 1));
    return {};
  }

  Uniformity Unary(NodeIndex node) {
    const NodeIndex operand = _tree.GetChild(node, 0);
    const Operation operation = _tree.nodes[node].operation;
    const Uniformity value = Value(operand);
    if (IsStep(operation)) {
      Assign(operand, value, node);
      _cause = operand;
      return value;
    }
    _cause = operand;
    if (value.IsSame()) return value;
    if (value.variance == Variance::kLinear && operation == Operation::kPlus) return value;
    if (value.variance == Variance::kLinear && operation == Operation::kMinus) return MakeLinear(-Int64{value.stride});
    return kVarying;
  }

  Uniformity Binary(NodeIndex node) {
    const NodeIndex leftNode = _tree.GetChild(node, 0), rightNode = _tree.GetChild(node, 1);
    const Operation operation = _tree.nodes[node].operation;
    const Uniformity left = Value(leftNode);
    const Bool isLogical = IsLogical(operation);
    if (isLogical) _regions.push_back({ToControl(left), leftNode});
    const Uniformity right = Value(rightNode);
    if (isLogical) _regions.pop_back();
    _cause = left.IsSame() ? rightNode : leftNode;
    return Compute(operation, left, right, leftNode, rightNode);
  }

  static Int64 GetStride(const Uniformity& value) { return value.variance == Variance::kLinear ? value.stride : 0; }

  Uniformity Compute(Operation operation, const Uniformity& left, const Uniformity& right, NodeIndex leftNode,
                     NodeIndex rightNode) const {
    if (left.IsSame() && right.IsSame()) return Merge(left, right);
    if (left.variance == Variance::kVarying || right.variance == Variance::kVarying) return kVarying;
    const Int64 a = GetStride(left), b = GetStride(right);
    if (operation == Operation::kAdd) return MakeLinear(a + b);
    if (operation == Operation::kSubtract) return MakeLinear(a - b);
    if (operation == Operation::kMultiply) {
      const auto factor = GetConstant(left.IsSame() ? leftNode : rightNode);
      if (factor && (left.IsSame() || right.IsSame())) return MakeLinear((left.IsSame() ? b : a) * *factor);
    }
    if (operation == Operation::kShiftLeft && right.IsSame()) {
      const auto count = GetConstant(rightNode);
      if (count && *count >= 0 && *count < 31) return MakeLinear(a * (Int64{1} << *count));
    }
    return kVarying;
  }

  Uniformity Conditional(NodeIndex node) {
    const NodeIndex condition = _tree.GetChild(node, 0), first = _tree.GetChild(node, 1),
                    second = _tree.GetChild(node, 2);
    const Uniformity chosen = Value(condition);
    _regions.push_back({ToControl(chosen), condition});
    const Uniformity a = Value(first), b = Value(second);
    _regions.pop_back();
    _cause = !chosen.IsSame() ? condition : !a.IsSame() ? first : second;
    if (!chosen.IsSame()) return kVarying;
    const Uniformity value = Merge(a, b);
    return value.IsSame() ? Merge(value, chosen) : value;
  }

  Uniformity Construct(NodeIndex node) {
    const auto children = _tree.GetChildren(node);
    if (children.size() != 2) return ValueOfChildren(node, 1);
    const Uniformity value = Value(children[1]);
    _cause = children[1];
    const Bool isScalar = _resolved.types.IsScalar(_resolved.type[node]);
    return value.variance == Variance::kLinear && !isScalar ? kVarying : value;
  }

  Uniformity Assignment(NodeIndex node) {
    const NodeIndex target = _tree.GetChild(node, 0), valueNode = _tree.GetChild(node, 1);
    const Operation operation = _tree.nodes[node].operation;
    const Uniformity before = Value(target);
    Uniformity value = Value(valueNode);
    if (operation != Operation::kNone) value = Compute(operation, before, value, target, valueNode);
    const TypeIndex computed = operation == Operation::kNone ? _resolved.type[target] : _resolved.computed[node];
    if (value.variance == Variance::kLinear && computed != kIntType && computed != kUIntType) value = kVarying;
    Assign(target, value, node);
    _cause = valueNode;
    return value;
  }

  // Notes a value that a place gets.
  void Assign(NodeIndex place, Uniformity value, NodeIndex cause) {
    NodeIndex root = place;
    Bool isPart = false;
    while (_tree.Is(root, NodeKind::kMemberOf) || _tree.Is(root, NodeKind::kIndex)) {
      if (_tree.Is(root, NodeKind::kIndex) && !_table.nodes[_tree.GetChild(root, 1)].IsSame()) value = kVarying;
      isPart = true;
      root = _tree.GetChild(root, 0);
    }
    if (_tree.Is(root, NodeKind::kConditional) || _tree.Is(root, NodeKind::kAssign) ||
        _tree.Is(root, NodeKind::kUnary) || _tree.Is(root, NodeKind::kComma)) {
      // The target of the inner assignment, or either of two.
      for (const NodeIndex child : _tree.GetChildren(root)) {
        if (_resolved.isPlace[child]) Assign(child, kVarying, cause);
      }
      return;
    }
    const Meaning& meaning = _resolved.meaning[root];
    if (!_tree.Is(root, NodeKind::kName) || meaning.kind != MeaningKind::kVariable) return;
    const NodeIndex variable = meaning.target;
    if (isPart && value.variance == Variance::kLinear) value = kVarying;
    const Region control = GetControl(_regionOf[variable]);
    // Lanes that have left the loop no longer count.
    if (IsInCountedLoop(variable))
      RaiseCount(variable, control.variance == Variance::kUniform ? value : Merge(value, kRow));
    // Lanes that have returned keep what they had.
    const Bool isOut = _tree.Is(variable, NodeKind::kFunctionParameter) && _hasVaryingReturn[_function] &&
                       (_tree.nodes[variable].flags & (kIsOut | kIsInOut | kIsReference));
    if (control.variance == Variance::kVarying || isOut) {
      value = kVarying;
      cause = control.cause == kNoNode ? cause : control.cause;
    } else if (control.variance == Variance::kRow && value.IsSame()) {
      value = kRow;
    }
    RaiseVariable(variable, value, cause, !_isAssigned[variable]);
    _isAssigned[variable] = true;
  }

  Uniformity Call(NodeIndex node) {
    const Meaning& meaning = _resolved.meaning[node];
    if (meaning.kind == MeaningKind::kFunction) return CallFunction(node, meaning.target);
    if (meaning.word == WordId::kLinearInvocation) return _isOfGroup ? kVarying : MakeLinear(1);
    if (meaning.word == WordId::kAtomicCounter) return kVarying;
    const auto arguments = _tree.GetChildren(node);
    if (IsAtomic(meaning.word)) {
      ValueOfChildren(node);
      Assign(arguments.front(), kVarying, node);
      Assign(arguments.back(), kVarying, node);
      _cause = kNoNode;
      return kSame;
    }
    const Uniformity value = ValueOfChildren(node);
    if (meaning.kind != MeaningKind::kWord || !IsLibraryWord(meaning.word)) return value;
    if (IsGroupWord(meaning.word)) return GroupWord(node, meaning.word);
    const Overload& overload = GetOverloads(meaning.word)[meaning.overload];
    for (std::size_t i = 0; i < overload.count; ++i) {
      if (overload.Changes(i)) Assign(arguments[i], value, node);
    }
    return value;
  }

  // The group has one sum. What one of its invocations gets of others differs with the number that it asks for.
  Uniformity GroupWord(NodeIndex node, WordId word) {
    if (!_isOfGroup || word == WordId::kGroupScanInclusiveAdd || word == WordId::kGroupScanExclusiveAdd)
      return kVarying;
    const auto arguments = _tree.GetChildren(node);
    if (arguments.size() == 2) return Value(arguments[1]);
    _cause = kNoNode;
    return kSame;
  }

  Uniformity CallFunction(NodeIndex node, NodeIndex function) {
    const auto arguments = _tree.GetChildren(node);
    const auto parameters = _tree.GetChildren(function).subspan(1, arguments.size());
    Uniformity together = kSame;
    Bool hasVarying = false, hasChanges = false;
    NodeIndex cause = kNoNode;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      const Uniformity value = Value(arguments[i]);
      // What is in an out parameter before does not count.
      if (_tree.HasFlag(parameters[i], kIsOut) || (_isOfGroup && IsReport(parameters[i]))) continue;
      if (cause == kNoNode && !value.IsSame()) cause = arguments[i];
      hasVarying = hasVarying || value.variance == Variance::kVarying;
      together = Combine(together, value);
    }
    const Bool isWide = !together.IsSame();
    if (isWide) PassArguments(function, arguments, parameters);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      const Bool isChanged = SetsArgument(_tree.nodes[parameters[i]].flags);
      if (isChanged) Assign(arguments[i], isWide ? kVarying : together, node);
      hasChanges = hasChanges || isChanged;
    }
    _cause = isWide ? (_table.causes[function] == kNoNode ? cause : function) : cause;
    if (!isWide) return together;
    // The call with what the first lane has gives the first of these results, whether that lane takes part or not.
    const Bool isKnown =
        !hasChanges && !hasVarying && RunsWithAnyValues(_tree, _resolved, _tree.GetChildren(function).back());
    return isKnown ? _table.nodes[function] : kVarying;
  }

  // Whether the parameter is the notes that an invocation of a checked kernel takes: functions add to them, and give
  // what they give without them.
  Bool IsReport(NodeIndex parameter) const {
    const Type& type = _resolved.types[_resolved.type[parameter]];
    return type.kind == TypeKind::kStruct && _tree.GetName(type.declaration) == kReportStruct;
  }

  void PassArguments(NodeIndex function, std::span<const NodeIndex> arguments, std::span<const NodeIndex> parameters) {
    const Bool isFirst = !_table.isCalledWide[function];
    if (isFirst) SetFlag(_table.isCalledWide, function);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      // What a call changes is handed back lane by lane.
      if (SetsArgument(_tree.nodes[parameters[i]].flags)) Raise(parameters[i], kVarying, arguments[i]);
      if (_tree.HasFlag(parameters[i], kIsOut)) continue;
      const Uniformity value = _table.nodes[arguments[i]];
      RaiseVariable(parameters[i], value, arguments[i], isFirst && _table.nodes[parameters[i]] == kSame);
    }
    const Bool isVarying = GetControl(0).variance == Variance::kVarying || _hasLostLanes;
    if (isVarying) SetFlag(_isCalledVarying, function);
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const Bool _isOfGroup, _isInOneGroup;
  UniformityTable _table;
  std::vector<NodeIndex> _countedLoops;  // of variables: see FindLoopCounters
  std::vector<Uniformity> _counts;       // of such variables in their loops
  std::vector<std::size_t> _regionOf;    // per variable: regions that were open when it was declared
  std::vector<Bool> _isInterrupted;      // loops with a break or continue of some lanes
  std::vector<Bool> _losesLanes;         // loops with a return of some lanes
  std::vector<Bool> _hasVaryingReturn;   // functions
  std::vector<Bool> _isCalledVarying;    // functions: some lanes only
  std::vector<Bool> _isAssigned;         // variables: some value is known
  std::vector<Region> _regions;
  std::vector<Target> _targets;
  NodeIndex _function = kNoNode, _cause = kNoNode, _breakCause = kNoNode;
  Bool _hasLostLanes = false, _hasReturnedValue = false, _hasChanged = false;
};

}  // namespace

UniformityTable AnalyzeUniformity(const SyntaxTree& tree, const ResolvedTree& resolved, UniformityScope scope) {
  return Analyzer(tree, resolved, scope).Run();
}

}  // namespace ostra::kernellanguage
