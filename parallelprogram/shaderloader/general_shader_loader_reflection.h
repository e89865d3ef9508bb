// The method table of GeneralShaderLoaderInterface in slot order, for its reflection record.
#pragma once

#include <array>

#include "ostra/object/reflection.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"

namespace ostra {

inline auto GetGeneralShaderLoaderMethods() {
  using I = GeneralShaderLoaderInterface;
  using ReadAll = Result<Data> (I::*)(const InternedId&) const;
  using ReadRange = Result<Data> (I::*)(const InternedId&, Int, Int) const;
  return std::array{
      DescribeMethod<&I::Init>("Init", {"resourcePath", "context"}),
      DescribeMethod<&I::UpdateContext>("UpdateContext", {"newDrawportContext"}),
      DescribeMethod<&I::Execute>("Execute", {"wait"}),
      DescribeMethod<&I::AddShaders>("AddShaders",
                                     {"kernelId", "files", "hashCode", "drawpass", "drawPassParameters", "wait"}),
      DescribeMethod<&I::RemoveProgram>("RemoveProgram", {"programId"}),
      DescribeMethod<&I::CopyShader>("CopyShader", {"sourceProgramId", "newProgramId", "hashCode", "drawpass", "wait"}),
      DescribeMethod<&I::WaitForProgramCompile>("WaitForProgramCompile", {}),
      DescribeMethod<&I::HasProgram>("HasProgram", {"programId"}),
      DescribeMethod<&I::GetProgramCount>("GetProgramCount", {"name"}),
      DescribeMethod<&I::SetActiveProgram>("SetActiveProgram", {"programId"}),
      DescribeMethod<&I::GetActiveProgramId>("GetActiveProgramId", {}),
      DescribeMethod<&I::UpdateActiveProgram>("UpdateActiveProgram", {"hashCode", "drawPass"}),
      DescribeMethod<&I::UpdateActiveStateSet>("UpdateActiveStateSet", {"hashCode", "drawPassParameters"}),
      DescribeMethod<&I::CheckActiveProgramForUpdatedShaders>("CheckActiveProgramForUpdatedShaders", {"drawPass"}),
      DescribeMethod<&I::Reset>("Reset", {}),
      DescribeMethod<&I::CreateUniformBuffer>("CreateUniformBuffer", {"attr", "dataType", "count"}),
      DescribeMethod<&I::StoreUniformBufferData>("StoreUniformBufferData", {"attr", "data"}),
      DescribeMethod<&I::StoreVertexBufferData>("StoreVertexBufferData", {"attr", "data"}),
      DescribeMethod<&I::UpdateUniformBufferData>("UpdateUniformBufferData", {"attr", "data", "offset"}),
      DescribeMethod<&I::SetGlobalBufferLink>("SetGlobalBufferLink", {"attr", "data"}),
      DescribeMethod<&I::GetGlobalBufferLink>("GetGlobalBufferLink", {"attr"}),
      DescribeMethod<static_cast<ReadAll>(&I::GetGlobalBufferData)>("GetGlobalBufferData", {"attr"}),
      DescribeMethod<static_cast<ReadRange>(&I::GetGlobalBufferData)>("GetGlobalBufferData",
                                                                      {"attr", "offset", "count"}),
      DescribeMethod<&I::SetProgramBufferLink>("SetProgramBufferLink", {"attr", "entry", "shaderIndex"}),
      DescribeMethod<&I::GetProgramBufferLink>("GetProgramBufferLink", {"attr", "shaderIndex"}),
      DescribeMethod<&I::GetProgramBufferData>("GetProgramBufferData", {"attr", "shaderIndex"}),
      DescribeMethod<&I::SetBufferToActiveProgram>("SetBufferToActiveProgram", {"attr", "attrProgram", "shaderIndex"}),
      DescribeMethod<&I::SetBufferToActiveProgramSameId>("SetBufferToActiveProgramSameId", {"attr", "shaderIndex"}),
      DescribeMethod<&I::SetVertexBufferToActiveProgramSameId>("SetVertexBufferToActiveProgramSameId", {"attr"}),
      DescribeMethod<&I::DeleteUniformBuffer>("DeleteUniformBuffer", {"attr"}),
      DescribeMethod<&I::SwapInternedIDValues>("SwapInternedIDValues", {"IdOne", "IdTwo", "shaderIndex"}),
      DescribeMethod<&I::StoreTextureBindData>("StoreTextureBindData", {"attr", "texBindData", "outOfCore"}),
      DescribeMethod<&I::CreateTexture>("CreateTexture", {"attr", "texBindData"}),
      DescribeMethod<&I::UpdateTextureBindData>("UpdateTextureBindData", {"attr", "texBindData"}),
      DescribeMethod<&I::SetProgramTextureLink>("SetProgramTextureLink", {"attr", "entry", "shaderIndex"}),
      DescribeMethod<&I::SetTextureToActiveProgram>("SetTextureToActiveProgram",
                                                    {"attr", "attrProgram", "shaderIndex"}),
      DescribeMethod<&I::SetTextureToActiveProgramSameId>("SetTextureToActiveProgramSameId", {"attr", "shaderIndex"}),
      DescribeMethod<&I::SetSamplerAndTextureHandle>(
          "SetSamplerAndTextureHandle", {"attr", "texture", "sampler", "textureCacheRef", "samplerCacheRef"}),
      DescribeMethod<&I::SetDepthTextureHandleActiveProgram>("SetDepthTextureHandleActiveProgram", {"attr", "entry"}),
      DescribeMethod<&I::SetColorTextureHandleActiveProgram>("SetColorTextureHandleActiveProgram", {"attr", "entry"}),
      DescribeMethod<&I::GetTextureSamplerHandle>("GetTextureSamplerHandle", {"attr"}),
      DescribeMethod<&I::GetTextureHandle>("GetTextureHandle", {"attr"}),
      DescribeMethod<&I::DeleteTexture>("DeleteTexture", {"textureId"}),
      DescribeMethod<&I::GetTextureData>("GetTextureData", {"attr", "regionMin", "regionMax"}),
      DescribeMethod<&I::CopyTextureBytes>(
          "CopyTextureBytes", {"sourceAttr", "targetAttr", "bytesCount", "sourceBytesOffset", "targetBytesOffset"}),
      DescribeMethod<&I::AddAtomicCounter>("AddAtomicCounter", {"attr"}),
      DescribeMethod<&I::SetAtomicCounterToActiveProgram>("SetAtomicCounterToActiveProgram", {"attr", "shaderIndex"}),
      DescribeMethod<&I::SetAtomicCounter>("SetAtomicCounter", {"attr", "value"}),
      DescribeMethod<&I::GetAtomicCounter>("GetAtomicCounter", {"attr"}),
      DescribeMethod<&I::SetUniform>("SetUniform", {"attr", "value", "shaderIndex"}),
      DescribeMethod<&I::UpdateUniforms>("UpdateUniforms", {"drawPass"}),
      DescribeMethod<&I::GetActiveStateObject>("GetActiveStateObject", {}),
      DescribeMethod<&I::GetActiveValueSet>("GetActiveValueSet", {}),
      DescribeMethod<&I::GetActiveVertexBuffer>("GetActiveVertexBuffer", {}),
      DescribeMethod<&I::GetActiveVertexBufferCount>("GetActiveVertexBufferCount", {}),
      DescribeMethod<&I::GetActiveAttributeBuffer>("GetActiveAttributeBuffer", {}),
      DescribeMethod<&I::GetActiveProgramFactory>("GetActiveProgramFactory", {}),
      DescribeMethod<&I::GetActiveAttributeSet>("GetActiveAttributeSet", {}),
  };
}

}  // namespace ostra
