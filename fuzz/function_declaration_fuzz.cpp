// Any text as the declaration of a function: it ends with the function's parts or with an error, the parts are words
// of the text, and every language gets a definition that holds them.
#include <cstdlib>
#include <string>
#include <string_view>

#include "parallelprogram/shaderparser/function_definition.h"

namespace {

using namespace ostra;

void Require(bool isRight) {
  if (!isRight) std::abort();
}

void CheckParameter(const FunctionParameter& parameter, std::string_view text) {
  Require(!parameter.name.IsEmpty() && text.find(parameter.name.GetView()) != std::string_view::npos);
  Require(!parameter.type.IsEmpty());
  Require(parameter.direction >= FunctionParameter::IN && parameter.direction <= FunctionParameter::INOUT);
  Require(parameter.addressSpace == FunctionParameter::THREAD || parameter.addressSpace == FunctionParameter::CONSTANT);
  Require(parameter.arraySize >= FunctionParameter::OPEN_ARRAY);
}

void CheckDefinition(InternedId language, const FunctionDeclaration& function) {
  const auto definition = BuildFunctionDefinition(language, function, "BODY");
  Require(definition.IsOk());
  const std::string_view text = definition->GetView();
  Require(text.starts_with(function.returnType.GetView()) && text.ends_with(")\nBODY\n"));
  for (const FunctionParameter& parameter : function.parameters)
    Require(text.find(parameter.name.GetView()) != std::string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto declaration = CString::Create(text);
  if (!declaration) return 0;
  const auto function = ParseFunctionDeclaration(*declaration);
  if (!function) {
    Require(function.GetError().GetMessage().IsPopulated());
    return 0;
  }
  Require(text.find(function->name.GetView()) != std::string_view::npos);
  for (const FunctionParameter& parameter : function->parameters) CheckParameter(parameter, text);
  for (const InternedId language : {"HLSL"_iid, "GLSL"_iid, "GLSLES"_iid, "METAL"_iid})
    CheckDefinition(language, *function);
  return 0;
}
