// How a description becomes a program: assembly, compilation, and the place of every parameter.
#include <algorithm>
#include <tuple>

#include "ostra/drawport_vulkan/program_factory.h"
#include "ostra/drawport_vulkan/program_stages.h"
#include "ostra/drawport_vulkan/program_store.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

Result<void> CheckWorkGroup(const Device& device, const UInt32 (&size)[3]) {
  const VkPhysicalDeviceLimits& limits = device.GetLimits();
  const UInt64 count = static_cast<UInt64>(size[0]) * size[1] * size[2];
  if (count == 0) return OSTRA_ILLEGAL_STATE("The GPU program has no work group size.");
  for (int i = 0; i < 3; ++i) {
    if (size[i] > limits.maxComputeWorkGroupSize[i])
      return OSTRA_ILLEGAL_ARGUMENT("A work group of @ x @ x @ invocations is larger than the GPU device's @ x @ x @.",
                                    size[0], size[1], size[2], limits.maxComputeWorkGroupSize[0],
                                    limits.maxComputeWorkGroupSize[1], limits.maxComputeWorkGroupSize[2]);
  }
  if (count > limits.maxComputeWorkGroupInvocations)
    return OSTRA_ILLEGAL_ARGUMENT("A work group of @ x @ x @ has more than the @ invocations of the GPU device.",
                                  size[0], size[1], size[2], limits.maxComputeWorkGroupInvocations);
  return OK;
}

Int FindBinding(const BaseArray<PipelineBinding>& bindings, Int number) {
  for (Int i = 0; i < bindings.GetCount(); ++i)
    if (static_cast<Int>(bindings[i].number) == number) return i;
  return -1;
}

// Locations between this stage and its neighbours.
UInt32 GetVaryingLimit(const VkPhysicalDeviceLimits& limits, DrawportStage stage) {
  switch (stage) {
    case DrawportStage::TessellationControl:
      return std::min(limits.maxTessellationControlPerVertexInputComponents,
                      limits.maxTessellationControlPerVertexOutputComponents) /
             4;
    case DrawportStage::TessellationEvaluation:
      return std::min(limits.maxTessellationEvaluationInputComponents,
                      limits.maxTessellationEvaluationOutputComponents) /
             4;
    case DrawportStage::Fragment:
      return limits.maxFragmentInputComponents / 4;
    default:
      return limits.maxVertexOutputComponents / 4;
  }
}

Bool IsWritten(const ShaderParameter& parameter) {
  if (parameter.kind == ShaderParameterKind::Buffer)
    return !parameter.isValue && parameter.access == DrawportBufferAccess::ReadWrite;
  return parameter.kind == ShaderParameterKind::Counter ||
         (parameter.kind == ShaderParameterKind::Value && parameter.valueType == DrawportShaderValueType::AtomicUInt);
}

Result<void> CheckWrites(const GraphicsFeatures& features, const ProgramStage& stage) {
  if (stage.stage == DrawportStage::Fragment ? features.hasFragmentStores : features.hasVertexStores) return OK;
  for (const ShaderParameter& parameter : stage.records.parameters) {
    if (IsWritten(parameter))
      return OSTRA_ILLEGAL_STATE("The GPU device cannot write in the @: \"@\" must be const.",
                                 GetStageName(stage.stage), parameter.name);
  }
  for (const ShaderTexture& texture : stage.records.textures) {
    if (texture.isImage)
      return OSTRA_ILLEGAL_STATE("The GPU device cannot write in the @, which has the image \"@\".",
                                 GetStageName(stage.stage), texture.name);
  }
  return OK;
}

Result<void> CheckGraphics(const Device& device, const BaseArray<ProgramStage>& stages) {
  const GraphicsFeatures& features = device.GetGraphics();
  if (!features.canDraw) return OSTRA_ILLEGAL_STATE("The GPU device cannot draw.");
  for (const ProgramStage& stage : stages) {
    if (stage.stage == DrawportStage::TessellationControl && !features.hasTessellation)
      return OSTRA_ILLEGAL_STATE("The GPU device does not support tessellation, which the program requires.");
    OSTRA_RETURN_IF_ERROR(CheckWrites(features, stage));
    const Int limit = GetVaryingLimit(device.GetLimits(), stage.stage);
    Int attributes = 0;
    for (const ShaderParameter& parameter : stage.records.parameters) {
      attributes += parameter.kind == ShaderParameterKind::Attribute;
      if (parameter.kind == ShaderParameterKind::Varying &&
          parameter.binding + GetLocationCount(parameter.valueType) > limit)
        return OSTRA_ILLEGAL_ARGUMENT("The varyings of the GPU program take more than the @ places that the @ has.",
                                      limit, GetStageName(stage.stage));
    }
    if (attributes > kMaxVertexAttributes)
      return OSTRA_ILLEGAL_ARGUMENT("The vertex stage of the GPU program has @ attributes; there are at most @.",
                                    attributes, kMaxVertexAttributes);
  }
  return OK;
}

}  // namespace

Result<Owned<ProgramFactory>> ProgramFactory::Create(Device& device, const DrawportProgramDescription& description,
                                                     const Id& language) {
  Owned<ProgramFactory> factory = MakeOwned<ProgramFactory>();
  if (!factory) return OSTRA_OUT_OF_MEMORY();
  OSTRA_RETURN_IF_ERROR(factory->Init(device, description, language));
  return factory;
}

ProgramFactory::~ProgramFactory() = default;

Result<void> ProgramFactory::Init(Device& device, const DrawportProgramDescription& description, const Id& language) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<ProgramStage> stages, MakeProgramStages(description, language));
  if (stages[0].stage == DrawportStage::Compute)
    OSTRA_RETURN_IF_ERROR(CheckWorkGroup(device, description.GetWorkGroupSize()));
  else
    OSTRA_RETURN_IF_ERROR(CheckGraphics(device, stages));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<PipelineBinding> bindings, ListBindings(stages));
  BaseArray<StageText> texts;
  for (const ProgramStage& stage : stages) OSTRA_RETURN_IF_ERROR(texts.Append(StageText{stage.stage, &stage.shader}));
  const String name = description.GetDebugLabel().IsPopulated() ? description.GetDebugLabel() : "kernel"_s;
  OSTRA_ASSIGN_OR_RETURN(_pipeline, device.GetPrograms().GetPipeline(
                                        language, Block<const StageText>(texts.GetFirst(), texts.GetCount()),
                                        Block<const PipelineBinding>(bindings.GetFirst(), bindings.GetCount()), name));
  OSTRA_RETURN_IF_ERROR(CheckVaryings(stages, *_pipeline));
  OSTRA_RETURN_IF_ERROR(AddPlaces(description, stages));
  for (const ProgramStage& stage : stages) OSTRA_RETURN_IF_ERROR(LayOut(stage));
  if (HasGradients()) {
    const Int alignment = static_cast<Int>(device.GetLimits().minStorageBufferOffsetAlignment);
    _sliceSize = (_sliceSize + alignment - 1) / alignment * alignment;
  }
  if (!_pipeline->IsGraphics()) return OK;
  return FindVariables(stages);
}

Result<void> ProgramFactory::AddPlaces(const DrawportProgramDescription& description,
                                       const BaseArray<ProgramStage>& stages) {
  for (const DrawportParameter& parameter : description.GetParameters()) {
    ParameterPlace place;
    place.parameter = parameter;
    OSTRA_RETURN_IF_ERROR(_places.Append(std::move(place)));
  }
  // Assembly declares values of its own, such as those of noises.
  for (const ProgramStage& stage : stages) {
    for (const ShaderUniform& uniform : stage.shader.uniforms) {
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(uniform.name));
      if (GetStageParameterHandle(stage.stage, name)) continue;
      ParameterPlace place;
      place.parameter.stage = stage.stage;
      place.parameter.name = name;
      place.parameter.valueType = uniform.type;
      OSTRA_RETURN_IF_ERROR(_places.Append(std::move(place)));
    }
  }
  return OK;
}

Result<void> ProgramFactory::LayOut(const ProgramStage& stage) {
  const VkPhysicalDeviceLimits& limits = GetDevice().GetLimits();
  const Int alignment = static_cast<Int>(limits.minStorageBufferOffsetAlignment);
  const Int blockAlignment = static_cast<Int>(limits.minUniformBufferOffsetAlignment);
  const auto [records, shader] = std::tie(stage.records, stage.shader);
  const BaseArray<PipelineBinding>& bindings = _pipeline->GetBindings();
  const Int begin = (_sliceSize + blockAlignment - 1) / blockAlignment * blockAlignment;
  if (shader.uniformByteCount > static_cast<Int>(limits.maxUniformBufferRange))
    return OSTRA_ILLEGAL_ARGUMENT("The values of the @ have @ bytes; the GPU device has room for @.",
                                  GetStageName(stage.stage), shader.uniformByteCount, limits.maxUniformBufferRange);
  if (shader.uniformByteCount > 0) {
    OSTRA_RETURN_IF_ERROR(_uniformBlocks.Append(
        UniformBlock{static_cast<UInt32>(records.uniformBinding), begin, shader.uniformByteCount}));
    _sliceSize = begin + shader.uniformByteCount;
  }
  if (FindBinding(bindings, records.gradientBinding) >= 0)
    OSTRA_RETURN_IF_ERROR(_gradientBindings.Append(static_cast<UInt32>(records.gradientBinding)));
  for (ParameterPlace& place : _places) {
    if (place.parameter.stage != stage.stage) continue;
    const std::string_view name = place.parameter.name.GetView();
    if (const ShaderUniform* uniform = FindByName(shader.uniforms, name)) place.uniformOffset = begin + uniform->offset;
    const ShaderParameter* parameter = FindByName(records.parameters, name);
    if (parameter && parameter->binding >= 0) place.binding = FindBinding(bindings, parameter->binding);
    if (const ShaderTexture* texture = FindByName(records.textures, name)) {
      place.binding = FindBinding(bindings, texture->binding);
      OSTRA_ASSIGN_OR_RETURN(const String wrapName, MakeWrapUniformName(name));
      if (const ShaderUniform* wrap = FindByName(shader.uniforms, wrapName)) place.wrapOffset = begin + wrap->offset;
    }
    if (place.parameter.isValue && place.binding >= 0) {
      constexpr Int kMaxValue = 64;  // for a value of unknown size: a matrix
      place.valueOffset = (_sliceSize + alignment - 1) / alignment * alignment;
      place.valueSize = place.parameter.layout.byteSize > 0 ? place.parameter.layout.byteSize : kMaxValue;
      _sliceSize = place.valueOffset + place.valueSize;
    }
  }
  return OK;
}

}  // namespace ostra::vulkan
