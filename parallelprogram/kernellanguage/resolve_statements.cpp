#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/resolver.h"

namespace ostra::kernellanguage {

void Resolver::Statements(NodeIndex block) {
  for (const NodeIndex statement : _tree.GetChildren(block)) {
    if (IsStopped()) return;
    Statement(statement);
  }
}

// The first name in an expression that is no constant; kNoNode: there is none.
NodeIndex Resolver::FindChanging(NodeIndex expression) const {
  const Meaning& meaning = _resolved.meaning[expression];
  const Bool isVariable = _tree.Is(expression, NodeKind::kName) && meaning.kind == MeaningKind::kVariable;
  if (isVariable && !_tree.HasFlag(meaning.target, kIsConst)) return expression;
  if (_tree.Is(expression, NodeKind::kUniform)) return expression;
  for (const NodeIndex child : _tree.GetChildren(expression)) {
    const NodeIndex found = child == kNoNode ? kNoNode : FindChanging(child);
    if (found != kNoNode) return found;
  }
  return kNoNode;
}

void Resolver::Statement(NodeIndex node) {
  if (node == kNoNode || IsStopped()) return;
  const auto child = [&](std::size_t i) { return _tree.GetChild(node, i); };
  const auto inScope = [&](NodeIndex statement) {
    OpenScope();
    Statement(statement);
    CloseScope();
  };
  switch (_tree.nodes[node].kind) {
    case NodeKind::kBlock:
      OpenScope();
      Statements(node);
      CloseScope();
      break;
    case NodeKind::kDeclaration:
      FindGroupCalls(node);
      ReadDeclaration(node);
      break;
    case NodeKind::kExpressionStatement:
      FindGroupCalls(child(0));
      Expression(child(0));
      break;
    case NodeKind::kIf:
      Condition(child(0));
      inScope(child(1));
      inScope(child(2));
      break;
    case NodeKind::kFor:
      For(node);
      break;
    case NodeKind::kWhile:
      Condition(child(0));
      inScope(child(1));
      break;
    case NodeKind::kDoWhile:
      inScope(child(0));
      Condition(child(1));
      break;
    case NodeKind::kSwitch:
      Switch(node);
      break;
    case NodeKind::kCase: {
      const TypeIndex type = Expression(child(0));
      if (type == kUnknownType || IsStopped()) break;
      if (const NodeIndex changing = FindChanging(child(0)); changing != kNoNode)
        Fail(changing, Join({"a case needs a number that is known, and \"", NameOf(changing), "\" may change"}));
      else if (!Evaluate(child(0)) || !IsScalar(type))
        Stop(child(0), "this value of a case");
      break;
    }
    case NodeKind::kReturn:
      Return(node);
      break;
    case NodeKind::kSharedArray:
      SharedArray(node);
      break;
    case NodeKind::kPrint:
      Print(node);
      break;
    case NodeKind::kAssert:
      Condition(child(0));
      if (!IsStopped()) CheckReportText(node, 0);
      Extend(node);
      break;
    case NodeKind::kBarrier:
      _resolved.usesBarrier = true;
      break;
    case NodeKind::kNoiseMark:
      _resolved.usesNoise = true;
      break;
    default:
      break;
  }
}

void Resolver::Condition(NodeIndex expression) {
  const TypeIndex type = Expression(expression);
  if (type == kUnknownType || IsStopped()) return;
  if (!IsScalar(type)) {
    Fail(expression, Join({"a condition must be a bool or a number, not a ", TypeName(type)}));
    return;
  }
  SetConverted(expression, kBoolType);
}

// The text of a PRINT or ASSERT shows `count` values.
void Resolver::CheckReportText(NodeIndex node, std::size_t count) {
  const std::string_view text = NameOf(node), word = _tree.Is(node, NodeKind::kPrint) ? "PRINT" : "ASSERT";
  if (text.empty()) return;
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
    Fail(node, Join({"the text of ", word, " stands in double quotes, on one line"}));
    return;
  }
  std::size_t values = 0;
  for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 2)) {
    if (text[at + 1] == 'v') ++values;
    if (text[at + 1] == 'v' || text[at + 1] == '%') continue;
    Fail(node, Join({"\"%", text[at + 1] == '"' ? "" : text.substr(at + 1, 1),
                     "\" in a text: every value is %v, and %% a percent sign"}));
    return;
  }
  if (values == count) return;
  const auto say = [](std::size_t number) {
    return Join({std::to_string(number), number == 1 ? " value" : " values"});
  };
  Fail(node, Join({"the text of ", word, " shows ", say(values), " (%v), and there ", count == 1 ? "is " : "are ",
                   say(count)}));
}

void Resolver::Print(NodeIndex node) {
  std::size_t words = 0;
  for (const NodeIndex value : _tree.GetChildren(node)) {
    const TypeIndex type = Expression(value);
    if (type == kUnknownType || IsStopped()) return;
    const Bool isShown = IsScalar(type) || IsVector(type) || Get(type).kind == TypeKind::kMatrix;
    if (!isShown) {
      Fail(value, Join({"PRINT shows numbers, bools, vectors and matrices, not a ", TypeName(type)}));
      return;
    }
    const UInt32 count = std::max<UInt32>(Get(type).count, 1);
    words += (IsMatrix(type) ? count * count : count) * (GetSize(Get(type).scalar) > 4 ? 2 : 1);
  }
  if (words > kMaxPrintedNumbers) {
    Fail(node, Join({"a PRINT shows ", std::to_string(kMaxPrintedNumbers), " numbers at most, and this one ",
                     std::to_string(words)}));
    return;
  }
  CheckReportText(node, _tree.GetChildren(node).size());
  Extend(node);
}

void Resolver::For(NodeIndex node) {
  OpenScope();
  Statement(_tree.GetChild(node, 0));
  if (_tree.GetChild(node, 1) != kNoNode) Condition(_tree.GetChild(node, 1));
  if (_tree.GetChild(node, 2) != kNoNode && !IsStopped()) Expression(_tree.GetChild(node, 2));
  OpenScope();
  Statement(_tree.GetChild(node, 3));
  CloseScope();
  CloseScope();
}

void Resolver::Switch(NodeIndex node) {
  const NodeIndex value = _tree.GetChild(node, 0);
  const TypeIndex type = Expression(value);
  if (IsStopped()) return;
  if (type != kUnknownType) {
    const Bool isInteger = IsScalar(type) && IsInteger(Get(type).scalar);
    if (type == kHalfType) {
      Stop(value, "a switch over a half");
    } else if (!isInteger) {
      Fail(value, Join({"a switch needs a whole number, not a ", TypeName(type)}));
    } else {
      SetConverted(value, GetScalarType(GetSize(Get(type).scalar) < 4 ? Scalar::kInt32 : Get(type).scalar));
    }
  }
  Statement(_tree.GetChild(node, 1));
}

void Resolver::Return(NodeIndex node) {
  const NodeIndex value = _tree.GetChild(node, 0);
  if (value == kNoNode) {
    if (_returnType != kVoidType) Fail(node, Join({"this function must return a ", TypeName(_returnType)}));
    return;
  }
  const TypeIndex type = Expression(value);
  if (type == kUnknownType || IsStopped()) return;
  if (_returnType == kVoidType) {
    if (type == kVoidType)
      Stop(node, "the result of a function without one");
    else
      Fail(value, _isInKernel ? "a kernel returns no value" : "a void function returns no value");
    return;
  }
  Convert(value, _returnType, "the result of this function");
}

void Resolver::SharedArray(NodeIndex node) {
  const TypeIndex element = ReadType(_tree.GetChild(node, 0));
  if (IsStopped()) return;
  const auto count = Evaluate(_tree.GetChild(node, 1));
  if (!count || *count < 1 || element == kVoidType || element == kGradientType || element == kCounterType) {
    Stop(node, "this array in group memory");
    return;
  }
  Expression(_tree.GetChild(node, 1));
  _resolved.type[node] = _resolved.converted[node] = _resolved.types.GetArray(element, static_cast<UInt32>(*count));
  if (_resolved.types.GetCount() > kMaxTypes) Stop(node, Join({"more than ", std::to_string(kMaxTypes), " types"}));
  Declare(node);
}

}  // namespace ostra::kernellanguage
