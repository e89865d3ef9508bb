// The types of the kernel language. A type is an index into a TypeTable, equal indices are equal types.
//
//   TypeTable types;
//   const TypeIndex colour = GetVectorType(Scalar::kFloat32, 4);      // the same in every table
//   types[colour].kind == TypeKind::kVector;  types.GetName(colour) == "vec4"
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

using TypeIndex = UInt32;

enum class Scalar : UInt8 {
  kBool,
  kInt8,
  kUInt8,
  kInt16,
  kUInt16,
  kInt32,
  kUInt32,
  kInt64,
  kUInt64,
  kHalf,
  kFloat32,
  kFloat64,
};
inline constexpr UInt32 kScalarCount = 12;

enum class TypeKind : UInt8 {
  kUnknown,  // of expressions with a mistake in them: nothing more is said about those
  kVoid,
  kScalar,  // scalar
  kVector,  // scalar; count: 2 to 4
  kMatrix,  // columns of Float32; count: 2 to 4 (mat2, mat3, mat4); mat2 is no type of the plain form
  kAffineMatrix,
  kStruct,    // declaration
  kArray,     // element; count
  kBuffer,    // element; isConst: a Block or BaseArray parameter
  kTexture,   // dimensions, count: channels, scalar: of texels (Float32, UInt8, UInt16, Int32), isLinear
  kCounter,   // an AtomicUInt32 parameter
  kGradient,  // GradientRenderData
  kList,      // of a { } before it is known what it initializes
};

struct Type {
  TypeKind kind = TypeKind::kUnknown;
  Scalar scalar = Scalar::kFloat32;
  UInt8 dimensions = 0;
  Bool isConst = false;
  Bool isLinear = false;
  UInt32 count = 1;
  TypeIndex element = 0;
  UInt32 declaration = 0xffffffffu;  // the kStruct node
  friend Bool operator==(const Type&, const Type&) = default;
};

inline constexpr TypeIndex kUnknownType = 0, kVoidType = 1, kListType = 2, kMatrix3Type = 3, kMatrix4Type = 4,
                           kAffineMatrixType = 5, kGradientType = 6, kCounterType = 7, kMatrix2Type = 8;
inline constexpr TypeIndex kFirstScalarType = 9;
inline constexpr TypeIndex kFirstVectorType = kFirstScalarType + kScalarCount;

constexpr TypeIndex GetScalarType(Scalar scalar) { return kFirstScalarType + static_cast<TypeIndex>(scalar); }
// `count` components, 1 to 4: of 1 the scalar.
constexpr TypeIndex GetVectorType(Scalar scalar, UInt32 count) {
  return count == 1 ? GetScalarType(scalar)
                    : kFirstVectorType + 3 * static_cast<TypeIndex>(scalar) + static_cast<TypeIndex>(count) - 2;
}
inline constexpr TypeIndex kBoolType = GetScalarType(Scalar::kBool), kIntType = GetScalarType(Scalar::kInt32),
                           kUIntType = GetScalarType(Scalar::kUInt32), kFloatType = GetScalarType(Scalar::kFloat32),
                           kHalfType = GetScalarType(Scalar::kHalf), kDoubleType = GetScalarType(Scalar::kFloat64);

Bool IsFloating(Scalar scalar);  // half, float, double
Bool IsSignedInteger(Scalar scalar);
constexpr Bool IsLongInteger(Scalar scalar) { return scalar == Scalar::kInt64 || scalar == Scalar::kUInt64; }
Bool IsInteger(Scalar scalar);               // bool, too
UInt32 GetSize(Scalar scalar);               // bytes
UInt32 GetSize(const Type& type);            // of numbers, vectors and matrices without gaps; 0: of others
std::string_view GetName(Scalar scalar);     // the short word of the language: "float", "uint"; "Int64" where none is
std::string_view GetCppName(Scalar scalar);  // "Float32"

class TypeTable {
 public:
  TypeTable();
  const Type& operator[](TypeIndex type) const { return _types[type]; }
  UInt32 GetCount() const { return static_cast<UInt32>(_types.size()); }

  TypeIndex GetArray(TypeIndex element, UInt32 count);
  TypeIndex GetBuffer(TypeIndex element, Bool isConst);
  TypeIndex GetTexture(UInt8 dimensions, UInt32 channels, Scalar texel, Bool isLinear);
  TypeIndex AddStruct(UInt32 declaration, std::string_view name);

  // "vec3", "float[4]", "Block<uint>".
  std::string GetName(TypeIndex type) const;

  Bool IsScalar(TypeIndex type) const { return _types[type].kind == TypeKind::kScalar; }
  Bool IsVector(TypeIndex type) const { return _types[type].kind == TypeKind::kVector; }

 private:
  TypeIndex Find(const Type& type);
  std::string GetArrayName(TypeIndex array) const;

  std::vector<Type> _types;
  std::vector<std::string> _structNames;  // of the structs, found by Type::count
};

// The type that a word names by itself: "float", "Vector4d32", "mat3", "UInt32"; kUnknownType for others.
TypeIndex FindTypeWord(std::string_view word);
// The same as a value; of the kind kUnknown for others.
const Type& GetWordType(std::string_view word);
// Whether such a word is not of the plain form: "ivec2", "mat2".
Bool IsExtendedType(std::string_view word);
// The scalar that Vec2<word> has; false for others.
Bool FindElementWord(std::string_view word, Scalar& scalar);
// "TextureSampler_2D_RGBA_F32_LINEAR"; false for words that are no such type.
Bool ParseTextureType(std::string_view word, Type& type);

// Whether no shading language has the vector, or not all: of integers other than 32 bits, of 64-bit floats.
constexpr Bool IsCpuVector(const Type& type) {
  if (type.kind != TypeKind::kVector || type.scalar == Scalar::kBool || type.scalar == Scalar::kHalf) return false;
  return type.scalar != Scalar::kInt32 && type.scalar != Scalar::kUInt32 && type.scalar != Scalar::kFloat32;
}

// Whether a parameter of the type is declared with floats for GPUs.
constexpr Bool IsWidenedUniform(TypeIndex type) {
  return type == kHalfType || (type >= GetVectorType(Scalar::kHalf, 2) && type <= GetVectorType(Scalar::kHalf, 4));
}

}  // namespace ostra::kernellanguage
