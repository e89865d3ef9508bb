// The part of a program's description that only graphics stages have.
#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/drawport/program_factory_item.h"

OSTRA_UNIT("drawport_program");

namespace ostra {
namespace {

constexpr std::string_view kTransparency = "transparency";

Bool IsScalarOrVector(DrawportShaderValueType type) {
  switch (type) {
    case DrawportShaderValueType::Float:
    case DrawportShaderValueType::Float2:
    case DrawportShaderValueType::Float3:
    case DrawportShaderValueType::Float4:
    case DrawportShaderValueType::Int:
    case DrawportShaderValueType::Int2:
    case DrawportShaderValueType::Int3:
    case DrawportShaderValueType::Int4:
    case DrawportShaderValueType::UInt:
    case DrawportShaderValueType::UInt2:
    case DrawportShaderValueType::UInt3:
    case DrawportShaderValueType::UInt4:
      return true;
    default:
      return false;
  }
}

Bool IsMatrix(DrawportShaderValueType type) {
  return type == DrawportShaderValueType::Matrix3 || type == DrawportShaderValueType::Matrix4;
}

// Whether values go from one stage to the other.
Bool AreInOrder(DrawportStage from, DrawportStage to) {
  return static_cast<Int32>(from) < static_cast<Int32>(to) && from != DrawportStage::Fragment &&
         to != DrawportStage::Compute;
}

ShaderParameter* FindVariable(ShaderRecords& records, ShaderParameterKind kind, std::string_view name) {
  for (ShaderParameter& parameter : records.parameters)
    if (parameter.kind == kind && parameter.name == name) return &parameter;
  return nullptr;
}

Result<void> AddVariable(ShaderRecords& records, ShaderParameterKind kind, DrawportShaderValueType type,
                         InternedId name) {
  if (FindVariable(records, kind, name.GetView())) return OK;
  OSTRA_RETURN_IF_ERROR(records.parameters.Append(
      ShaderParameter{.kind = kind, .name = name.ToString(), .valueType = type, .elementType = {}, .origin = {}}));
  return OK;
}

// The variable that an output was given for: by name, or by what "f_transparency" stands for.
ShaderParameter* FindOutput(ShaderRecords& records, const DrawportColorOutput& output) {
  if (ShaderParameter* named = FindVariable(records, ShaderParameterKind::Output, output.name.GetView())) return named;
  if (output.name.GetView().find(kTransparency) == std::string_view::npos) return nullptr;
  for (ShaderParameter& parameter : records.parameters)
    if (parameter.kind == ShaderParameterKind::Output && parameter.name.Contains(kTransparency)) return &parameter;
  return nullptr;
}

}  // namespace

Result<void> DrawportProgramDescription::AddAttribute(DrawportStage stage, DrawportShaderValueType type,
                                                      InternedId name) {
  if (stage != DrawportStage::Vertex)
    return OSTRA_ILLEGAL_ARGUMENT("Only vertex stages have attributes; \"@\" was added to the stage @.", name,
                                  static_cast<Int32>(stage));
  if (name.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("An attribute needs a name.");
  if (!IsScalarOrVector(type))
    return OSTRA_ILLEGAL_ARGUMENT("The attribute \"@\" has the type @; attributes are scalars or vectors.", name,
                                  static_cast<Int32>(type));
  for (const DrawportVertexAttribute& known : _attributes) {
    if (known.name != name) continue;
    if (known.type == type) return OK;
    return OSTRA_ILLEGAL_ARGUMENT("The attribute \"@\" has two types.", name);
  }
  OSTRA_RETURN_IF_ERROR(_attributes.Append(DrawportVertexAttribute{0, type, name}));
  return OK;
}

Result<void> DrawportProgramDescription::AddVaryingVariable(DrawportStage from, DrawportStage to,
                                                            DrawportShaderValueType type, InternedId name) {
  if (!AreInOrder(from, to))
    return OSTRA_ILLEGAL_ARGUMENT("The varying \"@\" cannot go from stage @ to stage @.", name,
                                  static_cast<Int32>(from), static_cast<Int32>(to));
  if (name.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("A varying needs a name.");
  if (!IsScalarOrVector(type) && !IsMatrix(type))
    return OSTRA_ILLEGAL_ARGUMENT("The varying \"@\" has the type @, which no varying can have.", name,
                                  static_cast<Int32>(type));
  for (const DrawportVarying& known : _varyings) {
    if (known.from != from || known.to != to || known.name != name) continue;
    if (known.type == type) return OK;
    return OSTRA_ILLEGAL_ARGUMENT("The varying \"@\" has two types.", name);
  }
  OSTRA_RETURN_IF_ERROR(_varyings.Append(DrawportVarying{from, to, type, name}));
  return OK;
}

Result<void> DrawportProgramDescription::AddOutputColorVariable(Int32 target, InternedId name) {
  if (target < 0 || target >= kMaxColorTargets)
    return OSTRA_ILLEGAL_ARGUMENT("The colour \"@\" cannot be that of target @; targets are 0 to @.", name, target,
                                  kMaxColorTargets - 1);
  if (name.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("A colour needs a name.");
  for (const DrawportColorOutput& known : _outputs) {
    if (known.target != target && known.name != name) continue;
    return OSTRA_ILLEGAL_ARGUMENT("Target @ cannot have the colour \"@\": \"@\" is that of target @.", target, name,
                                  known.name, known.target);
  }
  OSTRA_RETURN_IF_ERROR(_outputs.Append(DrawportColorOutput{target, name}));
  return OK;
}

Result<void> DrawportProgramDescription::SetDepthWriteMode(Int32 mode) {
  if (mode != 0 && mode != 1) return OSTRA_ILLEGAL_ARGUMENT("@ is no depth write mode; there are 0 and 1.", mode);
  _depthWrite = static_cast<DrawportDepthWriteMode>(mode);
  return OK;
}

Bool DrawportProgramDescription::HasStage(DrawportStage stage) const {
  const auto isOfStage = [stage](const auto& entry) { return entry.stage == stage; };
  return std::any_of(_records.begin(), _records.end(), isOfStage) ||
         std::any_of(_code.begin(), _code.end(), isOfStage) ||
         std::any_of(_parameters.begin(), _parameters.end(), isOfStage);
}

Result<void> DrawportProgramDescription::AddStageVariables(ShaderRecords& records) const {
  const DrawportStage stage = records.stage;
  if (stage == DrawportStage::Vertex) {
    for (const DrawportVertexAttribute& attribute : _attributes)
      OSTRA_RETURN_IF_ERROR(AddVariable(records, ShaderParameterKind::Attribute, attribute.type, attribute.name));
  }
  for (const DrawportVarying& varying : _varyings) {
    if (varying.from == stage || varying.to == stage)
      OSTRA_RETURN_IF_ERROR(AddVariable(records, ShaderParameterKind::Varying, varying.type, varying.name));
  }
  if (stage != DrawportStage::Fragment) return OK;
  for (const DrawportColorOutput& output : _outputs) {
    ShaderParameter* variable = FindOutput(records, output);
    if (!variable) {
      OSTRA_RETURN_IF_ERROR(
          AddVariable(records, ShaderParameterKind::Output, DrawportShaderValueType::Float4, output.name));
      variable = FindVariable(records, ShaderParameterKind::Output, output.name.GetView());
    }
    variable->binding = output.target;
  }
  return OK;
}

}  // namespace ostra
