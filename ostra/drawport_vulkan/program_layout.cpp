// How a description becomes a program: assembly, compilation, and the place of every parameter.
#include <algorithm>

#include "ostra/drawport_vulkan/program_factory.h"
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

template <class Record>
const Record* FindByName(const BaseArray<Record>& records, std::string_view name) {
  for (const Record& record : records)
    if (record.name == name) return &record;
  return nullptr;
}

// What the records declare, whether the compiler keeps it or not.
Result<BaseArray<PipelineBinding>> ListBindings(const ShaderRecords& records, const AssembledShader& shader) {
  BaseArray<PipelineBinding> bindings;
  const auto add = [&](Int number, VkDescriptorType type) -> Result<void> {
    if (number < 0) return OK;
    OSTRA_RETURN_IF_ERROR(bindings.Append(PipelineBinding{static_cast<UInt32>(number), type}));
    return OK;
  };
  if (shader.uniformByteCount > 0)
    OSTRA_RETURN_IF_ERROR(add(records.uniformBinding, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC));
  for (const ShaderParameter& parameter : records.parameters) {
    OSTRA_RETURN_IF_ERROR(add(parameter.binding, parameter.isValue ? VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC
                                                                   : VK_DESCRIPTOR_TYPE_STORAGE_BUFFER));
  }
  for (const ShaderTexture& texture : records.textures) {
    OSTRA_RETURN_IF_ERROR(add(texture.binding, texture.isImage ? VK_DESCRIPTOR_TYPE_STORAGE_IMAGE
                                                               : VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER));
  }
  OSTRA_RETURN_IF_ERROR(add(records.gradientBinding, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER));
  std::sort(bindings.begin(), bindings.end(),
            [](const PipelineBinding& a, const PipelineBinding& b) { return a.number < b.number; });
  return bindings;
}

Int FindBinding(const BaseArray<PipelineBinding>& bindings, Int number) {
  for (Int i = 0; i < bindings.GetCount(); ++i)
    if (static_cast<Int>(bindings[i].number) == number) return i;
  return -1;
}

}  // namespace

Result<ProgramFactory*> ProgramFactory::Create(Device& device, const DrawportProgramDescription& description,
                                               const Id& language) {
  ProgramFactory* factory = NewObj<ProgramFactory>();
  if (!factory) return OSTRA_OUT_OF_MEMORY();
  Result<void> made = factory->Init(device, description, language);
  if (made) return factory;
  DeleteObj(factory);
  return made.TakeError();
}

ProgramFactory::~ProgramFactory() {
  for (ValueSet* set : _valueSets) DeleteObj(set);
}

Result<void> ProgramFactory::Init(Device& device, const DrawportProgramDescription& description, const Id& language) {
  OSTRA_RETURN_IF_ERROR(CheckWorkGroup(device, description.GetWorkGroupSize()));
  OSTRA_ASSIGN_OR_RETURN(ShaderRecords records, description.MakeShaderRecords(DrawportStage::Compute, language));
  AssignBindings(records);
  OSTRA_ASSIGN_OR_RETURN(const AssembledShader shader, AssembleShader(records));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<PipelineBinding> bindings, ListBindings(records, shader));
  const String name = description.GetDebugLabel().IsPopulated() ? description.GetDebugLabel() : "kernel"_s;
  OSTRA_ASSIGN_OR_RETURN(
      _pipeline, device.GetPrograms().GetPipeline(
                     language, shader, Block<const PipelineBinding>(bindings.GetFirst(), bindings.GetCount()), name));
  OSTRA_RETURN_IF_ERROR(AddPlaces(description, shader));
  OSTRA_RETURN_IF_ERROR(LayOut(records, shader));
  if (FindBinding(_pipeline->GetBindings(), records.gradientBinding) < 0) return OK;
  _gradientBinding = static_cast<UInt32>(records.gradientBinding);
  OSTRA_ASSIGN_OR_RETURN(_noGradients,
                         BufferResource::Create(device, sizeof(ShaderGradientSegment), MemoryUse::Device, true));
  return OK;
}

Result<void> ProgramFactory::AddPlaces(const DrawportProgramDescription& description, const AssembledShader& shader) {
  for (const DrawportParameter& parameter : description.GetParameters()) {
    ParameterPlace place;
    place.parameter = parameter;
    OSTRA_RETURN_IF_ERROR(_places.Append(std::move(place)));
  }
  // Assembly declares values of its own, such as those of noises.
  for (const ShaderUniform& uniform : shader.uniforms) {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(uniform.name));
    Bool isKnown = false;
    for (const ParameterPlace& place : _places) isKnown = isKnown || place.parameter.name == name;
    if (isKnown) continue;
    ParameterPlace place;
    place.parameter.name = name;
    place.parameter.valueType = uniform.type;
    OSTRA_RETURN_IF_ERROR(_places.Append(std::move(place)));
  }
  return OK;
}

Result<void> ProgramFactory::LayOut(const ShaderRecords& records, const AssembledShader& shader) {
  _uniformSize = shader.uniformByteCount;
  _sliceSize = _uniformSize;
  const Int alignment = static_cast<Int>(GetDevice().GetLimits().minStorageBufferOffsetAlignment);
  const BaseArray<PipelineBinding>& bindings = _pipeline->GetBindings();
  for (ParameterPlace& place : _places) {
    const std::string_view name = place.parameter.name.GetView();
    if (const ShaderUniform* uniform = FindByName(shader.uniforms, name)) place.uniformOffset = uniform->offset;
    if (const ShaderParameter* parameter = FindByName(records.parameters, name); parameter && parameter->binding >= 0)
      place.binding = FindBinding(bindings, parameter->binding);
    if (const ShaderTexture* texture = FindByName(records.textures, name)) {
      place.binding = FindBinding(bindings, texture->binding);
      OSTRA_ASSIGN_OR_RETURN(const String wrapName, MakeWrapUniformName(name));
      if (const ShaderUniform* wrap = FindByName(shader.uniforms, wrapName)) place.wrapOffset = wrap->offset;
    }
    if (place.parameter.isValue && place.binding >= 0) {
      constexpr Int kLargestValue = 64;  // for a value whose size nobody knows: a matrix
      place.valueOffset = (_sliceSize + alignment - 1) / alignment * alignment;
      place.valueSize = place.parameter.layout.byteSize > 0 ? place.parameter.layout.byteSize : kLargestValue;
      _sliceSize = place.valueOffset + place.valueSize;
    }
  }
  return OK;
}

}  // namespace ostra::vulkan
