#include <algorithm>

#include "parallelprogram/kernellanguage/conversions.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/resolver.h"

namespace ostra::kernellanguage {
namespace {

struct Swizzle {
  UInt32 count = 0;       // 0: there are no such components
  UInt32 components = 0;  // 2 bits each
  Bool isExtension = false, isPrintable = false;
};

// The components of halves of a vector; the name itself for others.
std::string_view GetHalf(std::string_view name, UInt32 width) {
  if (width == 2) return name == "lo" || name == "even" ? "x" : name == "hi" || name == "odd" ? "y" : name;
  if (width != 4) return name;
  return name == "lo" ? "xy" : name == "hi" ? "zw" : name == "even" ? "xz" : name == "odd" ? "yw" : name;
}

// Components of a vector with `width` of them: "xy", "bgr", "s0", "lo"; all letters are of one set.
Swizzle ReadSwizzle(std::string_view word, UInt32 width) {
  const std::string_view name = GetHalf(word, width);
  const Bool isHalf = name.data() != word.data();
  constexpr std::string_view kSets[] = {"xyzw", "rgba", "stpq", "0123"};
  for (const std::string_view set : kSets) {
    const Bool isNumbers = set == "0123";
    std::string_view letters = name;
    if (isNumbers && (letters.size() < 2 || (letters[0] != 's' && letters[0] != 'S'))) continue;
    if (isNumbers) letters.remove_prefix(1);
    if (letters.empty() || letters.size() > 4) continue;
    Swizzle swizzle;
    for (const char letter : letters) {
      const std::size_t component = set.find(letter);
      if (component >= width) break;
      swizzle.components |= static_cast<UInt32>(component) << (2 * swizzle.count++);
    }
    if (swizzle.count != letters.size()) continue;
    // The components of vectors in C++ have the first three names, too.
    swizzle.isPrintable = swizzle.count == 1 && !isNumbers && !isHalf;
    swizzle.isExtension = !swizzle.isPrintable || set == "stpq";
    return swizzle;
  }
  return {};
}

// Whether a kSwizzle names a component twice.
Bool HasRepetition(UInt32 number) {
  UInt32 seen = 0;
  for (UInt32 i = 0; i < GetSwizzleCount(number); ++i) {
    const UInt32 bit = 1u << GetSwizzleComponent(number, i);
    if (seen & bit) return true;
    seen |= bit;
  }
  return false;
}

}  // namespace

TypeIndex Resolver::Expression(NodeIndex node) {
  if (IsStopped()) return kUnknownType;
  const TypeIndex type = ExpressionItself(node);
  _resolved.type[node] = _resolved.converted[node] = type;
  return type;
}

TypeIndex Resolver::ExpressionItself(NodeIndex node) {
  switch (_tree.nodes[node].kind) {
    case NodeKind::kLiteral:
      return Literal(node);
    case NodeKind::kName:
      return Name(node);
    case NodeKind::kUniform:
    case NodeKind::kBuffer:
      return ParameterWord(node);
    case NodeKind::kLocalData:
      return LocalData(node);
    case NodeKind::kUnary: {
      const Operation operation = _tree.nodes[node].operation;
      return operation == Operation::kIncrement || operation == Operation::kDecrement ? Step(node) : Unary(node);
    }
    case NodeKind::kPostfix:
      return Step(node);
    case NodeKind::kBinary:
      return Binary(node);
    case NodeKind::kAssign:
      return Assign(node);
    case NodeKind::kConditional:
      return Conditional(node);
    case NodeKind::kComma:
      Expression(_tree.GetChild(node, 0));
      return Expression(_tree.GetChild(node, 1));
    case NodeKind::kCall:
      return Call(node);
    case NodeKind::kConstruct:
      return Construct(node);
    case NodeKind::kCast:
      return Cast(node);
    case NodeKind::kMemberOf:
      return MemberOf(node);
    case NodeKind::kIndex:
      return Index(node);
    default:
      return Stop(node, "this expression");
  }
}

TypeIndex Resolver::Literal(NodeIndex node) {
  LiteralValue value;
  if (!ParseLiteral(NameOf(node), value)) return Stop(node, Join({"the number ", NameOf(node)}));
  // Shading languages write these differently, or not at all.
  if (value.scalar == Scalar::kInt64 || value.scalar == Scalar::kUInt64) Extend(node, true);
  return GetScalarType(value.scalar);
}

TypeIndex Resolver::Name(NodeIndex node) {
  Meaning& meaning = _resolved.meaning[node];
  if (const NodeIndex variable = FindVariable(node); variable != kNoNode) {
    meaning = {.kind = MeaningKind::kVariable, .target = variable};
    _resolved.isPlace[node] = true;
    return _resolved.type[variable];
  }
  const std::string_view name = NameOf(node);
  if (_functions.contains(name)) return Stop(node, "a function without its arguments");
  const Word* word = FindWord(name);
  if (word && word->kind == WordKind::kValue) {
    if (!_isInKernel) return Stop(node, Join({name, " outside of the kernel's body"}));
    meaning = {.kind = MeaningKind::kWord, .word = word->id};
    _resolved.isPlace[node] = true;
    return GetVectorType(Scalar::kUInt32, 3);
  }
  if (const NodeIndex parameter = FindParameter(name); parameter != kNoNode) {
    const TypeIndex type = _resolved.type[parameter];
    if (!_isInKernel || type == kCounterType) return Stop(node, "a parameter by its bare name");
    const std::string_view form = Get(type).kind == TypeKind::kBuffer ? "UNIFORM_BUFFER(" : "UNIFORM(";
    return Fail(node, Join({"the parameter \"", name, "\" is reached with ", form, name, ")"}));
  }
  if (word) return Stop(node, Join({"this use of \"", name, "\""}));
  return FailUnknownName(node, false);
}

TypeIndex Resolver::ParameterWord(NodeIndex node) {
  const Bool isBuffer = _tree.Is(node, NodeKind::kBuffer);
  const std::string_view name = NameOf(node), word = isBuffer ? "UNIFORM_BUFFER" : "UNIFORM";
  if (!_isInKernel) return Stop(node, Join({word, " outside of the kernel's body"}));
  const NodeIndex parameter = FindParameter(name);
  if (parameter == kNoNode) return FailUnknownName(node, false);
  const TypeIndex type = _resolved.type[parameter];
  _resolved.meaning[node] = {.kind = MeaningKind::kParameter, .target = parameter};
  _resolved.isPlace[node] = true;
  const TypeKind kind = Get(type).kind;
  if (isBuffer != (kind == TypeKind::kBuffer)) {
    if (isBuffer && (kind == TypeKind::kScalar || kind == TypeKind::kMatrix))
      return Fail(node, Join({"\"", name, "\" is no buffer but a ", TypeName(type)}));
    if (kind == TypeKind::kBuffer)
      return Fail(node, Join({"\"", name, "\" is a buffer, reached with UNIFORM_BUFFER(", name, ")"}));
    return Stop(node, Join({word, " of a parameter of this kind"}));
  }
  if (kind == TypeKind::kTexture || kind == TypeKind::kCounter)
    return Stop(node, Join({word, " of a parameter of this kind"}));
  return type;
}

// On the CPU the element of the buffer; the index in group memory is not looked at.
TypeIndex Resolver::LocalData(NodeIndex node) {
  ++_silence;
  Expression(_tree.GetChild(node, 0));
  --_silence;
  const TypeIndex index = Expression(_tree.GetChild(node, 1));
  if (!_isInKernel) return Stop(node, "LOCALDATA outside of the kernel's body");
  const NodeIndex parameter = FindParameter(NameOf(node));
  if (parameter == kNoNode) return FailUnknownName(node, false);
  const TypeIndex type = _resolved.type[parameter];
  if (Get(type).kind != TypeKind::kBuffer) return Stop(node, "LOCALDATA of a parameter of this kind");
  if (index != kUnknownType && (!IsScalar(index) || !IsInteger(Get(index).scalar)))
    return Stop(node, "an index of this type");
  _resolved.meaning[node] = {.kind = MeaningKind::kParameter, .target = parameter};
  _resolved.isPlace[node] = true;
  return Get(type).element;
}

TypeIndex Resolver::MemberOf(NodeIndex node) {
  const NodeIndex operand = _tree.GetChild(node, 0);
  const TypeIndex type = Expression(operand);
  if (type == kUnknownType || IsStopped()) return kUnknownType;
  const std::string_view name = NameOf(node);
  const Type kind = Get(type);
  Meaning& meaning = _resolved.meaning[node];
  _resolved.isPlace[node] = _resolved.isPlace[operand];
  if (kind.kind == TypeKind::kVector) {
    const Swizzle swizzle = ReadSwizzle(name, kind.count);
    if (swizzle.count == 0) return Fail(node, Join({"a ", TypeName(type), " has no component \"", name, "\""}));
    if (swizzle.isExtension) Extend(node, swizzle.isPrintable);
    if (swizzle.count == 1) {
      meaning = {.kind = MeaningKind::kComponent, .number = swizzle.components};
    } else {
      meaning = {.kind = MeaningKind::kSwizzle, .number = swizzle.components | swizzle.count << 8};
    }
    return GetVectorType(kind.scalar, swizzle.count);
  }
  if (kind.kind == TypeKind::kMatrix || kind.kind == TypeKind::kAffineMatrix) {
    const Bool isAffine = kind.kind == TypeKind::kAffineMatrix;
    const UInt32 number = name == "off"                        ? 0
                          : name.size() == 2 && name[0] == 'v' ? static_cast<UInt32>(name[1] - '0')
                                                               : 9;
    const Bool isKnown =
        isAffine ? (name == "off" || (number >= 1 && number <= 3)) : (name != "off" && number < kind.count);
    if (!isKnown) return Fail(node, Join({"a ", TypeName(type), " has no column \"", name, "\""}));
    meaning = {.kind = MeaningKind::kComponent, .number = number};
    return GetVectorType(Scalar::kFloat32, isAffine ? 3 : kind.count);
  }
  if (kind.kind != TypeKind::kStruct) {
    if (kind.kind == TypeKind::kScalar) return Fail(node, Join({"a ", TypeName(type), " has no components"}));
    return Stop(node, Join({"a member of a ", TypeName(type)}));
  }
  const auto members = _tree.GetChildren(kind.declaration);
  for (UInt32 i = 0; i < members.size(); ++i) {
    if (NameOf(members[i]) != name) continue;
    meaning = {.kind = MeaningKind::kMember, .number = i, .target = members[i]};
    return _resolved.type[members[i]];
  }
  return Fail(node, Join({"a ", TypeName(type), " has no member \"", name, "\""}),
              {{GetOffset(kind.declaration), Join({TypeName(type), " is declared here"})}});
}

TypeIndex Resolver::Index(NodeIndex node) {
  const NodeIndex operand = _tree.GetChild(node, 0), index = _tree.GetChild(node, 1);
  const TypeIndex type = Expression(operand), indexType = Expression(index);
  if (type == kUnknownType || indexType == kUnknownType || IsStopped()) return kUnknownType;
  const Type kind = Get(type);
  const Bool isInteger = IsScalar(indexType) && IsInteger(Get(indexType).scalar);
  if (kind.kind == TypeKind::kVector) {
    if (!isInteger) return Stop(index, Join({"an index of type ", TypeName(indexType)}));
    _resolved.isPlace[node] = _resolved.isPlace[operand];
    SetConverted(index, kIntType);
    return GetScalarType(kind.scalar);
  }
  if (kind.kind == TypeKind::kMatrix && isInteger) {
    Extend(node);
    _resolved.isPlace[node] = _resolved.isPlace[operand];
    SetConverted(index, kIntType);
    return GetVectorType(Scalar::kFloat32, kind.count);
  }
  if (kind.kind != TypeKind::kArray && kind.kind != TypeKind::kBuffer && kind.kind != TypeKind::kMatrix)
    return Fail(node, Join({"a ", TypeName(type), " has no elements"}));
  if (!isInteger) {
    // Checked accesses to buffers take every number.
    const Bool isOfBuffer = kind.kind == TypeKind::kBuffer && IsScalar(indexType);
    if (isOfBuffer || indexType == kHalfType) return Stop(index, Join({"an index of type ", TypeName(indexType)}));
    return Fail(index, Join({"an index must be a whole number, not a ", TypeName(indexType)}));
  }
  _resolved.isPlace[node] = true;
  return kind.element;
}

Bool Resolver::Convert(NodeIndex node, TypeIndex type, std::string_view what) {
  const TypeIndex given = _resolved.type[node];
  if (given == kUnknownType || type == kUnknownType) return false;
  switch (GetConversion(_resolved.types, given, type)) {
    case ConversionRank::kExact:
      return true;
    case ConversionRank::kCut:
    case ConversionRank::kNone:
      break;
    default:
      if (IsVector(type) && (Get(type).scalar == Scalar::kHalf || Get(given).scalar == Scalar::kHalf)) Extend(node);
      SetConverted(node, type);
      return true;
  }
  // A number for all components, a number that is rounded.
  if (IsScalar(given) && given != kBoolType && (IsVector(type) || type == kHalfType)) {
    Extend(node);
    SetConverted(node, type);
    return true;
  }
  FailConversion(node, type, what);
  return false;
}

TypeIndex Resolver::FailConversion(NodeIndex node, TypeIndex type, std::string_view what) {
  const TypeIndex given = _resolved.type[node];
  const Bool isCut = IsVector(given) && IsVector(type) && Get(given).count > Get(type).count;
  const std::string hint = IsScalar(given) && IsVector(type) ? Join({"; write ", TypeName(type), "(...)"})
                           : isCut ? Join({"; write .", std::string_view("xyzw").substr(0, Get(type).count)})
                                   : "";
  return Fail(node, Join({what, " is a ", TypeName(type), ", this is a ", TypeName(given), hint}));
}

std::string Resolver::GetConstReason(NodeIndex node) const {
  const Meaning& meaning = _resolved.meaning[node];
  switch (_tree.nodes[node].kind) {
    case NodeKind::kMemberOf:
      if (meaning.kind == MeaningKind::kSwizzle && HasRepetition(meaning.number))
        return Join({"\".", NameOf(node), "\" names a component twice: it cannot be changed"});
      return GetConstReason(_tree.GetChild(node, 0));
    case NodeKind::kIndex:
      return GetConstReason(_tree.GetChild(node, 0));
    case NodeKind::kUniform:
      return Join({"UNIFORM(", NameOf(node), ") cannot be changed in a kernel"});
    case NodeKind::kBuffer:
    case NodeKind::kLocalData: {
      const TypeIndex type = _resolved.type[meaning.target];
      return Get(type).isConst ? Join({"the buffer \"", NameOf(node), "\" is declared const"}) : std::string();
    }
    case NodeKind::kName:
      if (meaning.kind == MeaningKind::kWord) return Join({NameOf(node), " cannot be changed"});
      return _tree.HasFlag(meaning.target, kIsConst) ? Join({"\"", NameOf(node), "\" is const"}) : std::string();
    default:
      return "";
  }
}

Bool Resolver::CheckPlace(NodeIndex node, std::string_view what) {
  if (!_resolved.isPlace[node]) {
    const Bool isPlainValue = IsScalar(_resolved.type[node]) && !_tree.Is(node, NodeKind::kConditional);
    const Bool isOfClass = _tree.Is(node, NodeKind::kMemberOf) || _tree.Is(node, NodeKind::kIndex);
    if (isPlainValue && !isOfClass)
      Fail(node, Join({what, " needs a variable, not a value"}));
    else
      Stop(node, Join({what, " to this value"}));
    return false;
  }
  const std::string reason = GetConstReason(node);
  if (reason.empty()) return true;
  Fail(node, reason);
  return false;
}

}  // namespace ostra::kernellanguage
