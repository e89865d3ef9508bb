#include <charconv>

#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/plain_marks.h"
#include "parallelprogram/kernellanguage/plain_printer.h"

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

}  // namespace

std::string PlainPrinter::Mark(SourceOffset offset) { return MakeMark(offset); }

std::string PlainPrinter::TypeName(TypeIndex type) {
  while (_types[type].kind == TypeKind::kArray) type = _types[type].element;
  if (_types[type].kind == TypeKind::kStruct) return NameOf(_types[type].declaration);
  if (IsMatrix(type) && _types[type].count == 2) return "vec4";
  if (IsBoolVector(type)) return _types.GetName(GetVectorType(Scalar::kInt32, _types[type].count));
  if (IsSmall(type)) return "int";
  return _types.GetName(type);
}

std::string PlainPrinter::ArraySizes(const TypeTable& types, TypeIndex type) {
  const Type& kind = types[type];
  if (kind.kind != TypeKind::kArray) return "";
  return Join({"[", std::to_string(kind.count), "]", ArraySizes(types, kind.element)});
}

// Numbers of 64 bits are put together, because languages have different letters behind them, or none.
std::string PlainPrinter::WideLiteral(const LiteralValue& value) {
  const std::string name(kernellanguage::GetName(value.scalar));
  const auto low = static_cast<UInt32>(value.integer), high = static_cast<UInt32>(value.integer >> 32);
  if (high == 0) return Join({name, "(", std::to_string(low), "u)"});
  return Join({"(", name, "(", std::to_string(high), "u) << 32) | ", name, "(", std::to_string(low), "u)"});
}

// 0.1 is a float before it becomes a double, but compilers for GPUs may convert all digits that they see.
static std::string PrintDigits(Float64 rounded) {
  char digits[32];
  std::string text(digits, std::to_chars(digits, digits + sizeof(digits), rounded, std::chars_format::general, 17).ptr);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

// An integer is written as the number that it is wanted as; 1 becomes 1.0 or 1u.
std::string PlainPrinter::Literal(NodeIndex node, TypeIndex wanted) const {
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

std::string PlainPrinter::Expression(NodeIndex node, Binding lowest) {
  if (_resolved.converted[node] == _resolved.type[node]) return Value(node, lowest);
  const Bool isNumber = KindOf(node) == NodeKind::kLiteral && _types.IsScalar(_resolved.converted[node]) &&
                        !IsSmall(_resolved.converted[node]);
  const Bool isNegative = KindOf(node) == NodeKind::kUnary && _tree.nodes[node].operation == Operation::kMinus &&
                          KindOf(Child(node, 0)) == NodeKind::kLiteral && _resolved.converted[node] == kFloatType;
  if (isNegative && lowest <= Binding::kUnary) return Join({MarkOf(node), "-", Literal(Child(node, 0), kFloatType)});
  return isNumber ? MarkOf(node) + Literal(node, _resolved.converted[node]) : Convert(node);
}

std::string PlainPrinter::Value(NodeIndex node, Binding lowest) {
  if (const auto hoisted = _hoisted.find(node); hoisted != _hoisted.end()) return hoisted->second;
  Binding binding = Binding::kPostfix;
  std::string text = ValueItself(node, binding);
  return binding < lowest ? Join({"(", text, ")"}) : text;
}

std::string PlainPrinter::Operand(NodeIndex node, Operation operation, Bool isRight) {
  const Bool isItself = _resolved.converted[node] == _resolved.type[node];
  if (isItself && KindOf(node) == NodeKind::kBinary &&
      NeedsParentheses(_tree.nodes[node].operation, operation, isRight))
    return Join({"(", Value(node, Binding::kComma), ")"});
  return Expression(node, Binding::kBinary);
}

std::string PlainPrinter::List(NodeIndex node, std::size_t first) {
  const auto children = _tree.GetChildren(node);
  std::string list;
  for (std::size_t i = first; i < children.size(); ++i) list += Join({i == first ? "" : ", ", Expression(children[i])});
  return list;
}

// As it is written: the translator reads it.
std::string PlainPrinter::NoiseNumber(NodeIndex number) {
  if (KindOf(number) == NodeKind::kLiteral) return Join({MarkOf(number), _tree.GetName(number)});
  return Value(number, Binding::kAssignment);
}

std::string PlainPrinter::ValueItself(NodeIndex node, Binding& binding) {
  const auto child = [&](std::size_t i) { return Child(node, i); };
  const Operation operation = _tree.nodes[node].operation;
  const std::string_view sign = GetSpelling(operation), name = _tree.GetName(node);
  const Meaning& meaning = _resolved.meaning[node];
  const std::string mark = MarkOf(node);
  switch (KindOf(node)) {
    case NodeKind::kLiteral: {
      LiteralValue value;
      const Bool isWide = ParseLiteral(name, value) && IsInteger(value.scalar) && GetSize(value.scalar) == 8;
      if (!isWide) return Join({mark, name});
      binding = value.integer >> 32 == 0 ? Binding::kPostfix : Binding::kConditional;
      return mark + WideLiteral(value);
    }
    case NodeKind::kName:
      return mark + Name(node, binding);
    case NodeKind::kUniform:
      // A bool is a uint on a GPU.
      if (_options.isForGpu && _resolved.type[node] == kBoolType) return Join({mark, "(UNIFORM(", name, ") != 0u)"});
      if (_options.isForGpu && IsWidenedUniform(_resolved.type[node]))
        return Join({mark, TypeName(_resolved.type[node]), "(UNIFORM(", name, "))"});
      if (IsBoolVector(_resolved.type[node])) return Join({mark, BoolsOf(Join({"UNIFORM(", name, ")"}), node)});
      return Join({mark, "UNIFORM(", name, ")"});
    case NodeKind::kBuffer:
      return Join({mark, "UNIFORM_BUFFER(", name, ")"});
    case NodeKind::kLocalData:
      return Join({mark, "LOCALDATA(", name, ", ", Expression(child(0)), ", ", Expression(child(1)), ")"});
    case NodeKind::kUnary: {
      if (operation == Operation::kIncrement || operation == Operation::kDecrement) CheckPlainPlace(child(0));
      binding = Binding::kUnary;
      // "- -x" is no "--x".
      const Bool isSignAgain = KindOf(child(0)) == NodeKind::kUnary;
      return Join({mark, sign, Expression(child(0), isSignAgain ? Binding::kPostfix : Binding::kUnary)});
    }
    case NodeKind::kPostfix:
      CheckPlainPlace(child(0));
      return Join({Value(child(0), Binding::kPostfix), mark, sign});
    case NodeKind::kBinary: {
      const TypeIndex computed = _resolved.computed[node];
      const Part left{child(0), _resolved.converted[child(0)]}, right{child(1), _resolved.converted[child(1)]};
      if (meaning.word == WordId::kMul) return mark + MultiplyMatrix(_resolved.type[node], left, right);
      // One of two columns is a vector here, and computed as one.
      if (computed != kUnknownType && IsMatrix(computed) && _types[computed].count != 2 &&
          IsMatrix(_resolved.type[node]))
        return mark + ComputeMatrix(operation, _resolved.type[node], left, right);
      if (_options.hasChecks && MayOverflow(node) && !IsSimple(child(0)))
        return mark + CallQuotient(node, Expression(child(0)), Expression(child(1)));
      if (_options.isForGpu && IsComparisonOfVectors(_tree, _resolved, node)) return mark + CallComparison(node);
      if (IsOpenRemainder(node)) {
        const std::string value = Expression(child(0));
        return mark + CallRemainder(left.type, right.type, value, CheckDivisor(node, Expression(child(1)), value));
      }
      binding = Binding::kBinary;
      const std::string value = Operand(child(0), operation, false);
      return Join({value, " ", mark, sign, " ", CheckDivisor(node, Operand(child(1), operation, true), value)});
    }
    case NodeKind::kAssign: {
      CheckPlainPlace(child(0));
      binding = Binding::kAssignment;
      const std::string place = Value(child(0), Binding::kUnary);
      const std::string value = CheckDivisor(node, Expression(child(1)), place);
      if (!IsOpenRemainder(node)) return Join({place, " ", mark, sign, "= ", value});
      return Join(
          {place, " ", mark, "= ", CallRemainder(GetDividendType(node), _resolved.converted[child(1)], place, value)});
    }
    case NodeKind::kConditional:
      binding = Binding::kConditional;
      return Join({Expression(child(0), Binding::kUnary), " ", mark, "? ", Expression(child(1), Binding::kUnary), " : ",
                   Expression(child(2), Binding::kUnary)});
    case NodeKind::kComma:
      binding = Binding::kComma;
      return Join({Value(child(0), Binding::kComma), mark, ", ", Expression(child(1))});
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      return mark + Construct(node, 1);
    case NodeKind::kMemberOf:
      if (meaning.kind == MeaningKind::kSwizzle) return mark + Swizzle(node);
      if (IsBoolComponent(node)) return BoolComponent(node);
      return Join({IsStoredSmall(node) ? "int(" : "", Expression(child(0), Binding::kPostfix), mark, MemberText(node),
                   IsStoredSmall(node) ? ")" : ""});
    case NodeKind::kIndex:
      if (IsBoolComponent(node)) return BoolComponent(node);
      if (IsMatrix(_resolved.converted[child(0)])) return mark + Column(node);
      if (_types.IsVector(_resolved.converted[child(0)]) && FindNumber(child(1)).value_or(4) < 4)
        return Join({Expression(child(0), Binding::kPostfix), mark, ".", GetComponentName(*FindNumber(child(1)))});
      if (IsElementOfTable(node)) return Join({mark, CallTable(node)});
      return Join({IsStoredSmall(node) ? "int(" : "", Value(child(0), Binding::kPostfix), mark, "[",
                   CheckIndex(node, Expression(child(1), Binding::kComma)), IsStoredSmall(node) ? "])" : "]"});
    case NodeKind::kInitializerList:
      if (_types.IsVector(_resolved.type[node]) || IsMatrix(_resolved.type[node])) return mark + Construct(node, 0);
      return Join({mark, "{", List(node, 0), "}"});
    case NodeKind::kCall:
      // Texels are uint.
      if (IsSmall(_resolved.type[node]) && meaning.kind == MeaningKind::kWord)
        return Join({mark, "int(", Call(node), ")"});
      return mark + Call(node);
    default:
      break;
  }
  Refuse(node, Join({"this use of \"", name, sign, "\""}));
  return "";
}

// What is computed before the statement is a value.
void PlainPrinter::CheckPlainPlace(NodeIndex place) {
  while (KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex) place = Child(place, 0);
  if (_hoisted.contains(place)) Refuse(place, "a place that is changed twice in one expression");
}

std::string PlainPrinter::MemberText(NodeIndex node) const {
  const Meaning& meaning = _resolved.meaning[node];
  const TypeIndex type = _resolved.type[Child(node, 0)];
  if (meaning.kind == MeaningKind::kComponent && _types.IsVector(type))
    return Join({".", GetComponentName(meaning.number)});
  if (meaning.kind == MeaningKind::kComponent && IsMatrix(type))
    return MakeColumn("", _types[type].count, meaning.number);
  if (meaning.kind == MeaningKind::kMember) return Join({".", NameOf(meaning.target)});
  return Join({".", _tree.GetName(node)});
}

std::string PlainPrinter::Name(NodeIndex node, Binding& binding) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind != MeaningKind::kVariable) return std::string(_tree.GetName(node));
  if (!_options.isForGpu || !_fileConstants.contains(meaning.target)) return NameOf(meaning.target);
  // Variables outside of functions mean something else in every language.
  const NodeIndex value = Child(meaning.target, 2);
  if (value == kNoNode || _types[_resolved.type[meaning.target]].kind == TypeKind::kArray) {
    Refuse(node, "a whole table in place of one of its numbers");
    return "";
  }
  binding = Binding::kPostfix;
  return Expression(value, Binding::kPostfix);
}

// Whether the indices lead from a table outside of functions to one of its numbers.
Bool PlainPrinter::IsElementOfTable(NodeIndex node) const {
  if (!_options.isForGpu || _types[_resolved.type[node]].kind == TypeKind::kArray) return false;
  while (KindOf(node) == NodeKind::kIndex && _types[_resolved.type[Child(node, 0)]].kind == TypeKind::kArray)
    node = Child(node, 0);
  return KindOf(node) == NodeKind::kName && _types[_resolved.type[node]].kind == TypeKind::kArray &&
         _fileConstants.contains(_resolved.meaning[node].target);
}

// A table of numbers is a function of their indices.
std::string PlainPrinter::CallTable(NodeIndex node) {
  std::vector<std::string> indices;
  const TypeIndex element = _resolved.type[node];
  for (; KindOf(node) == NodeKind::kIndex; node = Child(node, 0)) {
    const NodeIndex index = Child(node, 1);
    const std::string number = Expression(index, Binding::kComma);
    indices.insert(indices.begin(), _resolved.converted[index] == kIntType ? number : Join({"int(", number, ")"}));
  }
  const NodeIndex table = _resolved.meaning[node].target;
  const std::string name = Join({"ostra_table_", NameOf(table)});
  std::string body;
  if (!_helperNames.contains(name)) {
    std::string place = "values";
    for (std::size_t i = 0; i < indices.size(); ++i) place += Join({"[v", std::to_string(i), "]"});
    body = Join({"\tconst ", TypeName(element), " values", ArraySizes(_types, _resolved.type[table]), " = ",
                 Expression(Child(table, 2)), ";\n\treturn ", place, ";\n"});
  }
  return CallHelper(name, element, std::vector<TypeIndex>(indices.size(), kIntType), body, indices);
}

Bool PlainPrinter::IsChanged(NodeIndex parameter) const { return SetsArgument(_tree.nodes[parameter].flags); }

std::string PlainPrinter::Argument(NodeIndex call, std::size_t index) {
  const NodeIndex argument = Child(call, index);
  if (!IsChangedArgument(call, index) || KindOf(argument) == NodeKind::kName) return Expression(argument);
  CheckPlainPlace(argument);
  return call == _copyingCall && IsCopied(argument) ? CopyArgument(argument) : Expression(argument);
}

std::string PlainPrinter::Arguments(NodeIndex node) {
  std::string list;
  for (std::size_t i = 0; i < _tree.GetChildren(node).size(); ++i)
    list += Join({i == 0 ? "" : ", ", Argument(node, i)});
  return list;
}

std::string PlainPrinter::Call(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kWord && meaning.word >= WordId::kLessThan && meaning.word <= WordId::kNot)
    return CallOfBools(node);
  if (meaning.kind == MeaningKind::kWord && IsGroupWord(meaning.word)) return CallOfGroup(node);
  if (meaning.kind == MeaningKind::kWord && IsLibraryWord(meaning.word)) return CallOfLibrary(node);
  if (meaning.kind == MeaningKind::kWord && !_tree.GetChildren(node).empty()) {
    const auto operands = _tree.GetChildren(node);
    const auto isSmall = [&](NodeIndex operand) {
      const TypeIndex type = _resolved.converted[operand];
      return IsMatrix(type) && _types[type].count == 2;
    };
    if (meaning.word == WordId::kMul && operands.size() == 2)
      return MultiplyMatrix(_resolved.type[node], {operands[0], _resolved.converted[operands[0]]},
                            {operands[1], _resolved.converted[operands[1]]});
    if (isSmall(operands[0])) return CallOfSmallMatrix(node);
  }
  if (NeedsCheck(node))
    return Join({_tree.GetName(node), "(", Expression(Child(node, 0)), ", ", Expression(Child(node, 1)), ", ",
                 CheckLayer(node, Expression(Child(node, 2))), ")"});
  if (meaning.kind == MeaningKind::kWord && meaning.word == WordId::kRenderNoise)
    return Join({"RenderNoise(", NoiseNumber(Child(node, 0)), ", ", List(node, 1), ")"});
  if (meaning.kind != MeaningKind::kFunction) return Join({_tree.GetName(node), "(", List(node, 0), ")"});
  std::string arguments = Arguments(node);
  // Arguments that are not given.
  const auto parameters = _tree.GetChildren(meaning.target);
  for (std::size_t i = _tree.GetChildren(node).size() + 1; i + 1 < parameters.size(); ++i) {
    const NodeIndex value = Child(parameters[i], 2);
    if (value == kNoNode) continue;
    arguments += Join({arguments.empty() ? "" : ", ", Expression(value)});
  }
  if (_reportingFunctions.contains(meaning.target)) arguments += Join({arguments.empty() ? "" : ", ", "ostraState"});
  return Join({NameOf(meaning.target), "(", arguments, ")"});
}

}  // namespace ostra::kernellanguage
