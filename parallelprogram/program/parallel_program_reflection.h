// The method table of ParallelProgramInterface in slot order, for its reflection record.
#pragma once

#include <array>

#include "ostra/object/reflection.h"
#include "parallelprogram/program/parallel_program.h"

namespace ostra {

inline auto GetParallelProgramMethods() {
  using I = ParallelProgramInterface;
  using ReadAll = Result<Data> (I::*)(const InternedId&) const;
  using ReadRange = Result<Data> (I::*)(const InternedId&, Int, Int) const;
  using StoreValue = Result<void> (I::*)(const InternedId&, ForwardingDataPtr&&);
  using StoreTyped = Result<void> (I::*)(const InternedId&, const DataType&, GenericBaseArray&&);
  return std::array{
      DescribeMethod<&I::Init>("Init", {"resourcePath", "context", "deviceIndex", "createOffscreenContext"}),
      DescribeMethod<&I::Execute>("Execute", {"wait"}),
      DescribeMethod<&I::AddKernel>("AddKernel", {"kernelId", "file", "wait"}),
      DescribeMethod<&I::CopyKernel>("CopyKernel", {"sourceKernelId", "newKernelId", "wait"}),
      DescribeMethod<&I::WaitForKernelCompile>("WaitForKernelCompile", {}),
      DescribeMethod<&I::HasKernel>("HasKernel", {"kernelId"}),
      DescribeMethod<&I::GetProgramCount>("GetProgramCount", {"programName"}),
      DescribeMethod<&I::SetActiveKernel>("SetActiveKernel", {"kernelId"}),
      DescribeMethod<&I::GetActiveKernelId>("GetActiveKernelId", {}),
      DescribeMethod<&I::SetBufferToActiveKernelSameId>("SetBufferToActiveKernelSameId", {"attr"}),
      DescribeMethod<&I::SetBufferToActiveKernel>("SetBufferToActiveKernel", {"attr", "attrKernel"}),
      DescribeMethod<&I::SetGlobalBufferLink>("SetGlobalBufferLink", {"attr", "data"}),
      DescribeMethod<&I::GetGlobalBufferLink>("GetGlobalBufferLink", {"attr"}),
      DescribeMethod<static_cast<ReadAll>(&I::GetGlobalBufferData)>("GetGlobalBufferData", {"attr"}),
      DescribeMethod<static_cast<ReadRange>(&I::GetGlobalBufferData)>("GetGlobalBufferData",
                                                                      {"attr", "offset", "count"}),
      DescribeMethod<&I::SetKernelBufferLink>("SetKernelBufferLink", {"attr", "data"}),
      DescribeMethod<&I::GetKernelBufferLink>("GetKernelBufferLink", {"attr"}),
      DescribeMethod<&I::GetKernelBufferData>("GetKernelBufferData", {"attr"}),
      DescribeMethod<&I::CreateUniformBuffer>("CreateUniformBuffer", {"attr", "dataType", "count"}),
      DescribeMethod<&I::ResizeUniformBuffer>("ResizeUniformBuffer", {"attr", "count", "forceResize"}),
      DescribeMethod<static_cast<StoreValue>(&I::StoreUniformBufferData)>("StoreUniformBufferData", {"attr", "data"}),
      DescribeMethod<static_cast<StoreTyped>(&I::StoreUniformBufferData)>("StoreUniformBufferData",
                                                                          {"attr", "dataType", "data"}),
      DescribeMethod<&I::UpdateUniformBufferData>("UpdateUniformBufferData", {"attr", "offset", "data"}),
      DescribeMethod<&I::CopyBufferData>("CopyBufferData",
                                         {"sourceAttr", "targetAttr", "count", "sourceOffset", "targetOffset"}),
      DescribeMethod<&I::CopyBufferDataBytes>(
          "CopyBufferDataBytes", {"sourceAttr", "targetAttr", "bytesCount", "sourceBytesOffset", "targetBytesOffset"}),
      DescribeMethod<&I::SetTextureOutOfCoreDeleteOrder>("SetTextureOutOfCoreDeleteOrder", {"deleteOrder"}),
      DescribeMethod<&I::SetTextureToActiveKernelSameId>("SetTextureToActiveKernelSameId", {"attr"}),
      DescribeMethod<&I::SetTextureToActiveKernel>("SetTextureToActiveKernel", {"attr", "attrKernel"}),
      DescribeMethod<&I::StoreTextureBindData>("StoreTextureBindData", {"attr", "texBindData", "outOfCore"}),
      DescribeMethod<&I::GetTextureSamplerHandle>("GetTextureSamplerHandle", {"attr"}),
      DescribeMethod<&I::GetTextureHandle>("GetTextureHandle", {"attr"}),
      DescribeMethod<&I::GetTextureSamplerCacheRef>("GetTextureSamplerCacheRef", {"attr"}),
      DescribeMethod<&I::GetTextureCacheRef>("GetTextureCacheRef", {"attr"}),
      DescribeMethod<&I::CreateTexture>("CreateTexture", {"attr", "texBindData"}),
      DescribeMethod<&I::UpdateTextureBindData>("UpdateTextureBindData", {"attr", "texBindData"}),
      DescribeMethod<&I::SetKernelTextureLink>("SetKernelTextureLink", {"attr", "data"}),
      DescribeMethod<&I::GetTextureData>("GetTextureData", {"attr", "regionMin", "regionMax"}),
      DescribeMethod<&I::CopyTextureBytes>(
          "CopyTextureBytes", {"sourceAttr", "targetAttr", "bytesCount", "sourceBytesOffset", "targetBytesOffset"}),
      DescribeMethod<&I::AddAtomicCounter>("AddAtomicCounter", {"attr", "data"}),
      DescribeMethod<&I::SetAtomicCounterToActiveKernel>("SetAtomicCounterToActiveKernel", {"attr"}),
      DescribeMethod<&I::SetAtomicCounter>("SetAtomicCounter", {"attr", "value"}),
      DescribeMethod<&I::GetAtomicCounter>("GetAtomicCounter", {"attr"}),
      DescribeMethod<&I::SetUniform>("SetUniform", {"attr", "data"}),
      DescribeMethod<&I::SwapBuffers>("SwapBuffers", {"bufferOne", "bufferTwo"}),
      DescribeMethod<&I::SwapTextures>("SwapTextures", {"textureOne", "textureTwo"}),
      DescribeMethod<&I::DeleteTexture>("DeleteTexture", {"textureId", "softDelete"}),
      DescribeMethod<&I::DeleteUniformBuffer>("DeleteUniformBuffer", {"bufferId"}),
      DescribeMethod<&I::UpdateUniforms>("UpdateUniforms", {}),
      DescribeMethod<&I::DispatchKernel>("DispatchKernel", {"countX", "countY", "countZ", "disableBarrier"}),
      DescribeMethod<&I::DispatchIndirectKernel>("DispatchIndirectKernel", {"buffer", "offset", "disableBarrier"}),
      DescribeMethod<&I::AddMemoryBarrier>("AddMemoryBarrier", {}),
      DescribeMethod<&I::AddTextureMemoryBarrier>("AddTextureMemoryBarrier", {}),
      DescribeMethod<&I::CheckActiveKernelForUpdatedShaders>("CheckActiveKernelForUpdatedShaders", {}),
      DescribeMethod<&I::UpdateDrawportContext>("UpdateDrawportContext", {"newDrawportContext"}),
      DescribeMethod<&I::Reset>("Reset", {}),
      DescribeMethod<&I::ReloadKernels>("ReloadKernels", {}),
      DescribeMethod<&I::GetMemoryInformation>("GetMemoryInformation", {"freeMemory", "totalMemory"}),
      DescribeMethod<&I::GetSupportReadWritePixelFormats>("GetSupportReadWritePixelFormats",
                                                          {"readWrite16bit", "readWrite8bit"}),
      DescribeMethod<&I::GetAvailableAndTotalVRAMBudget>("GetAvailableAndTotalVRAMBudget", {}),
  };
}

}  // namespace ostra
