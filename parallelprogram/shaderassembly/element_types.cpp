#include "parallelprogram/shaderassembly/element_types.h"

#include "ostra/drawport/shader_assembly.h"

namespace ostra {

namespace {

struct CpuType {
  std::string_view name;
  std::string_view obstacle;
};

constexpr std::string_view kLongIntegers =
    "HLSL text has no 64-bit integers: keep two uint, or translate to GLSL or Metal";
constexpr std::string_view kSmallIntegers =
    "HLSL text has no integers of 8 and 16 bits: pack several into a uint, or give each an int";
constexpr std::string_view kFlags = "a bool has 1 byte on the CPU and 4 on a GPU: use uint";

constexpr CpuType kCpuTypes[] = {
    {"UInt", "GPU kernels know this type as UInt64"},
    {"Int", "GPU kernels know this type as Int64"},
    {"UChar", "GPU kernels know this type as UInt8"},
    {"Char", "GPU kernels know this type as Int8"},
    {"Byte", "GPU kernels know this type as UInt8"},
    {"Bool", kFlags},
    {"bool", kFlags},
};

std::string_view Find(std::string_view type) {
  for (const CpuType& known : kCpuTypes)
    if (known.name == type) return known.obstacle;
  return {};
}

Bool IsSmall(std::string_view type) { return type == "Int8" || type == "UInt8" || type == "Int16" || type == "UInt16"; }

Bool IsLong(std::string_view type) { return type == "Int64" || type == "UInt64"; }

Bool IsDouble(std::string_view type) { return type == "Float64" || type == "double"; }

}  // namespace

std::string_view FindElementTypeObstacle(std::string_view type, const Id& language) {
  if (IsDouble(type) && language == kShadingLanguageMetal) return "Metal has no 64-bit floats: use Float32";
  if (IsLong(type) && language == kShadingLanguageHlsl) return kLongIntegers;
  if (IsSmall(type) && language == kShadingLanguageHlsl) return kSmallIntegers;
  if (type == "Vec2" || type == "Vec3" || type == "Vec4")
    return "of a type in angle brackets only the first word is translated: write uint3, int4, half2 and the like";
  return Find(type);
}

Bool IsDefinedElementType(const ShaderParser& parser, std::string_view type) {
  constexpr std::string_view kDefine = "#define ";
  for (const String& define : parser.GetDefines()) {
    std::string_view name = define.GetView();
    if (!name.starts_with(kDefine)) continue;
    name.remove_prefix(kDefine.size());
    if (name.substr(0, name.find(' ')) == type) return true;
  }
  for (const ShaderStructDefinition& definition : parser.GetStructs())
    if (definition.name == type) return true;
  return false;
}

std::string_view FindValueTypeObstacle(std::string_view type) {
  if (IsSmall(type))
    return "values of 8 and 16 bits need a file without C++ of its own: ostra check --explain says where it has some";
  if (IsDouble(type) || IsLong(type))
    return "values of 64 bits need a file without C++ of its own: ostra check --explain says where it has some";
  return Find(type);
}

}  // namespace ostra
