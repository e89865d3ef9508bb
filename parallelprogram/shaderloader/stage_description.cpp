// What the stages of a graphics program are for the GPU layer.
#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "ostra/core/text_characters.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "parallelprogram/shaderassembly/resource_uses.h"
#include "parallelprogram/shaderassembly/stage_rules.h"
#include "parallelprogram/shaderloader/graphics_program.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {
namespace {

constexpr Int32 kUniformKind = 0;
constexpr std::string_view kTransparencyTarget = "f_transparency";

Bool HasWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    if ((at == 0 || !IsWordCharacter(text[at - 1])) && (end == text.size() || !IsWordCharacter(text[end]))) return true;
  }
  return false;
}

Bool HasWord(const ShaderRecords& records, std::string_view word) {
  const auto anyHasWord = [&](const BaseArray<ShaderCode>& pieces) {
    for (const ShaderCode& piece : pieces)
      if (HasWord(piece.text, word)) return true;
    return false;
  };
  return HasWord(records.body.text, word) || anyHasWord(records.functions) || anyHasWord(records.fileScope) ||
         anyHasWord(records.defines);
}

// A texture of the draw pass is there for every stage that names it, declared or not.
Result<void> AddPassTexture(ShaderRecords& records, const ResourceUses& uses, const InternedId& name,
                            const Id& formatId, Bool isLinear) {
  for (const ShaderTexture& texture : records.textures)
    if (texture.name == name.GetView()) return OK;
  if (!HasWord(records, name.GetView())) return OK;
  OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef format, GetPixelFormat(formatId));
  OSTRA_RETURN_IF_ERROR(records.textures.Append(ShaderTexture{.name = name.ToString(),
                                                              .textureType = DrawportTextureType::Texture2D,
                                                              .format = format,
                                                              .isLinear = isLinear,
                                                              .isMultisampled = uses.IsReadBySample(name.GetView()),
                                                              .origin = {}}));
  return OK;
}

Result<void> AddFeatures(DrawportProgramDescription& description, DrawportStage stage, Bool isMultisampled) {
  if (stage != DrawportStage::Fragment) return OK;
  if (isMultisampled) OSTRA_RETURN_IF_ERROR(description.AddRequiredFeature(stage, DrawportFeature::MultisampleTexture));
  return description.AddRequiredFeature(stage, DrawportFeature::ShaderStorageBuffer);
}

// Colours are numbered in the order in which they are declared; what is transparent comes behind them.
class OutputCounter {
 public:
  Result<void> Add(DrawportProgramDescription& description, const ShaderInputEntry& variable) {
    switch (GetStageOutput(variable.name.GetString())) {
      case StageOutput::Color: {
        OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(variable.name.GetString()));
        return description.AddOutputColorVariable(_colorCount++, id);
      }
      case StageOutput::Transparency:
        _isTransparent = true;
        return OK;
      default:
        return description.SetDepthWriteMode(1);  // other names are refused before
    }
  }
  Result<void> End(DrawportProgramDescription& description) const {
    if (!_isTransparent) return OK;
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(kTransparencyTarget));
    return description.AddOutputColorVariable(_colorCount, name);
  }

 private:
  Int32 _colorCount = 0;
  Bool _isTransparent = false;
};

// Error: illegal argument for a stage that cannot be drawn with.
Result<void> CheckStage(const ShaderParser& parser, DrawportStage stage) {
  OSTRA_ASSIGN_OR_RETURN(const std::optional<StageMistake> found, FindStageMistake(parser, stage));
  if (!found) return OK;
  if (found->origin.line == 0)
    return MakeSourceError(parser.GetFiles()[0].GetView(), 0, found->text.GetView(), kOstraUnit, __LINE__);
  return OSTRA_ILLEGAL_ARGUMENT("@", found->text);
}

Result<void> AddVariables(DrawportProgramDescription& description, const GraphicsProgram& program,
                          const ShaderParser& parser, DrawportStage stage) {
  const DrawportStage next = program.GetNextStage(stage);
  OutputCounter outputs;
  for (const ShaderInputEntry& variable : parser.GetInputEntries()) {
    if (!variable.dataType.IsPopulated() || variable.kind == kUniformKind) continue;
    if (variable.kind == kShaderInputOut) {
      OSTRA_RETURN_IF_ERROR(outputs.Add(description, variable));
      continue;
    }
    const DrawportShaderValueType type = *GetStageVariableType(variable);
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(variable.name));
    if (variable.kind == kShaderInputAttribute)
      OSTRA_RETURN_IF_ERROR(description.AddAttribute(stage, type, name));
    else if (stage != next)
      OSTRA_RETURN_IF_ERROR(description.AddVaryingVariable(stage, next, type, name));
  }
  return outputs.End(description);
}

Result<void> DescribeStage(DrawportProgramDescription& description, const GraphicsProgram& program, DrawportStage stage,
                           const ShaderParser& parser, Bool isMultisampled) {
  OSTRA_RETURN_IF_ERROR(AddFeatures(description, stage, isMultisampled));
  OSTRA_RETURN_IF_ERROR(CheckStage(parser, stage));
  OSTRA_ASSIGN_OR_RETURN(ShaderRecords records, MakeShaderRecords(parser, stage));
  OSTRA_ASSIGN_OR_RETURN(const ResourceUses uses, ResourceUses::Find(parser));
  OSTRA_RETURN_IF_ERROR(
      AddPassTexture(records, uses, GetDepthTextureName(), "net.ostra.image.pixelformat.dynamic.redf32"_id, false));
  OSTRA_RETURN_IF_ERROR(
      AddPassTexture(records, uses, GetColorTextureName(), "net.ostra.image.pixelformat.rgba.f32"_id, true));
  OSTRA_RETURN_IF_ERROR(description.SetShaderRecords(std::move(records)));
  return AddVariables(description, program, parser, stage);
}

}  // namespace

Result<void> DescribeStages(DrawportProgramDescription& description, const GraphicsProgram& program,
                            const BaseArray<ParsedKernel>& parsed, Int32 sampleCount) {
  for (Int i = 0; i < program.stages.GetCount(); ++i)
    OSTRA_RETURN_IF_ERROR(
        DescribeStage(description, program, program.stages[i].stage, *parsed[i].parser, sampleCount > 1));
  return OK;
}

Result<void> DescribeAttributes(DrawportVertexAttributeLayoutDescription& layout, const ShaderParser& vertexStage) {
  Int offset = 0;
  for (const ShaderInputEntry& variable : vertexStage.GetInputEntries()) {
    if (!variable.dataType.IsPopulated() || variable.kind != kShaderInputAttribute) continue;
    const DrawportShaderValueType type = *GetStageVariableType(variable);
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(variable.name));
    OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(offset, type, name));
    offset += GetVertexAttributeSize(type);
  }
  return layout.InitVertexAttributes(0);
}

}  // namespace ostra
