#include "plans/run/shader_parameters.h"

#include "ostra/core/atomic.h"
#include "ostra/core/format.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "parallelprogram/shaderassembly/struct_elements.h"
#include "plans/lints/lints.h"
#include "plans/translate/translation.h"
#include "plans/values/scalar_type.h"

OSTRA_UNIT("shader_parameters");

namespace ostra::plans {

using namespace kernelruntime;

namespace {

Result<std::optional<Parameter>> DescribeInput(const ShaderParser& parser, const ShaderInputEntry& input) {
  const std::string name(input.name.GetString().GetView());
  if (input.dataType == GetDataType<AtomicUInt32>())
    return std::optional(Parameter{name, ParameterKind::Counter, GetDataType<UInt32>()});
  if (input.dataType.IsPopulated())
    return std::optional(Parameter{
        name, GetElementLayout(input.dataType) ? ParameterKind::Uniform : ParameterKind::Other, input.dataType});
  // A buffer, or a value of a type that the translator does not know.
  const std::string_view word = input.typeName.GetString().GetView();
  DataType element = DataTypeFromTypeName(word);
  if (!element.IsPopulated()) {
    OSTRA_ASSIGN_OR_RETURN(element, MakeStructElementType(parser, word));
  }
  if (!element.IsPopulated()) return std::optional<Parameter>();
  return std::optional(Parameter{name, ParameterKind::Buffer, element});
}

// Declarations that the translator passes over in silence would be parameters that the kernel seems not to have.
Result<void> CheckDeclarations(const Url& kernelFile, const ShaderParser& parser) {
  OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadSourceText(kernelFile));
  LintedFile linted{std::string(kernelFile.GetView()), SplitSource(source.text), false, false};
  SetNotes(linted.lines, parser.GetLineNotes()[0]);
  Findings findings;
  LintDeclarations(linted, parser, findings);
  for (const Finding& finding : findings.GetAll())
    if (finding.kind == FindingKind::LostDeclaration)
      return OSTRA_ILLEGAL_ARGUMENT("The kernel \"@\" cannot run because it could not be compiled: @",
                                    kernelFile.GetName(), FormatFinding(finding));
  return OK;
}

}  // namespace

Result<std::optional<KernelParameters>> ReadShaderParameters(const Url& kernelFile, const std::string& templateArgument,
                                                             const OpenedKernel& opened) {
  TranslationOptions options{.file = kernelFile, .target = kTargetGlsl, .isRaw = true};
  const auto plain = opened.MakePlainSource();
  if (plain && *plain) options.written = &**plain;
  if (!templateArgument.empty()) options.templateArgument = templateArgument;
  OSTRA_ASSIGN_OR_RETURN(const Translation translation, Translate(options));
  const ShaderParser& parser = *translation.parser;
  if (!translation.result) return parser.PlaceError(translation.result.GetError());
  if (!plain) return plain.GetError();
  OSTRA_RETURN_IF_ERROR(CheckDeclarations(kernelFile, parser));
  std::vector<Parameter> parameters;
  for (const ShaderInputEntry& input : parser.GetInputEntries()) {
    OSTRA_ASSIGN_OR_RETURN(const auto parameter, DescribeInput(parser, input));
    if (!parameter) return std::optional<KernelParameters>();
    parameters.push_back(*parameter);
  }
  for (const ShaderTextureEntry& entry : parser.GetTextureEntries()) {
    const TextureLayout* const layout = FindTextureLayout(entry);
    if (!layout) return std::optional<KernelParameters>();
    parameters.push_back(
        {std::string(entry.name.GetString().GetView()), ParameterKind::Texture, layout->sampler, layout});
  }
  // The noises that a kernel calls are one more parameter of its class. Its name is not used.
  if (parser.GetNoiseCallCount() > 0) parameters.push_back({"", ParameterKind::Noise, DataType()});
  return std::optional(KernelParameters(std::move(parameters)));
}

}  // namespace ostra::plans
