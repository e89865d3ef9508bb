#include "parallelprogram/shaderassembly/stage_rules.h"

#include "ostra/core/format.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/shaderassembly/assembly_records.h"

namespace ostra {
namespace {

constexpr Int32 kUniformKind = 0;

using FoundText = Result<std::optional<String>>;

FoundText Say(Result<String> text) {
  if (!text) return text.TakeError();
  return std::optional<String>(std::move(*text));
}

// Whether stages of this kind have parameters of this kind.
FoundText CheckKind(const ShaderInputEntry& variable, DrawportStage stage) {
  const Bool isBuffer = !variable.dataType.IsPopulated();
  if (isBuffer && (variable.kind == kUniformKind || variable.kind == kShaderInputReadOnly)) return std::nullopt;
  switch (variable.kind) {
    case kUniformKind:
    case kShaderInputVarying:
      break;
    case kShaderInputOut:
      if (stage != DrawportStage::Fragment)
        return Say(String::Create("out variables only allowed for fragment shaders."));
      break;
    case kShaderInputAttribute:
      if (stage != DrawportStage::Vertex)
        return Say(String::Create("attribute variables only allowed for vertex shaders."));
      break;
    default:
      return Say(String::Create("UniformTypeMask was not correctly set."));
  }
  // What stages hand on are values.
  if (isBuffer) return Say(String::Create("UniformTypeMask was not correctly set."));
  return std::nullopt;
}

FoundText CheckVariable(const ShaderInputEntry& variable) {
  if (!variable.dataType.IsPopulated() || variable.kind == kUniformKind) return std::nullopt;
  const String& name = variable.name.GetString();
  if (variable.kind != kShaderInputOut) {
    if (GetStageVariableType(variable)) return std::nullopt;
    return Say(Format("The variable \"@\" cannot have the type \"@\".", name, variable.dataType));
  }
  switch (GetStageOutput(name)) {
    case StageOutput::Ambiguous:
      return Say(Format("The name of the out variable \"@\" says two things.", name));
    case StageOutput::Unknown:
      return Say(Format(
          "The out variable \"@\" is none: the name of one holds \"color\", \"transparency\" or \"depth\".", name));
    default:
      return std::nullopt;
  }
}

}  // namespace

Result<std::optional<StageMistake>> FindStageMistake(const ShaderParser& parser, DrawportStage stage) {
  const auto make = [](const ShaderTextOrigin& origin, String text) {
    return std::optional<StageMistake>(StageMistake{origin, std::move(text)});
  };
  for (const ShaderInputEntry& variable : parser.GetInputEntries()) {
    OSTRA_ASSIGN_OR_RETURN(std::optional<String> found, CheckKind(variable, stage));
    if (found) return make(variable.origin, std::move(*found));
  }
  if (parser.GetNoiseCallCount() > 0) {
    OSTRA_ASSIGN_OR_RETURN(String text, String::Create("stages of graphics programs have no noises"));
    return make({0, 0}, std::move(text));
  }
  for (const ShaderInputEntry& variable : parser.GetInputEntries()) {
    OSTRA_ASSIGN_OR_RETURN(std::optional<String> found, CheckVariable(variable));
    if (found) return make(variable.origin, std::move(*found));
  }
  return std::optional<StageMistake>();
}

StageOutput GetStageOutput(const String& name) {
  const Bool isColor = name.Contains("color"), isTransparency = name.Contains("transparency");
  if (name.Contains("depth")) return isColor || isTransparency ? StageOutput::Ambiguous : StageOutput::Depth;
  if (isColor) return StageOutput::Color;
  return isTransparency ? StageOutput::Transparency : StageOutput::Unknown;
}

std::optional<DrawportShaderValueType> GetStageVariableType(const ShaderInputEntry& variable) {
  const ShaderValueForm form = GetShaderValueForm(variable.dataType);
  const Bool isHalf =
      variable.dataType == GetDataType<HalfFloat>() || variable.dataType == GetDataType<Vec4<HalfFloat>>();
  const Bool isValue = form.kind == ShaderValueForm::Kind::Uniform && form.type != DrawportShaderValueType::Gradient;
  if (isValue && !(isHalf && variable.kind == kShaderInputAttribute)) return form.type;
  return std::nullopt;
}

}  // namespace ostra
