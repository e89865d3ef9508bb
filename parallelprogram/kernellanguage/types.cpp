#include "parallelprogram/kernellanguage/types.h"
#include "parallelprogram/kernellanguage/join.h"

#include <iterator>

namespace ostra::kernellanguage {
namespace {

struct ScalarRecord {
  std::string_view name, cppName;
  UInt8 size;
  Bool isFloating, isSigned;
};
constexpr ScalarRecord kScalars[kScalarCount] = {
    {"bool", "Bool", 1, false, false},    {"Int8", "Int8", 1, false, true},      {"UInt8", "UInt8", 1, false, false},
    {"Int16", "Int16", 2, false, true},   {"UInt16", "UInt16", 2, false, false}, {"int", "Int32", 4, false, true},
    {"uint", "UInt32", 4, false, false},  {"Int64", "Int64", 8, false, true},    {"UInt64", "UInt64", 8, false, false},
    {"half", "HalfFloat", 2, true, true}, {"float", "Float32", 4, true, true},   {"double", "Float64", 8, true, true},
};
const ScalarRecord& GetRecord(Scalar scalar) { return kScalars[static_cast<std::size_t>(scalar)]; }

struct TypeWord {
  std::string_view word;
  TypeIndex type;
};
constexpr TypeWord kTypeWords[] = {
    {"void", kVoidType},
    {"bool", kBoolType},
    {"Bool", kBoolType},
    {"Int8", GetScalarType(Scalar::kInt8)},
    {"UInt8", GetScalarType(Scalar::kUInt8)},
    {"Byte", GetScalarType(Scalar::kUInt8)},
    {"Int16", GetScalarType(Scalar::kInt16)},
    {"UInt16", GetScalarType(Scalar::kUInt16)},
    {"int", kIntType},
    {"Int32", kIntType},
    {"uint", kUIntType},
    {"UInt32", kUIntType},
    {"Int64", GetScalarType(Scalar::kInt64)},
    {"Int", GetScalarType(Scalar::kInt64)},
    {"UInt64", GetScalarType(Scalar::kUInt64)},
    {"int8_t", GetScalarType(Scalar::kInt8)},
    {"uint8_t", GetScalarType(Scalar::kUInt8)},
    {"int16_t", GetScalarType(Scalar::kInt16)},
    {"uint16_t", GetScalarType(Scalar::kUInt16)},
    {"int64_t", GetScalarType(Scalar::kInt64)},
    {"uint64_t", GetScalarType(Scalar::kUInt64)},
    {"half", kHalfType},
    {"HalfFloat", kHalfType},
    {"float", kFloatType},
    {"Float32", kFloatType},
    {"double", kDoubleType},
    {"Float64", kDoubleType},
    {"vec2", GetVectorType(Scalar::kFloat32, 2)},
    {"vec3", GetVectorType(Scalar::kFloat32, 3)},
    {"vec4", GetVectorType(Scalar::kFloat32, 4)},
    {"float2", GetVectorType(Scalar::kFloat32, 2)},
    {"float3", GetVectorType(Scalar::kFloat32, 3)},
    {"float4", GetVectorType(Scalar::kFloat32, 4)},
    {"int2", GetVectorType(Scalar::kInt32, 2)},
    {"int3", GetVectorType(Scalar::kInt32, 3)},
    {"int4", GetVectorType(Scalar::kInt32, 4)},
    {"uint2", GetVectorType(Scalar::kUInt32, 2)},
    {"uint3", GetVectorType(Scalar::kUInt32, 3)},
    {"uint4", GetVectorType(Scalar::kUInt32, 4)},
    {"ivec2", GetVectorType(Scalar::kInt32, 2)},
    {"ivec3", GetVectorType(Scalar::kInt32, 3)},
    {"ivec4", GetVectorType(Scalar::kInt32, 4)},
    {"uvec2", GetVectorType(Scalar::kUInt32, 2)},
    {"uvec3", GetVectorType(Scalar::kUInt32, 3)},
    {"uvec4", GetVectorType(Scalar::kUInt32, 4)},
    {"bvec2", GetVectorType(Scalar::kBool, 2)},
    {"bvec3", GetVectorType(Scalar::kBool, 3)},
    {"bvec4", GetVectorType(Scalar::kBool, 4)},
    {"bool2", GetVectorType(Scalar::kBool, 2)},
    {"bool3", GetVectorType(Scalar::kBool, 3)},
    {"bool4", GetVectorType(Scalar::kBool, 4)},
    {"half2", GetVectorType(Scalar::kHalf, 2)},
    {"half3", GetVectorType(Scalar::kHalf, 3)},
    {"half4", GetVectorType(Scalar::kHalf, 4)},
    {"Vector2d32", GetVectorType(Scalar::kFloat32, 2)},
    {"Vector32", GetVectorType(Scalar::kFloat32, 3)},
    {"Vector4d32", GetVectorType(Scalar::kFloat32, 4)},
    {"IntVector4d32", GetVectorType(Scalar::kInt32, 4)},
    {"mat2", kMatrix2Type},
    {"mat3", kMatrix3Type},
    {"sqmat", kMatrix3Type},
    {"SquareMatrix32", kMatrix3Type},
    {"mat4", kMatrix4Type},
    {"SquareMatrix4d32", kMatrix4Type},
    {"Matrix32", kMatrix4Type},
    {"AffineMatrix32", kAffineMatrixType},
    {"GradientRenderData", kGradientType},
    {"AtomicUInt32", kCounterType},
};

}  // namespace

Bool IsFloating(Scalar scalar) { return GetRecord(scalar).isFloating; }
Bool IsInteger(Scalar scalar) { return !GetRecord(scalar).isFloating; }
Bool IsSignedInteger(Scalar scalar) { return !GetRecord(scalar).isFloating && GetRecord(scalar).isSigned; }
UInt32 GetSize(Scalar scalar) { return GetRecord(scalar).size; }

UInt32 GetSize(const Type& type) {
  switch (type.kind) {
    case TypeKind::kScalar:
      return GetSize(type.scalar);
    case TypeKind::kVector:
      return GetSize(type.scalar) * type.count;
    case TypeKind::kMatrix:
      return GetSize(type.scalar) * type.count * type.count;
    case TypeKind::kAffineMatrix:
      return GetSize(type.scalar) * 12;
    default:
      return 0;
  }
}
std::string_view GetName(Scalar scalar) { return GetRecord(scalar).name; }
std::string_view GetCppName(Scalar scalar) { return GetRecord(scalar).cppName; }

TypeTable::TypeTable() {
  // In the order of the constants of types.h.
  _types.push_back({.kind = TypeKind::kUnknown});
  _types.push_back({.kind = TypeKind::kVoid});
  _types.push_back({.kind = TypeKind::kList});
  _types.push_back({.kind = TypeKind::kMatrix, .count = 3});
  _types.push_back({.kind = TypeKind::kMatrix, .count = 4});
  _types.push_back({.kind = TypeKind::kAffineMatrix});
  _types.push_back({.kind = TypeKind::kGradient});
  _types.push_back({.kind = TypeKind::kCounter});
  _types.push_back({.kind = TypeKind::kMatrix, .count = 2});
  for (UInt32 i = 0; i < kScalarCount; ++i)
    _types.push_back({.kind = TypeKind::kScalar, .scalar = static_cast<Scalar>(i)});
  for (UInt32 i = 0; i < kScalarCount; ++i) {
    for (UInt32 count = 2; count <= 4; ++count)
      _types.push_back({.kind = TypeKind::kVector, .scalar = static_cast<Scalar>(i), .count = count});
  }
}

TypeIndex TypeTable::Find(const Type& type) {
  for (TypeIndex i = 0; i < _types.size(); ++i) {
    if (_types[i] == type) return i;
  }
  _types.push_back(type);
  return static_cast<TypeIndex>(_types.size() - 1);
}

TypeIndex TypeTable::GetArray(TypeIndex element, UInt32 count) {
  return Find({.kind = TypeKind::kArray, .count = count, .element = element});
}
TypeIndex TypeTable::GetBuffer(TypeIndex element, Bool isConst) {
  return Find({.kind = TypeKind::kBuffer, .isConst = isConst, .element = element});
}
TypeIndex TypeTable::GetTexture(UInt8 dimensions, UInt32 channels, Scalar texel, Bool isLinear) {
  return Find(
      {.kind = TypeKind::kTexture, .scalar = texel, .dimensions = dimensions, .isLinear = isLinear, .count = channels});
}
TypeIndex TypeTable::AddStruct(UInt32 declaration, std::string_view name) {
  _structNames.emplace_back(name);
  return Find(
      {.kind = TypeKind::kStruct, .count = static_cast<UInt32>(_structNames.size() - 1), .declaration = declaration});
}

namespace {

std::string GetVectorName(const Type& type) {
  const std::string count = std::to_string(type.count);
  if (type.scalar == Scalar::kFloat32) return Join({"vec", count});
  if (type.scalar == Scalar::kBool) return Join({"bvec", count});
  const Bool isShort = type.scalar == Scalar::kInt32 || type.scalar == Scalar::kUInt32 || type.scalar == Scalar::kHalf;
  return isShort ? Join({GetName(type.scalar), count}) : Join({"Vec", count, "<", GetCppName(type.scalar), ">"});
}

std::string GetTextureName(const Type& type) {
  constexpr std::string_view kChannels[] = {"", "R", "RG", "RGB", "RGBA"};
  const std::string_view texel = type.scalar == Scalar::kFloat32 ? "F32"
                                 : type.scalar == Scalar::kUInt8 ? "U8"
                                 : type.scalar == Scalar::kInt32 ? "I32"
                                                                 : "U16";
  return Join({"TextureSampler_", std::to_string(type.dimensions), "D_", kChannels[type.count], "_", texel,
               type.isLinear ? "_LINEAR" : "_POINT"});
}

}  // namespace

std::string TypeTable::GetArrayName(TypeIndex array) const {
  // The element of int[2][3], two of three, is int[3].
  std::string dimensions;
  TypeIndex element = array;
  for (; _types[element].kind == TypeKind::kArray; element = _types[element].element)
    dimensions += Join({"[", std::to_string(_types[element].count), "]"});
  return GetName(element) + dimensions;
}

std::string TypeTable::GetName(TypeIndex index) const {
  const Type& type = _types[index];
  switch (type.kind) {
    case TypeKind::kUnknown:
      return "?";
    case TypeKind::kVoid:
      return "void";
    case TypeKind::kList:
      return "{}";
    case TypeKind::kScalar:
      return std::string(kernellanguage::GetName(type.scalar));
    case TypeKind::kVector:
      return GetVectorName(type);
    case TypeKind::kMatrix:
      return Join({"mat", std::to_string(type.count)});
    case TypeKind::kAffineMatrix:
      return "AffineMatrix32";
    case TypeKind::kGradient:
      return "GradientRenderData";
    case TypeKind::kCounter:
      return "AtomicUInt32";
    case TypeKind::kStruct:
      return _structNames[type.count];
    case TypeKind::kArray:
      return GetArrayName(index);
    case TypeKind::kBuffer:
      return Join({type.isConst ? "const Block<" : "Block<", GetName(type.element), ">"});
    case TypeKind::kTexture:
      return GetTextureName(type);
  }
  return "?";
}

TypeIndex FindTypeWord(std::string_view word) {
  for (const TypeWord& entry : kTypeWords) {
    if (entry.word == word) return entry.type;
  }
  return kUnknownType;
}

const Type& GetWordType(std::string_view word) {
  static const TypeTable types;
  return types[FindTypeWord(word)];
}

Bool IsExtendedType(std::string_view word) {
  if (word == "mat2" || (word.ends_with("_t") && FindTypeWord(word) != kUnknownType)) return true;
  const std::string_view family = word.substr(0, word.empty() ? 0 : word.size() - 1);
  const Bool isBools = family == "bvec" || family == "bool";
  return FindTypeWord(word) != kUnknownType && (isBools || family == "ivec" || family == "uvec");
}

Bool FindElementWord(std::string_view word, Scalar& scalar) {
  const TypeIndex type = FindTypeWord(word);
  if (type < kFirstScalarType || type >= kFirstVectorType) return false;
  scalar = static_cast<Scalar>(type - kFirstScalarType);
  return true;
}

Bool ParseTextureType(std::string_view word, Type& type) {
  constexpr std::string_view kPrefix = "TextureSampler_";
  if (!word.starts_with(kPrefix)) return false;
  word.remove_prefix(kPrefix.size());
  if (word.size() < 3 || word[0] < '1' || word[0] > '3' || word[1] != 'D' || word[2] != '_') return false;
  const auto dimensions = static_cast<UInt8>(word[0] - '0');
  struct Kind {
    std::string_view name;
    UInt32 channels;
    Scalar scalar;
    Bool isLinear;
  };
  // Those that kernels on the CPU read.
  constexpr Kind kKinds[] = {
      {"R_U8_POINT", 1, Scalar::kUInt8, false},       {"R_U16_POINT", 1, Scalar::kUInt16, false},
      {"R_I32_POINT", 1, Scalar::kInt32, false},      {"R_S32_POINT", 1, Scalar::kInt32, false},
      {"R_F32_POINT", 1, Scalar::kFloat32, false},    {"R_F32_LINEAR", 1, Scalar::kFloat32, true},
      {"RG_F32_LINEAR", 2, Scalar::kFloat32, true},   {"RGB_F32_LINEAR", 3, Scalar::kFloat32, true},
      {"RGBA_F32_LINEAR", 4, Scalar::kFloat32, true},
  };
  for (const Kind& kind : kKinds) {
    if (word.substr(3) != kind.name) continue;
    type = {.kind = TypeKind::kTexture,
            .scalar = kind.scalar,
            .dimensions = dimensions,
            .isLinear = kind.isLinear,
            .count = kind.channels};
    return true;
  }
  return false;
}

}  // namespace ostra::kernellanguage
