#include "ostra/drawport_vulkan/program_stages.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/core/source_message.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr DrawportStage kGraphicsStages[] = {DrawportStage::Vertex, DrawportStage::TessellationControl,
                                             DrawportStage::TessellationEvaluation, DrawportStage::Fragment};

Result<void> CheckStages(const DrawportProgramDescription& description) {
  if (description.HasStage(DrawportStage::Compute))
    return OSTRA_ILLEGAL_ARGUMENT("A GPU program is either one of compute or one of graphics stages.");
  if (!description.HasStage(DrawportStage::Vertex))
    return OSTRA_ILLEGAL_ARGUMENT("A graphics program needs a vertex stage.");
  const Bool hasControl = description.HasStage(DrawportStage::TessellationControl);
  const Bool hasEvaluation = description.HasStage(DrawportStage::TessellationEvaluation);
  if (hasControl != hasEvaluation)
    return OSTRA_ILLEGAL_ARGUMENT(
        "A graphics program with a @ needs a @ too.",
        GetStageName(hasControl ? DrawportStage::TessellationControl : DrawportStage::TessellationEvaluation),
        GetStageName(hasControl ? DrawportStage::TessellationEvaluation : DrawportStage::TessellationControl));
  return OK;
}

Bool IsResource(const ShaderParameter& parameter) {
  return parameter.kind == ShaderParameterKind::Buffer || parameter.kind == ShaderParameterKind::Counter ||
         (parameter.kind == ShaderParameterKind::Value && parameter.valueType == DrawportShaderValueType::AtomicUInt);
}

// A colour that was given a target is one, whatever its name.
Bool IsDepth(const ShaderParameter& parameter) { return parameter.binding < 0 && parameter.name.Contains("depth"); }

// In the order in which AssignBindings numbers the resources of a single stage.
void NumberResources(ShaderRecords& records, Int& next) {
  records.uniformBinding = next++;
  for (ShaderParameter& parameter : records.parameters)
    if (IsResource(parameter)) parameter.binding = next++;
  for (ShaderTexture& texture : records.textures) texture.binding = next++;
  records.gradientBinding = next++;
}

// Outputs that have no target, or that of an earlier one, take the first that is free.
Result<void> NumberOutputs(ShaderRecords& records, const DrawportProgramDescription& description) {
  UInt32 taken = 0;
  for (const DrawportColorOutput& output : description.GetColorOutputs()) taken |= 1u << output.target;
  const auto isGiven = [&](const ShaderParameter& parameter) {
    for (const DrawportColorOutput& output : description.GetColorOutputs()) {
      const Bool isNamed = parameter.name == output.name.GetView() ||
                           (output.name.GetView() == "f_transparency" && parameter.name.Contains("transparency"));
      if (isNamed && parameter.binding == output.target) return true;
    }
    return false;
  };
  for (ShaderParameter& parameter : records.parameters) {
    if (parameter.kind != ShaderParameterKind::Output || IsDepth(parameter) || isGiven(parameter)) continue;
    parameter.binding = 0;
    while (parameter.binding < kMaxColorTargets && (taken & (1u << parameter.binding))) ++parameter.binding;
    if (parameter.binding == kMaxColorTargets)
      return OSTRA_ILLEGAL_ARGUMENT("The fragment stage of the GPU program has more than @ colours.", kMaxColorTargets);
    taken |= 1u << parameter.binding;
  }
  return OK;
}

// The locations of varyings, by name: the same in all stages.
class VaryingLocations {
 public:
  Result<void> Number(ShaderRecords& records) {
    Int attribute = 0;
    for (ShaderParameter& parameter : records.parameters) {
      if (parameter.kind == ShaderParameterKind::Attribute) {
        parameter.binding = attribute;
        attribute += GetLocationCount(parameter.valueType);
      } else if (parameter.kind == ShaderParameterKind::Varying) {
        OSTRA_ASSIGN_OR_RETURN(parameter.binding, Find(parameter));
      }
    }
    return OK;
  }

 private:
  struct Location {
    String name;
    Int location;
  };

  Result<Int> Find(const ShaderParameter& parameter) {
    if (const Location* known = FindByName(_locations, parameter.name)) return known->location;
    OSTRA_RETURN_IF_ERROR(_locations.Append(Location{parameter.name, _next}));
    const Int location = _next;
    _next += GetLocationCount(parameter.valueType);
    return location;
  }

  BaseArray<Location> _locations;
  Int _next = 0;
};

const ShaderParameter* FindVarying(const ShaderRecords& records, UInt32 location) {
  for (const ShaderParameter& parameter : records.parameters) {
    if (parameter.kind == ShaderParameterKind::Varying && parameter.binding == static_cast<Int>(location))
      return &parameter;
  }
  return nullptr;
}

Bool Contains(const BaseArray<UInt32>& numbers, Int number) {
  return std::find(numbers.begin(), numbers.end(), static_cast<UInt32>(number)) != numbers.end();
}

// About the line of `origin` where it is known.
Error MakeVaryingError(const ShaderOrigin& origin, Result<String> text) {
  if (!text) return text.TakeError();
  if (origin.line == 0) return OSTRA_ILLEGAL_ARGUMENT("@", *text);
  return MakeSourceError(origin.file.GetView(), origin.line, text->GetView(), kOstraUnit, __LINE__);
}

Result<void> CheckVarying(const ShaderParameter& varying, const ProgramStage& from, const ProgramStage& to,
                          const PipelineStage& given) {
  const ShaderParameter* const source = FindVarying(from.records, static_cast<UInt32>(varying.binding));
  if (source && source->valueType == varying.valueType && Contains(given.outputs, source->binding)) return OK;
  if (source && source->valueType != varying.valueType)
    return MakeVaryingError(varying.origin, Format("the varying \"@\" has another type in the @ than in the @",
                                                   varying.name, GetStageName(to.stage), GetStageName(from.stage)));
  return MakeVaryingError(varying.origin, Format("the @ receives the varying \"@\", which the @ does not give",
                                                 GetStageName(to.stage), varying.name, GetStageName(from.stage)));
}

}  // namespace

std::string_view GetStageName(DrawportStage stage) {
  switch (stage) {
    case DrawportStage::Vertex:
      return "vertex stage";
    case DrawportStage::TessellationControl:
      return "tessellation control stage";
    case DrawportStage::TessellationEvaluation:
      return "tessellation evaluation stage";
    case DrawportStage::Fragment:
      return "fragment stage";
    case DrawportStage::Compute:
      break;
  }
  return "compute stage";
}

Result<BaseArray<ProgramStage>> MakeProgramStages(const DrawportProgramDescription& description, const Id& language) {
  BaseArray<ProgramStage> stages;
  VaryingLocations varyings;
  Int next = 0;
  const auto add = [&](DrawportStage kind) -> Result<void> {
    ProgramStage stage;
    stage.stage = kind;
    OSTRA_ASSIGN_OR_RETURN(stage.records, description.MakeShaderRecords(kind, language));
    NumberResources(stage.records, next);
    OSTRA_RETURN_IF_ERROR(NumberOutputs(stage.records, description));
    OSTRA_RETURN_IF_ERROR(varyings.Number(stage.records));
    OSTRA_ASSIGN_OR_RETURN(stage.shader, AssembleShader(stage.records));
    OSTRA_RETURN_IF_ERROR(stages.Append(std::move(stage)));
    return OK;
  };
  for (const DrawportStage stage : kGraphicsStages)
    if (description.HasStage(stage)) OSTRA_RETURN_IF_ERROR(add(stage));
  if (stages.IsPopulated())
    OSTRA_RETURN_IF_ERROR(CheckStages(description));
  else
    OSTRA_RETURN_IF_ERROR(add(DrawportStage::Compute));
  return stages;
}

Result<BaseArray<PipelineBinding>> ListBindings(const BaseArray<ProgramStage>& stages) {
  BaseArray<PipelineBinding> bindings;
  for (const ProgramStage& stage : stages) {
    const auto add = [&](Int number, VkDescriptorType type) -> Result<void> {
      OSTRA_RETURN_IF_ERROR(
          bindings.Append(PipelineBinding{static_cast<UInt32>(number), type, GetStageFlag(stage.stage)}));
      return OK;
    };
    const ShaderRecords& records = stage.records;
    if (stage.shader.uniformByteCount > 0)
      OSTRA_RETURN_IF_ERROR(add(records.uniformBinding, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC));
    for (const ShaderParameter& parameter : records.parameters) {
      if (!IsResource(parameter)) continue;
      OSTRA_RETURN_IF_ERROR(add(parameter.binding, parameter.isValue ? VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC
                                                                     : VK_DESCRIPTOR_TYPE_STORAGE_BUFFER));
    }
    for (const ShaderTexture& texture : records.textures) {
      OSTRA_RETURN_IF_ERROR(add(texture.binding, texture.isImage ? VK_DESCRIPTOR_TYPE_STORAGE_IMAGE
                                                                 : VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER));
    }
    OSTRA_RETURN_IF_ERROR(add(records.gradientBinding, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC));
  }
  std::sort(bindings.begin(), bindings.end(),
            [](const PipelineBinding& a, const PipelineBinding& b) { return a.number < b.number; });
  return bindings;
}

Result<void> CheckVaryings(const BaseArray<ProgramStage>& stages, const Pipeline& pipeline) {
  for (Int i = 1; i < stages.GetCount(); ++i) {
    const PipelineStage& given = pipeline.GetStages()[i - 1];
    const PipelineStage& received = pipeline.GetStages()[i];
    for (const ShaderParameter& parameter : stages[i].records.parameters) {
      if (parameter.kind != ShaderParameterKind::Varying) continue;
      // A fragment stage receives what it declares. Stages of tessellation declare at once what they receive and what
      // they give: what counts there is what they use.
      const Bool isUnknown = stages[i].stage == DrawportStage::Fragment &&
                             !FindVarying(stages[i - 1].records, static_cast<UInt32>(parameter.binding));
      if (isUnknown || Contains(received.inputs, parameter.binding))
        OSTRA_RETURN_IF_ERROR(CheckVarying(parameter, stages[i - 1], stages[i], given));
    }
  }
  return OK;
}

}  // namespace ostra::vulkan
