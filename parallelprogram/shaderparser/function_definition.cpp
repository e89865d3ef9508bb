#include "parallelprogram/shaderparser/function_definition.h"

#include "ostra/core/format.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

// Types whose parameters are declared by a macro of the target's support code.
struct TypedefMacro {
  std::string_view type;
  std::string_view macro;
};

constexpr TypedefMacro kTypedefMacros[] = {
    {"FramebufferLayerTypedef", "FRAMEBUFFER_LAYER_TYPEDEF("},
    {"FramebufferLayerDepthTypedef", "FRAMEBUFFER_LAYER_DEPTH_TYPEDEF("},
    {"FramebufferLayerIntTypedef", "FRAMEBUFFER_LAYER_INT_TYPEDEF("},
    {"FramebufferLayerUintTypedef", "FRAMEBUFFER_LAYER_UINT_TYPEDEF("},
    {"FramebufferLayerCubeTypedef", "FRAMEBUFFER_LAYER_CUBE_TYPEDEF("},
    {"FramebufferLayerCubeIntTypedef", "FRAMEBUFFER_LAYER_CUBE_INT_TYPEDEF("},
    {"FramebufferLayerCubeUintTypedef", "FRAMEBUFFER_LAYER_CUBE_UINT_TYPEDEF("},
    {"FramebufferLayerMultisampleTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_TYPEDEF("},
    {"FramebufferLayerMultisampleDepthTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_DEPTH_TYPEDEF("},
    {"FramebufferLayerMultisampleIntTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_INT_TYPEDEF("},
    {"FramebufferLayerMultisampleUintTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_UINT_TYPEDEF("},
    {"FramebufferLayerMultisampleCubeTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_TYPEDEF("},
    {"FramebufferLayerMultisampleCubeIntTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_INT_TYPEDEF("},
    {"FramebufferLayerMultisampleCubeUintTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_UINT_TYPEDEF("},
    {"sampler1dTypedef", "SAMPLER1D_TYPEDEF("},
    {"sampler2dTypedef", "SAMPLER2D_TYPEDEF("},
    {"sampler3dTypedef", "SAMPLER3D_TYPEDEF("},
    {"sampler1dArrayTypedef", "SAMPLER1D_ARRAY_TYPEDEF("},
    {"sampler2dArrayTypedef", "SAMPLER2D_ARRAY_TYPEDEF("},
    {"sampler2dDepthArrayTypedef", "SAMPLER2D_DEPTH_ARRAY_TYPEDEF("},
    {"isampler1dTypedef", "ISAMPLER1D_TYPEDEF("},
    {"isampler2dTypedef", "ISAMPLER2D_TYPEDEF("},
    {"isampler3dTypedef", "ISAMPLER3D_TYPEDEF("},
    {"isampler1dArrayTypedef", "ISAMPLER1D_ARRAY_TYPEDEF("},
    {"isampler2dArrayTypedef", "ISAMPLER2D_ARRAY_TYPEDEF("},
    {"usampler1dTypedef", "USAMPLER1D_TYPEDEF("},
    {"usampler2dTypedef", "USAMPLER2D_TYPEDEF("},
    {"usampler3dTypedef", "USAMPLER3D_TYPEDEF("},
    {"usampler1dArrayTypedef", "USAMPLER1D_ARRAY_TYPEDEF("},
    {"usampler2dArrayTypedef", "USAMPLER2D_ARRAY_TYPEDEF("},
};

// Empty when the type has no macro.
std::string_view FindMacro(std::string_view type) {
  for (const TypedefMacro& entry : kTypedefMacros)
    if (entry.type == type) return entry.macro;
  return {};
}

// How a language marks what a function gives back.
enum class Style : Int32 {
  Words,       // inout, out
  References,  // an address space, and "&" behind the type
  None,
};

Style GetStyle(InternedId language) {
  const std::string_view name = language.GetView();
  if (name == "HLSL" || name == "GLSL" || name == "GLSLES") return Style::Words;
  return name == "METAL" ? Style::References : Style::None;
}

std::string_view GetPrefix(Style style, const FunctionParameter& parameter) {
  const Bool isOutput = parameter.direction != FunctionParameter::IN;
  if (style == Style::Words && isOutput) return parameter.direction == FunctionParameter::OUT ? "out " : "inout ";
  if (style != Style::References) return "";
  if (parameter.addressSpace == FunctionParameter::CONSTANT) return "constant ";
  return isOutput ? "thread " : "";
}

Result<void> AppendArraySize(const FunctionParameter& parameter, String& text) {
  if (parameter.arraySize == FunctionParameter::OPEN_ARRAY) return text.Append("[]");
  if (parameter.arraySize <= 0) return OK;
  OSTRA_ASSIGN_OR_RETURN(const String size, Format("[@]", parameter.arraySize));
  return text.Append(size);
}

Result<void> AppendParameter(Style style, const FunctionParameter& parameter, String& text) {
  const std::string_view macro = FindMacro(parameter.type);
  if (parameter.direction == FunctionParameter::IN && !macro.empty()) {
    OSTRA_ASSIGN_OR_RETURN(const String call, Format("@@)", macro, parameter.name));
    OSTRA_RETURN_IF_ERROR(text.Append(call));
  } else {
    const std::string_view prefix = GetPrefix(style, parameter);
    const Bool isReference =
        style == Style::References && !prefix.empty() && parameter.arraySize == FunctionParameter::NO_ARRAY;
    OSTRA_ASSIGN_OR_RETURN(const String variable,
                           Format("@@@ @", prefix, parameter.type, isReference ? "&" : "", parameter.name));
    OSTRA_RETURN_IF_ERROR(text.Append(variable));
  }
  return AppendArraySize(parameter, text);
}

}  // namespace

Result<String> BuildFunctionDefinition(InternedId language, const FunctionDeclaration& declaration,
                                       std::string_view body) {
  const Style style = GetStyle(language);
  String parameters;
  for (const FunctionParameter& parameter : declaration.parameters) {
    if (parameters.IsPopulated()) OSTRA_RETURN_IF_ERROR(parameters.Append(", "));
    OSTRA_RETURN_IF_ERROR(AppendParameter(style, parameter, parameters));
  }
  return Format("@ @(@)\n@\n", declaration.returnType, declaration.name, parameters, body);
}

}  // namespace ostra
