#include "parallelprogram/kernellanguage/plain_expressions.h"

#include <charconv>

#include "parallelprogram/kernellanguage/operations.h"
#include "parallelprogram/kernellanguage/plain_bools.h"
#include "parallelprogram/kernellanguage/plain_calls.h"
#include "parallelprogram/kernellanguage/plain_construction.h"
#include "parallelprogram/kernellanguage/plain_matrices.h"

namespace ostra::kernellanguage {
namespace {

// How tightly operators bind; those of a group whose mixture readers and compilers doubt always get parentheses.
struct Tightness {
  Int level = 0;
  Bool isDoubtful = false;
};

Tightness GetTightness(Operation operation) {
  switch (operation) {
    case Operation::kLogicalOr:
      return {1};
    case Operation::kLogicalAnd:
      return {2};
    case Operation::kBitOr:
    case Operation::kBitXor:
    case Operation::kBitAnd:
      return {3, true};
    case Operation::kEqual:
    case Operation::kNotEqual:
      return {4};
    case Operation::kLess:
    case Operation::kLessOrEqual:
    case Operation::kGreater:
    case Operation::kGreaterOrEqual:
      return {5};
    case Operation::kShiftLeft:
    case Operation::kShiftRight:
      return {6, true};
    case Operation::kAdd:
    case Operation::kSubtract:
      return {7};
    default:
      return {8};
  }
}

Bool NeedsParentheses(Operation inner, Operation outer, Bool isRight) {
  const Tightness a = GetTightness(inner), b = GetTightness(outer);
  const Bool isLogicalMixture = b.level <= 2 && a.level <= 2 && a.level != b.level;
  return a.isDoubtful || b.isDoubtful || isLogicalMixture || a.level < b.level || (isRight && a.level == b.level);
}

// 0.1 is a float before it becomes a double, but compilers for GPUs may convert all digits that they see.
std::string PrintDigits(Float64 rounded) {
  char digits[32];
  std::string text(digits, std::to_chars(digits, digits + sizeof(digits), rounded, std::chars_format::general, 17).ptr);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

}  // namespace

std::string PlainExpressions::Expression(NodeIndex node, Binding lowest) {
  if (_resolved.converted[node] == _resolved.type[node]) return Value(node, lowest);
  const Bool isNumber = KindOf(node) == NodeKind::kLiteral && _types.IsScalar(_resolved.converted[node]) &&
                        !_kernel.IsSmall(_resolved.converted[node]);
  const Bool isNegative = KindOf(node) == NodeKind::kUnary && _tree.nodes[node].operation == Operation::kMinus &&
                          KindOf(Child(node, 0)) == NodeKind::kLiteral && _resolved.converted[node] == kFloatType;
  if (isNegative && lowest <= Binding::kUnary) return Join({MarkOf(node), "-", Literal(Child(node, 0), kFloatType)});
  return isNumber ? MarkOf(node) + Literal(node, _resolved.converted[node]) : _uses.construction.Convert(node);
}

std::string PlainExpressions::Value(NodeIndex node, Binding lowest) {
  if (const std::string* kept = _uses.kept.Find(node)) return *kept;
  Binding binding = Binding::kPostfix;
  std::string text = ValueItself(node, binding);
  return binding < lowest ? Join({"(", text, ")"}) : text;
}

std::string PlainExpressions::PartText(const TypedNode& part, Binding lowest) {
  return part.type == _resolved.type[part.node] ? Value(part.node, lowest) : Expression(part.node, lowest);
}

std::string PlainExpressions::List(NodeIndex node, std::size_t first) {
  const auto children = _tree.GetChildren(node);
  std::string list;
  for (std::size_t i = first; i < children.size(); ++i) list += Join({i == first ? "" : ", ", Expression(children[i])});
  return list;
}

std::string PlainExpressions::Literal(NodeIndex node, TypeIndex wanted) const {
  const std::string_view text = _tree.GetName(node);
  const TypeIndex type = _resolved.type[node];
  LiteralValue value;
  if (type == wanted || !_types.IsScalar(wanted) || !ParseLiteral(text, value)) return std::string(text);
  if (IsInteger(value.scalar) && GetSize(value.scalar) == 8)
    return Join({_types.GetName(wanted), "(", WideLiteral(value), ")"});
  if (wanted == kHalfType) return Join({"half(", Literal(node, kFloatType), ")"});
  if (IsInteger(value.scalar) && value.scalar != Scalar::kBool && value.integer < (UInt64{1} << 24)) {
    if (wanted == kFloatType) return std::to_string(value.integer) + ".0";
    if (wanted == kUIntType) return std::to_string(value.integer) + "u";
  }
  if (_options.isForGpu && wanted == kDoubleType && value.isRounded)
    return Join({_types.GetName(wanted), "(", PrintDigits(value.floating), ")"});
  return Join({_types.GetName(wanted), "(", text, ")"});
}

std::string PlainExpressions::MemberText(NodeIndex node) const {
  const Meaning& meaning = _resolved.meaning[node];
  const TypeIndex type = _resolved.type[Child(node, 0)];
  if (meaning.kind == MeaningKind::kComponent && _types.IsVector(type))
    return Join({".", GetComponentName(meaning.number)});
  if (meaning.kind == MeaningKind::kComponent && _kernel.IsMatrix(type))
    return _uses.values.MakeColumn("", _types[type].count, meaning.number);
  if (meaning.kind == MeaningKind::kMember) return Join({".", NameOf(meaning.target)});
  return Join({".", _tree.GetName(node)});
}

void PlainExpressions::CheckPlainPlace(NodeIndex place) {
  while (KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex) place = Child(place, 0);
  if (_uses.kept.IsKept(place)) Refuse(place, "a place that is changed twice in one expression");
}

std::string PlainExpressions::ValueItself(NodeIndex node, Binding& binding) {
  const auto child = [&](std::size_t i) { return Child(node, i); };
  const std::string_view name = _tree.GetName(node);
  const std::string mark = MarkOf(node);
  switch (KindOf(node)) {
    case NodeKind::kLiteral:
      return mark + LiteralItself(node, binding);
    case NodeKind::kName:
      return mark + Name(node, binding);
    case NodeKind::kUniform:
      return mark + Uniform(node);
    case NodeKind::kBuffer:
      return Join({mark, "UNIFORM_BUFFER(", name, ")"});
    case NodeKind::kLocalData:
      return Join({mark, "LOCALDATA(", name, ", ", Expression(child(0)), ", ", Expression(child(1)), ")"});
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      return mark + _uses.construction.Construct(node, 1);
    case NodeKind::kMemberOf:
      return Member(node);
    case NodeKind::kIndex:
      return Index(node);
    case NodeKind::kInitializerList: {
      const TypeIndex type = _resolved.type[node];
      if (_types.IsVector(type) || _kernel.IsMatrix(type)) return mark + _uses.construction.Construct(node, 0);
      std::vector<std::string> values;
      for (const NodeIndex value : _tree.GetChildren(node)) values.push_back(_uses.construction.ListText(value));
      return Join({mark, "{", JoinList(values), "}"});
    }
    case NodeKind::kCall: {
      // Texels are uint.
      const Bool isTexel = _kernel.IsSmall(_resolved.type[node]) && _resolved.meaning[node].kind == MeaningKind::kWord;
      return isTexel ? Join({mark, "int(", _uses.calls.Call(node), ")"}) : mark + _uses.calls.Call(node);
    }
    default:
      return Operator(node, binding);
  }
}

std::string PlainExpressions::Operator(NodeIndex node, Binding& binding) {
  const auto child = [&](std::size_t i) { return Child(node, i); };
  const std::string_view sign = GetSpelling(_tree.nodes[node].operation);
  const std::string mark = MarkOf(node);
  switch (KindOf(node)) {
    case NodeKind::kUnary:
      binding = Binding::kUnary;
      return mark + Unary(node);
    case NodeKind::kPostfix:
      CheckPlainPlace(child(0));
      return Join({Value(child(0), Binding::kPostfix), mark, sign});
    case NodeKind::kBinary:
      return Binary(node, binding);
    case NodeKind::kAssign:
      binding = Binding::kAssignment;
      return Assign(node);
    case NodeKind::kConditional:
      binding = Binding::kConditional;
      return Join({Expression(child(0), Binding::kUnary), " ", mark, "? ", Expression(child(1), Binding::kUnary), " : ",
                   Expression(child(2), Binding::kUnary)});
    case NodeKind::kComma:
      binding = Binding::kComma;
      return Join({Value(child(0), Binding::kComma), mark, ", ", Expression(child(1))});
    default:
      Refuse(node, Join({"this use of \"", _tree.GetName(node), sign, "\""}));
      return "";
  }
}

std::string PlainExpressions::LiteralItself(NodeIndex node, Binding& binding) const {
  const std::string_view text = _tree.GetName(node);
  LiteralValue value;
  const Bool isWide = ParseLiteral(text, value) && IsInteger(value.scalar) && GetSize(value.scalar) == 8;
  if (!isWide) return std::string(text);
  binding = value.integer >> 32 == 0 ? Binding::kPostfix : Binding::kConditional;
  return WideLiteral(value);
}

std::string PlainExpressions::Uniform(NodeIndex node) const {
  const TypeIndex type = _resolved.type[node];
  const std::string uniform = Join({"UNIFORM(", _tree.GetName(node), ")"});
  // A bool is a uint on a GPU.
  if (_options.isForGpu && type == kBoolType) return Join({"(", uniform, " != 0u)"});
  if (_options.isForGpu && IsWidenedUniform(type)) return Join({TypeName(type), "(", uniform, ")"});
  return _kernel.IsBoolVector(type) ? _uses.values.BoolsOf(uniform, node) : uniform;
}

std::string PlainExpressions::Unary(NodeIndex node) {
  const Operation operation = _tree.nodes[node].operation;
  const NodeIndex operand = Child(node, 0);
  if (IsStep(operation)) CheckPlainPlace(operand);
  // "- -x" is no "--x".
  const Bool isSignAgain = KindOf(operand) == NodeKind::kUnary;
  return Join({GetSpelling(operation), Expression(operand, isSignAgain ? Binding::kPostfix : Binding::kUnary)});
}

std::string PlainExpressions::Binary(NodeIndex node, Binding& binding) {
  const NodeIndex first = Child(node, 0), second = Child(node, 1);
  const Operation operation = _tree.nodes[node].operation;
  const TypeIndex type = _resolved.type[node], computed = _resolved.computed[node];
  const TypedNode left{first, _resolved.converted[first]}, right{second, _resolved.converted[second]};
  const std::string mark = MarkOf(node);
  if (_resolved.meaning[node].word == WordId::kMul) return mark + _uses.matrices.MultiplyMatrix(type, left, right);
  // One of two columns is a vector here, and computed as one.
  const Bool isOfMatrices = computed != kUnknownType && _kernel.IsMatrix(computed) && _types[computed].count != 2;
  if (isOfMatrices && _kernel.IsMatrix(type)) return mark + _uses.matrices.ComputeMatrix(operation, type, left, right);
  if (_options.hasChecks && _kernel.MayOverflow(node) && !_uses.kept.IsSimple(first))
    return mark + _uses.checks.CallQuotient(node, Expression(first), Expression(second));
  if (_options.isForGpu && IsComparisonOfVectors(_tree, _resolved, node))
    return mark + _uses.bools.CallComparison(node);
  if (_kernel.IsOpenRemainder(node)) {
    const std::string value = Expression(first);
    const std::string divisor = _uses.checks.CheckDivisor(node, Expression(second), value);
    return mark + _uses.values.CallRemainder(left.type, right.type, value, divisor);
  }
  binding = Binding::kBinary;
  const std::string value = Operand(first, operation, false);
  const std::string other = _uses.checks.CheckDivisor(node, Operand(second, operation, true), value);
  return Join({value, " ", mark, GetSpelling(operation), " ", other});
}

std::string PlainExpressions::Assign(NodeIndex node) {
  const NodeIndex target = Child(node, 0), assigned = Child(node, 1);
  CheckPlainPlace(target);
  const std::string place = Value(target, Binding::kUnary);
  const std::string value = _uses.checks.CheckDivisor(node, Expression(assigned), place);
  if (!_kernel.IsOpenRemainder(node))
    return Join({place, " ", MarkOf(node), GetSpelling(_tree.nodes[node].operation), "= ", value});
  return Join({place, " ", MarkOf(node), "= ",
               _uses.values.CallRemainder(_kernel.GetDividendType(node), _resolved.converted[assigned], place, value)});
}

std::string PlainExpressions::Member(NodeIndex node) {
  if (_resolved.meaning[node].kind == MeaningKind::kSwizzle) return MarkOf(node) + _uses.construction.Swizzle(node);
  if (_kernel.IsBoolComponent(node)) return _uses.bools.BoolComponent(node);
  const std::string part = Join({Expression(Child(node, 0), Binding::kPostfix), MarkOf(node), MemberText(node)});
  return _kernel.IsStoredSmall(node) ? Join({"int(", part, ")"}) : part;
}

std::string PlainExpressions::Index(NodeIndex node) {
  const NodeIndex whole = Child(node, 0), index = Child(node, 1);
  if (_kernel.IsBoolComponent(node)) return _uses.bools.BoolComponent(node);
  if (_kernel.IsMatrix(_resolved.converted[whole])) return MarkOf(node) + _uses.matrices.Column(node);
  const auto number = _kernel.FindNumber(index);
  if (_types.IsVector(_resolved.converted[whole]) && number.value_or(4) < 4)
    return Join({Expression(whole, Binding::kPostfix), MarkOf(node), ".", GetComponentName(*number)});
  if (IsElementOfTable(node)) return MarkOf(node) + CallTable(node);
  const std::string container = Value(whole, Binding::kPostfix);
  const std::string checked = _uses.checks.CheckIndex(node, Expression(index, Binding::kAssignment));
  const std::string element = Join({container, MarkOf(node), "[", checked, "]"});
  return _kernel.IsStoredSmall(node) ? Join({"int(", element, ")"}) : element;
}

std::string PlainExpressions::Operand(NodeIndex node, Operation operation, Bool isRight) {
  const Bool isItself = _resolved.converted[node] == _resolved.type[node];
  if (isItself && KindOf(node) == NodeKind::kBinary &&
      NeedsParentheses(_tree.nodes[node].operation, operation, isRight))
    return Join({"(", Value(node, Binding::kComma), ")"});
  return Expression(node, Binding::kBinary);
}

std::string PlainExpressions::Name(NodeIndex node, Binding& binding) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind != MeaningKind::kVariable) return std::string(_tree.GetName(node));
  if (!_options.isForGpu || !_kernel.fileConstants.contains(meaning.target)) return NameOf(meaning.target);
  // Variables outside of functions mean something else in every language.
  const NodeIndex value = Child(meaning.target, 2);
  if (value == kNoNode || _types[_resolved.type[meaning.target]].kind == TypeKind::kArray) {
    Refuse(node, "a whole table in place of one of its numbers");
    return "";
  }
  binding = Binding::kPostfix;
  const Bool isList = KindOf(value) == NodeKind::kInitializerList || _uses.construction.NeedsBraces(value);
  return isList ? CallConstant(meaning.target) : Expression(value, binding);
}

std::string PlainExpressions::ConstantText(NodeIndex variable) {
  const NodeIndex value = Child(variable, 2);
  return _uses.construction.NeedsBraces(value) ? _uses.construction.ListText(value) : Expression(value);
}

// A struct that is written in braces is the result of a function: only declarations have braces.
std::string PlainExpressions::CallConstant(NodeIndex variable) {
  const std::string name = Join({"ostra_constant_", NameOf(variable)});
  const TypeIndex type = _resolved.type[variable];
  std::string body;
  if (!_helpers.IsDefined(name))
    body = Join({"\tconst ", TypeName(type), " value = ", ConstantText(variable), ";\n\treturn value;\n"});
  return _helpers.Call(name, type, {}, body, {});
}

// Numbers of 64 bits are put together, because languages have different letters behind them, or none.
std::string PlainExpressions::WideLiteral(const LiteralValue& value) {
  const std::string name(kernellanguage::GetName(value.scalar));
  const auto low = static_cast<UInt32>(value.integer), high = static_cast<UInt32>(value.integer >> 32);
  if (high == 0) return Join({name, "(", std::to_string(low), "u)"});
  return Join({"(", name, "(", std::to_string(high), "u) << 32) | ", name, "(", std::to_string(low), "u)"});
}

Bool PlainExpressions::IsTable(NodeIndex node) const {
  while (KindOf(node) == NodeKind::kIndex && _types[_resolved.type[Child(node, 0)]].kind == TypeKind::kArray)
    node = Child(node, 0);
  return _options.isForGpu && KindOf(node) == NodeKind::kName &&
         _types[_resolved.type[node]].kind == TypeKind::kArray &&
         _kernel.fileConstants.contains(_resolved.meaning[node].target);
}

// Whether the indices lead from a table outside of functions to one of its numbers.
Bool PlainExpressions::IsElementOfTable(NodeIndex node) const {
  return _types[_resolved.type[node]].kind != TypeKind::kArray && IsTable(node);
}

// A table of numbers is a function of their indices.
std::string PlainExpressions::CallTable(NodeIndex node, const std::vector<std::string>& more) {
  std::vector<std::string> indices = more;
  TypeIndex element = _resolved.type[node];
  while (_types[element].kind == TypeKind::kArray) element = _types[element].element;
  for (; KindOf(node) == NodeKind::kIndex; node = Child(node, 0)) {
    const NodeIndex index = Child(node, 1);
    const std::string number = Expression(index, Binding::kAssignment);
    indices.insert(indices.begin(), _resolved.converted[index] == kIntType ? number : Join({"int(", number, ")"}));
  }
  const NodeIndex table = _resolved.meaning[node].target;
  const std::string name = Join({"ostra_table_", NameOf(table)});
  std::string body;
  if (!_helpers.IsDefined(name)) {
    std::string place = "values";
    for (std::size_t i = 0; i < indices.size(); ++i) place += Join({"[v", std::to_string(i), "]"});
    body = Join({"\tconst ", TypeName(element), " values", _names.ArraySizes(_resolved.type[table]), " = ",
                 Expression(Child(table, 2)), ";\n\treturn ", place, ";\n"});
  }
  return _helpers.Call(name, element, std::vector<TypeIndex>(indices.size(), kIntType), body, indices);
}

}  // namespace ostra::kernellanguage
