// Atomic counters and uniform values of the shader loader, and how they and all links reach the device.
#include "ostra/core/format.h"
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {

Result<void> GeneralShaderLoaderImpl::AddAtomicCounter(const InternedId& attr) {
  return AddCounter(GetOwner(), _counters, attr);
}

Result<void> GeneralShaderLoaderImpl::SetAtomicCounterToActiveProgram(const InternedId& attr, Int32 shaderIndex) {
  OSTRA_ASSIGN_OR_RETURN(ShaderStage & stage, GetActiveStage(shaderIndex));
  return LinkCounter(_counters, attr, stage.counters);
}

Result<void> GeneralShaderLoaderImpl::SetAtomicCounter(const InternedId& attr, UInt32 value) {
  return SetCounterValue(_data, _counters, attr, value);
}

Result<UInt32> GeneralShaderLoaderImpl::GetAtomicCounter(const InternedId& attr) const {
  return GetCounterValue(_data, _counters, attr);
}

Result<void> GeneralShaderLoaderImpl::SetUniform(const InternedId& attr, ForwardingDataPtr&& value, Int32 shaderIndex) {
  OSTRA_ASSIGN_OR_RETURN(ShaderStage & stage, GetActiveStage(shaderIndex));
  if (value.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" was given no value.", attr);
  return stage.uniforms.SetValue(attr, std::move(value));
}

// A shared program keeps the handler of the loader that has built it, so only this loader is asked.
Result<void> GeneralShaderLoaderImpl::UpdateUniforms(const DrawportDrawPass* drawPass) {
  OSTRA_ASSIGN_OR_RETURN(GraphicsProgram & program, GetActiveProgram());
  if (program.isOfOtherDrawport) OSTRA_RETURN_IF_ERROR(UpdateActiveProgram(program.nameHash, drawPass));
  if (!program.factory) return OSTRA_ILLEGAL_STATE("Program factory not initialized");
  DrawportContextInterface& context = *_data.context;
  OSTRA_ASSIGN_OR_RETURN(program.attributeSet, program.attributeSetItem->MakeValid(context));
  const DrawportFramebufferTargetSet* targets = drawPass ? drawPass->GetDefaultFramebufferTargetSet() : nullptr;
  OSTRA_ASSIGN_OR_RETURN(program.factory, program.factoryItem->MakeValid(context, program.attributeSet, targets));
  if (!program.factory)
    return OSTRA_ILLEGAL_STATE("Illegal state: Condition activeProgram._programFactory not fulfilled. ");
  OSTRA_ASSIGN_OR_RETURN(program.valueSet, program.factory->GetParameterValueSet(context, _identity, program.hash));
  const BaseArray<DrawportParameter>& parameters = program.factoryItem->GetSpecification().GetParameters();
  OSTRA_RETURN_IF_ERROR(program.factory->StartSetParameters(context, *program.valueSet));
  const Block<const DrawportParameter> all(parameters.GetFirst(), parameters.GetCount());
  for (ShaderStage& stage : program.stages)
    OSTRA_RETURN_IF_ERROR(BindStage(stage, {*program.factory, *program.valueSet}, all));
  return program.factory->EndSetParameters(context, *program.valueSet);
}

Result<void> GeneralShaderLoaderImpl::BindProgram(const InternedId& programId, const ParameterTarget& target,
                                                  Block<const DrawportParameter> parameters) {
  GraphicsProgramRef program;
  if (!_programs.Find(programId, program)) return OSTRA_ILLEGAL_STATE("kernel not found");
  for (ShaderStage& stage : program->stages) OSTRA_RETURN_IF_ERROR(BindStage(stage, target, parameters));
  return OK;
}

Result<void> GeneralShaderLoaderImpl::BindStage(ShaderStage& stage, const ParameterTarget& target,
                                                Block<const DrawportParameter> parameters) {
  OSTRA_RETURN_IF_ERROR(BindUniforms(stage, target));
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const DrawportParameter& parameter = parameters[i];
    if (parameter.stage != stage.stage || parameter.kind != DrawportParameterKind::Buffer || parameter.isValue)
      continue;
    const DrawportParameterHandle handle = target.factory.GetStageParameterHandle(stage.stage, parameter.name);
    OSTRA_RETURN_IF_ERROR(BindBuffer(target, handle, parameter, stage, _buffers));
  }
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const DrawportParameter& parameter = parameters[i];
    const Bool isTexture = parameter.kind == DrawportParameterKind::Texture;
    if (parameter.stage != stage.stage || (!isTexture && parameter.kind != DrawportParameterKind::Image)) continue;
    const Bool isDepth = isTexture && parameter.name == GetDepthTextureName() && stage.depthTexture._texture;
    const Bool isColor = isTexture && parameter.name == GetColorTextureName() && stage.colorTexture._texture;
    if (isDepth || isColor) {
      OSTRA_RETURN_IF_ERROR(BindPassTexture(isDepth ? stage.depthTexture : stage.colorTexture, target, parameter));
      continue;
    }
    const DrawportParameterHandle handle = target.factory.GetStageParameterHandle(stage.stage, parameter.name);
    OSTRA_RETURN_IF_ERROR(BindTexture(target, handle, parameter, stage, _textures, "stage"));
  }
  for (const auto& [name, link] : stage.counters) {
    const DrawportParameterHandle handle = target.factory.GetStageParameterHandle(stage.stage, name);
    if (handle) OSTRA_RETURN_IF_ERROR(target.factory.SetParameterAtomicCounter(target.values, handle, link.counter));
  }
  return OK;
}

Result<void> GeneralShaderLoaderImpl::BindUniforms(const ShaderStage& stage, const ParameterTarget& target) const {
  for (const auto& [name, value] : stage.uniforms) {
    const DrawportParameterHandle handle = target.factory.GetStageParameterHandle(stage.stage, name);
    if (!handle) continue;
    if (const auto* gradient = value.GetIf<GradientRenderData>())
      OSTRA_RETURN_IF_ERROR(target.factory.SetParameterGradient(target.values, handle,
                                                                gradient->IsEmpty() ? _gradientRender : *gradient));
    else
      OSTRA_RETURN_IF_ERROR(SetParameterValue(target, handle, name, value));
  }
  return OK;
}

Result<void> GeneralShaderLoaderImpl::BindPassTexture(const TextureSamplerEntry& entry, const ParameterTarget& target,
                                                      const DrawportParameter& parameter) const {
  OSTRA_RETURN_IF_ERROR(CheckTextureType(parameter, *entry._texture, "stage"));
  const DrawportParameterHandle handle = target.factory.GetStageParameterHandle(parameter.stage, parameter.name);
  return target.factory.SetParameterTexture(target.values, handle, entry._texture, entry._sampler);
}

}  // namespace ostra
