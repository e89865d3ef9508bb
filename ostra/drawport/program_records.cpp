// How the description of a program becomes the records that a shader is assembled from, and the other way round.
#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/drawport/program_factory_item.h"

OSTRA_UNIT("drawport_program");

namespace ostra {
namespace {

Result<void> CopyOrigins(const BaseArray<ShaderOrigin>& source, BaseArray<ShaderOrigin>& target) {
  for (const ShaderOrigin& origin : source) OSTRA_RETURN_IF_ERROR(target.Append(origin));
  return OK;
}

Result<ShaderCode> Copy(const ShaderCode& source) {
  ShaderCode copy{source.text, {}};
  OSTRA_RETURN_IF_ERROR(CopyOrigins(source.origins, copy.origins));
  return copy;
}

Result<void> Copy(const BaseArray<ShaderCode>& source, BaseArray<ShaderCode>& target) {
  for (const ShaderCode& code : source) {
    OSTRA_ASSIGN_OR_RETURN(ShaderCode copy, Copy(code));
    OSTRA_RETURN_IF_ERROR(target.Append(std::move(copy)));
  }
  return OK;
}

Result<void> Copy(const BaseArray<ShaderStruct>& source, BaseArray<ShaderStruct>& target) {
  for (const ShaderStruct& type : source) {
    ShaderStruct copy{type.name, {}, type.origin};
    for (const ShaderMember& member : type.members) OSTRA_RETURN_IF_ERROR(copy.members.Append(member));
    OSTRA_RETURN_IF_ERROR(target.Append(std::move(copy)));
  }
  return OK;
}

// Line count of a text, as origins count lines.
Int CountLines(std::string_view text) {
  Int lines = 1;
  for (const char character : text) lines += character == '\n';
  return lines;
}

// Adds a piece behind `code`, on a line of its own.
Result<void> Join(ShaderCode& code, const ShaderCode& piece) {
  if (code.text.IsPopulated()) {
    if (!code.text.EndsWith("\n")) OSTRA_RETURN_IF_ERROR(code.text.Append("\n"));
    // The piece begins on the last, still empty line.
    OSTRA_RETURN_IF_ERROR(code.origins.Resize(CountLines(code.text) - 1));
  }
  OSTRA_RETURN_IF_ERROR(code.text.Append(piece.text));
  return CopyOrigins(piece.origins, code.origins);
}

ShaderTexture MakeTexture(const DrawportParameter& parameter) {
  return ShaderTexture{.name = parameter.name.ToString(),
                       .textureType = parameter.textureType,
                       .format = parameter.format,
                       .isLinear = parameter.isLinear,
                       .isImage = parameter.kind == DrawportParameterKind::Image,
                       .hasLayers = parameter.hasLayers,
                       .isMultisampled = parameter.isMultisampled,
                       .origin = {}};
}

ShaderParameter MakeParameter(const DrawportParameter& parameter) {
  const Bool isBuffer = parameter.kind == DrawportParameterKind::Buffer;
  return ShaderParameter{.kind = isBuffer ? ShaderParameterKind::Buffer : ShaderParameterKind::Value,
                         .name = parameter.name.ToString(),
                         .valueType = parameter.valueType,
                         .elementType = parameter.layout.typeName,
                         .access = parameter.access,
                         .structType = parameter.layout.type,
                         .isValue = parameter.isValue,
                         .origin = {}};
}

// What stages hand to each other is not bound.
Bool IsBound(ShaderParameterKind kind) {
  return kind == ShaderParameterKind::Value || kind == ShaderParameterKind::Buffer ||
         kind == ShaderParameterKind::Counter;
}

// Declarations of structs that came as text, in front of all functions, as those may name them.
Result<void> AddStructs(const BaseArray<DrawportParameter>& parameters, const BaseArray<DrawportCode>& code,
                        DrawportStage stage, BaseArray<ShaderCode>& pieces) {
  for (const DrawportCode& piece : code) {
    if (piece.stage != stage || piece.section != DrawportCodeSection::Structs) continue;
    OSTRA_ASSIGN_OR_RETURN(ShaderCode copy, Copy(piece.code));
    OSTRA_RETURN_IF_ERROR(pieces.Append(std::move(copy)));
  }
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const DrawportStructLayout& layout = parameters[i].layout;
    if (parameters[i].stage != stage || layout.members.IsEmpty()) continue;
    Bool isDeclared = false;  // by an earlier buffer of the same elements
    for (Int j = 0; j < i; ++j)
      isDeclared = isDeclared || (parameters[j].stage == stage && parameters[j].layout.members.IsPopulated() &&
                                  parameters[j].layout.typeName == layout.typeName);
    if (isDeclared) continue;
    OSTRA_ASSIGN_OR_RETURN(const String text, Format("struct @ { @ };\n", layout.typeName, layout.members));
    OSTRA_RETURN_IF_ERROR(pieces.Append(ShaderCode{text, {}}));
  }
  return OK;
}

// What was given as records for this stage.
Result<void> AddGiven(const ShaderRecords& given, ShaderRecords& records) {
  OSTRA_RETURN_IF_ERROR(Copy(given.defines, records.defines));
  OSTRA_RETURN_IF_ERROR(Copy(given.structs, records.structs));
  OSTRA_RETURN_IF_ERROR(Copy(given.functions, records.functions));
  OSTRA_RETURN_IF_ERROR(Copy(given.fileScope, records.fileScope));
  OSTRA_RETURN_IF_ERROR(Copy(given.groupShared, records.groupShared));
  OSTRA_ASSIGN_OR_RETURN(records.body, Copy(given.body));
  for (const ShaderParameter& parameter : given.parameters) OSTRA_RETURN_IF_ERROR(records.parameters.Append(parameter));
  for (const ShaderTexture& texture : given.textures) OSTRA_RETURN_IF_ERROR(records.textures.Append(texture));
  records.noiseTableCount = given.noiseTableCount;
  return records.noiseModes.CopyFrom(given.noiseModes);
}

// Adds the parameters that came without records. They follow those of the records, which were added before. Variables
// between stages are not parameters.
Result<void> AddFurtherParameters(const BaseArray<DrawportParameter>& parameters, ShaderRecords& records) {
  Int recorded = records.textures.GetCount();
  for (const ShaderParameter& parameter : records.parameters) recorded += IsBound(parameter.kind);
  Int seen = 0;
  for (const DrawportParameter& parameter : parameters) {
    if (parameter.stage != records.stage || seen++ < recorded) continue;
    if (parameter.kind == DrawportParameterKind::Texture || parameter.kind == DrawportParameterKind::Image) {
      OSTRA_RETURN_IF_ERROR(records.textures.Append(MakeTexture(parameter)));
      continue;
    }
    OSTRA_RETURN_IF_ERROR(records.parameters.Append(MakeParameter(parameter)));
  }
  return OK;
}

// Noises that were added one by one: as many tables as there are uniforms for them.
void CountNoiseTables(const BaseArray<DrawportNoiseFunction>& noises, const BaseArray<DrawportParameter>& parameters,
                      ShaderRecords& records) {
  const auto isOfStage = [&records](const auto& entry) { return entry.stage == records.stage; };
  if (records.noiseTableCount > 0 || std::none_of(noises.begin(), noises.end(), isOfStage)) return;
  records.noiseTableCount =
      std::count_if(parameters.begin(), parameters.end(), [&](const DrawportParameter& parameter) {
        return isOfStage(parameter) && parameter.valueType == DrawportShaderValueType::NoiseTable;
      });
}

Result<void> AddPieces(const BaseArray<DrawportCode>& code, ShaderRecords& records) {
  for (const DrawportCode& piece : code) {
    if (piece.stage != records.stage || piece.section == DrawportCodeSection::Structs) continue;
    if (piece.section == DrawportCodeSection::Body) {
      OSTRA_RETURN_IF_ERROR(Join(records.body, piece.code));
      continue;
    }
    BaseArray<ShaderCode>& pieces =
        piece.section == DrawportCodeSection::GroupShared ? records.groupShared : records.fileScope;
    OSTRA_ASSIGN_OR_RETURN(ShaderCode copy, Copy(piece.code));
    OSTRA_RETURN_IF_ERROR(pieces.Append(std::move(copy)));
  }
  return OK;
}

}  // namespace

Result<void> DrawportProgramDescription::AddRecordedParameters(const ShaderRecords& records) {
  for (const ShaderParameter& parameter : records.parameters) {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(parameter.name));
    DrawportParameter added{.stage = records.stage, .name = name, .valueType = parameter.valueType, .layout = {}};
    if (parameter.kind == ShaderParameterKind::Counter) {
      added.valueType = DrawportShaderValueType::AtomicUInt;
    } else if (parameter.kind == ShaderParameterKind::Buffer) {
      added.kind = DrawportParameterKind::Buffer;
      added.layout.typeName = parameter.elementType;
      added.layout.byteSize = parameter.byteSize;
      added.layout.type = parameter.structType;
      added.access = parameter.access;
      added.isValue = parameter.isValue;
    } else if (!IsBound(parameter.kind)) {
      continue;
    } else {
      added.layout.typeName = parameter.elementType;
    }
    OSTRA_RETURN_IF_ERROR(AddParameter(std::move(added)));
  }
  for (const ShaderTexture& texture : records.textures) {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(texture.name));
    OSTRA_RETURN_IF_ERROR(
        AddParameter({.stage = records.stage,
                      .kind = texture.isImage ? DrawportParameterKind::Image : DrawportParameterKind::Texture,
                      .name = name,
                      .layout = {},
                      .access = texture.isImage ? DrawportBufferAccess::ReadWrite : DrawportBufferAccess::ReadOnly,
                      .textureType = texture.textureType,
                      .format = texture.format,
                      .isLinear = texture.isLinear,
                      .hasLayers = texture.hasLayers,
                      .isMultisampled = texture.isMultisampled}));
  }
  return OK;
}

Result<void> DrawportProgramDescription::SetShaderRecords(ShaderRecords records) {
  const DrawportStage stage = records.stage;
  const auto removeStage = [stage](auto& entries) {
    Int kept = 0;
    for (Int i = 0; i < entries.GetCount(); ++i) {
      if (entries[i].stage != stage) std::swap(entries[kept++], entries[i]);
    }
    entries.Shorten(kept);
  };
  removeStage(_code);
  removeStage(_parameters);
  removeStage(_records);
  OSTRA_RETURN_IF_ERROR(AddRecordedParameters(records));
  if (stage == DrawportStage::Compute) {
    const Vec3<UInt32> size = records.workGroupSize;
    OSTRA_RETURN_IF_ERROR(SetComputeShaderProperties(size.x, size.y, size.z));
  }
  OSTRA_RETURN_IF_ERROR(_records.Append(std::move(records)));
  return OK;
}

Result<ShaderRecords> DrawportProgramDescription::MakeShaderRecords(DrawportStage stage, const Id& language) const {
  ShaderRecords records;
  records.language = language;
  records.stage = stage;
  records.workGroupSize = Vec3<UInt32>(_workGroupSize[0], _workGroupSize[1], _workGroupSize[2]);

  OSTRA_RETURN_IF_ERROR(AddStructs(_parameters, _code, stage, records.functions));
  for (const DrawportFunctionUse& use : _functions) {
    if (use.stage != stage) continue;
    OSTRA_ASSIGN_OR_RETURN(const DrawportFunction& function, FunctionCache::Find(use.id));
    if (!(function.language == language)) continue;
    OSTRA_RETURN_IF_ERROR(records.functions.Append(ShaderCode{function.definition, {}}));
  }
  for (const ShaderRecords& given : _records) {
    if (given.stage == stage) OSTRA_RETURN_IF_ERROR(AddGiven(given, records));
  }
  OSTRA_RETURN_IF_ERROR(AddFurtherParameters(_parameters, records));
  CountNoiseTables(_noises, _parameters, records);
  OSTRA_RETURN_IF_ERROR(AddPieces(_code, records));
  OSTRA_RETURN_IF_ERROR(AddStageVariables(records));
  return records;
}

}  // namespace ostra
