#include "parallelprogram/kernelfront/type_names.h"

#include <algorithm>
#include <iterator>

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernelfront/failure.h"

namespace ostra::kernelfront {
namespace {

// What may be meant comes first.
constexpr std::string_view kParameterTypes[] = {"Float32",
                                                "Float64",
                                                "Int32",
                                                "UInt32",
                                                "Int64",
                                                "UInt64",
                                                "Int16",
                                                "UInt16",
                                                "Int8",
                                                "UInt8",
                                                "Int",
                                                "Bool",
                                                "Char",
                                                "Byte",
                                                "HalfFloat",
                                                "Vector2d32",
                                                "Vector32",
                                                "Vector4d32",
                                                "IntVector4d32",
                                                "Vec2",
                                                "Vec3",
                                                "Vec4",
                                                "Matrix32",
                                                "SquareMatrix32",
                                                "SquareMatrix4d32",
                                                "AffineMatrix32",
                                                "Block",
                                                "AtomicUInt32",
                                                "GradientRenderData",
                                                "float",
                                                "int",
                                                "uint",
                                                "half",
                                                "vec2",
                                                "vec3",
                                                "vec4",
                                                "float2",
                                                "float3",
                                                "float4",
                                                "int2",
                                                "int3",
                                                "int4",
                                                "uint2",
                                                "uint3",
                                                "uint4",
                                                "half2",
                                                "half3",
                                                "half4",
                                                "mat3",
                                                "mat4",
                                                "sqmat"};
// Other words that are near to one of those, but known.
constexpr std::string_view kOtherWords[] = {"AtomicInt32", "const",     "double",
                                            "bool",        "char",      "long",
                                            "short",       "signed",    "unsigned",
                                            "void",        "auto",      "volatile",
                                            "ulong",       "ushort",    "u_int",
                                            "u_char",      "u_long",    "u_short",
                                            "int8_t",      "int16_t",   "int32_t",
                                            "int64_t",     "uint8_t",   "uint16_t",
                                            "uint32_t",    "uint64_t",  "u_int8_t",
                                            "u_int16_t",   "u_int32_t", "u_int64_t",
                                            "wchar_t",     "char8_t",   "char16_t",
                                            "char32_t",    "float_t",   "double_t",
                                            "size_t",      "ssize_t",   "IGNORE_VARIABLE_GPU"};

// The type that is almost `word`; empty: none.
std::string_view FindNearestType(std::string_view word) {
  if (word.size() < 4) return {};
  NearestWord nearest(word, word.size() < 8 ? 2 : 3);
  for (const std::string_view type : kParameterTypes) nearest.Try(type);
  return nearest.Get();
}

bool IsIn(std::string_view word, const std::string_view* begin, const std::string_view* end) {
  return std::find(begin, end, word) != end;
}

// Whether the file may declare the name: in a header, as a type or a macro, or put together by one.
bool MayDeclare(const EditedText& text, std::string_view word) {
  constexpr std::string_view kDeclaring[] = {"struct", "class", "union", "enum", "using", "define", "typename"};
  for (std::size_t i = 0; i < text.GetTokens().size(); ++i) {
    if (text.Is(i, "#") && (text.Is(i + 1, "include") || text.Is(i + 1, "#"))) return true;
    if (!text.Is(i, word)) continue;
    if (i > 0 && IsIn(text.GetText(text.GetTokens()[i - 1]), std::begin(kDeclaring), std::end(kDeclaring))) return true;
    if (text.Is(i + 1, ";") || text.Is(i + 1, ":") || (i > 0 && text.Is(i - 1, ":"))) return true;
  }
  return false;
}

}  // namespace

void CheckTypeName(const EditedText& text, std::size_t index) {
  const Token& token = text.GetTokens()[index];
  const std::string_view word = text.GetText(token);
  if (!text.IsWord(index) || word.find("TYPE") != std::string_view::npos) return;
  if (IsIn(word, std::begin(kParameterTypes), std::end(kParameterTypes)) ||
      IsIn(word, std::begin(kOtherWords), std::end(kOtherWords)))
    return;
  const std::string_view nearest = FindNearestType(word);
  if (nearest.empty() || MayDeclare(text, word)) return;
  Fail(text, token, Join({"unknown type \"", word, "\"; did you mean \"", nearest, "\"?"}));
}

}  // namespace ostra::kernelfront
