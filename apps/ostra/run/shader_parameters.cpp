#include "apps/ostra/run/shader_parameters.h"

#include "apps/ostra/translate/translation.h"
#include "apps/ostra/values/scalar_type.h"
#include "ostra/core/atomic.h"
#include "ostra/core/format.h"

OSTRA_UNIT("shader_parameters");

namespace ostra::tool {

namespace {

std::optional<Parameter> DescribeInput(const ShaderInputEntry& input) {
  const std::string name(input.name.GetString().GetView());
  if (input.dataType == GetDataType<AtomicUInt32>())
    return Parameter{name, ParameterKind::Counter, GetDataType<UInt32>()};
  if (input.dataType.IsPopulated())
    return Parameter{name, GetElementLayout(input.dataType) ? ParameterKind::Uniform : ParameterKind::Other,
                     input.dataType};
  // A buffer, or a value of a type that the translator does not know.
  const DataType element = DataTypeFromTypeName(input.typeName.GetString().GetView());
  if (!element.IsPopulated()) return std::nullopt;
  return Parameter{name, ParameterKind::Buffer, element};
}

}  // namespace

Result<std::optional<KernelParameters>> ReadShaderParameters(const Url& kernelFile,
                                                             const std::string& templateArgument) {
  TranslationOptions options{kernelFile, kTargetGlsl, std::nullopt, std::nullopt};
  if (!templateArgument.empty()) options.templateArgument = templateArgument;
  OSTRA_ASSIGN_OR_RETURN(const Translation translation, Translate(options));
  const ShaderParser& parser = *translation.parser;
  if (!translation.result) {
    OSTRA_ASSIGN_OR_RETURN(const String message, parser.DescribeError(translation.result.GetError()));
    return OSTRA_ILLEGAL_ARGUMENT("@", message);
  }
  std::vector<Parameter> parameters;
  for (const ShaderInputEntry& input : parser.GetInputEntries()) {
    const auto parameter = DescribeInput(input);
    if (!parameter) return std::optional<KernelParameters>();
    parameters.push_back(*parameter);
  }
  for (const ShaderTextureEntry& entry : parser.GetTextureEntries()) {
    const TextureLayout* const layout = FindTextureLayout(entry);
    if (!layout) return std::optional<KernelParameters>();
    parameters.push_back(
        {std::string(entry.name.GetString().GetView()), ParameterKind::Texture, layout->sampler, layout});
  }
  // The noises that a kernel calls are one parameter of its class, too, whose name nobody needs.
  if (parser.GetNoiseCallCount() > 0) parameters.push_back({"", ParameterKind::Noise, DataType()});
  return std::optional(KernelParameters(std::move(parameters)));
}

}  // namespace ostra::tool
