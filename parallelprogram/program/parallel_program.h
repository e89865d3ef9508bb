// ParallelProgramInterface: one programming model for data-parallel work on the CPU or on the GPU.
//
//   OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(kCpuProgramClass));
//   OSTRA_RETURN_IF_ERROR(program->Init(Url(), nullptr, 0, false));
//   OSTRA_RETURN_IF_ERROR(program->AddKernel("scale"_iid, Url("net.example.scale.krn"_s), true));
//   OSTRA_RETURN_IF_ERROR(program->StoreUniformBufferData("values"_iid, std::move(values)));   // BaseArray<Float32>
//   OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("values"_iid));
//   OSTRA_RETURN_IF_ERROR(program->SetUniform("factor"_iid, 2.0f));
//   OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
//   OSTRA_RETURN_IF_ERROR(program->DispatchKernel(count, 1, 1, false));
//   OSTRA_ASSIGN_OR_RETURN(Data result, program->GetGlobalBufferData("values"_iid));
//
// A program owns kernels, buffers, textures and atomic counters, each under a name. Kernels see them through links:
// a link table per kernel maps the kernel's parameter names to resources. UpdateUniforms hands links and uniform
// values to the active kernel; it must run after they change and before the dispatch.
//
// One thread drives a program at a time. Nothing is thrown; a failing method leaves the program usable and, unless
// said otherwise, as it was. Per-kernel methods without an active kernel fail with illegal state "no active kernel
// set". Offsets and counts are in elements unless a name says bytes.
#pragma once

#include <utility>

#include "ostra/core/data.h"
#include "ostra/drawport/handles.h"
#include "ostra/io/url.h"
#include "ostra/math/data_types.h"
#include "ostra/object/class.h"

namespace ostra {

struct TextureBindData;

inline constexpr Id kCpuProgramClass = "net.ostra.drawportmisc.cpuprogram"_id;
inline constexpr Id kGpuProgramClass = "net.ostra.drawportmisc.gpuprogram"_id;

class ParallelProgramInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawportmisc.interface.parallelprogram"_id;

  // Prepares the program; must be the first call. CPU: ignores all arguments.
  virtual Result<void> Init(const Url& resourcePath, const DrawportContextRef* context, Int32 deviceIndex,
                            Bool createOffscreenContext) = 0;
  // Submits recorded GPU work, and waits for it when asked. CPU: nothing to do.
  virtual Result<void> Execute(Bool wait) = 0;

  // Kernels.

  // Adds the kernel that the last part of `file` names and makes it active. CPU: a class of the kernel class registry.
  // Errors: illegal argument "Kernel id is already used"; that of the registry, the class or the kernel's Init.
  virtual Result<void> AddKernel(const InternedId& kernelId, const Url& file, Bool wait) = 0;
  // Registers a copy of a kernel with its links and uniforms; the active kernel stays. Equal IDs: nothing happens.
  // Errors: illegal argument "source kernel could not be found", "Kernel id is already used"; that of the kernel's
  // Init, which leaves the incomplete copy in the table.
  virtual Result<void> CopyKernel(const InternedId& sourceKernelId, const InternedId& newKernelId, Bool wait) = 0;
  // Blocks until pending compilation ends.
  virtual void WaitForKernelCompile() = 0;
  virtual Bool HasKernel(const InternedId& kernelId) = 0;
  // Number of kernels added (not copied) from a file with this last part; 0 for the empty name.
  virtual Int32 GetProgramCount(const String& programName) = 0;
  // An unknown ID leaves the active kernel as it is.
  virtual void SetActiveKernel(const InternedId& kernelId) = 0;
  // Empty when there is none.
  virtual InternedId GetActiveKernelId() const = 0;

  // Buffers: typed arrays by name, and their links to kernel parameters.

  // Link program buffer `attr` to the active kernel's parameter of the same name (of the name `attrKernel`).
  // Error: illegal argument for an unknown buffer, looked up first.
  virtual Result<void> SetBufferToActiveKernelSameId(const InternedId& attr) = 0;
  virtual Result<void> SetBufferToActiveKernel(const InternedId& attr, const InternedId& attrKernel) = 0;
  // Set and read the value under a name of the program's buffer table, a pointer to an Array<Generic>: another name for
  // an existing buffer. It may also point to an array of the client's that outlives the link; of such an array the
  // first piece of memory is the buffer, and while it refers to no array there is no buffer of this name. Errors:
  // illegal argument for a value that is no such pointer, and for an unknown name.
  virtual Result<void> SetGlobalBufferLink(const InternedId& attr, const Data& data) = 0;
  virtual Result<Data> GetGlobalBufferLink(const InternedId& attr) const = 0;
  // The contents of a buffer as an Array of its element type. Without a range (or with count -1, whatever the offset)
  // the CPU program returns the buffer itself: later writes are visible through it until the buffer is resized. With a
  // range, a new array. Errors: illegal argument "buffer identifier not found", "Requested data range is out of
  // bounds", also for other negative counts and for a negative offset of elements that would be read; out of memory.
  virtual Result<Data> GetGlobalBufferData(const InternedId& attr) const = 0;
  virtual Result<Data> GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const = 0;
  // The same for the active kernel's links. Errors: as above, and illegal state without an active kernel.
  virtual Result<void> SetKernelBufferLink(const InternedId& attr, const Data& data) = 0;
  virtual Result<Data> GetKernelBufferLink(const InternedId& attr) const = 0;
  virtual Result<Data> GetKernelBufferData(const InternedId& attr) const = 0;
  // Creates or replaces a buffer of zeros (of default values, for types that are not plain bytes). Kernels stay linked
  // to a replaced one until they are linked again. A count of 0 is allowed; UpdateUniforms refuses such a buffer.
  // Errors: illegal argument "DataType not specified or 0 size", and for a negative count; out of memory.
  virtual Result<void> CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) = 0;
  // Keeps the first elements, new ones are zero; links stay valid. Values read before keep the old elements. Errors:
  // illegal argument "buffer for resize could not be found", "Buffer cannot be resized to 0 size."; out of memory. CPU:
  // `forceResize` is ignored.
  virtual Result<void> ResizeUniformBuffer(const InternedId& attr, Int count, Bool forceResize) = 0;
  // Creates or replaces a buffer from a BaseArray, Block or Array value, or from a base array with its type: that of
  // its elements, or another plain type of the same size, as which its bytes are then taken. The base array is
  // consumed. Errors: illegal argument "data is not an base array or block", "only arrays with one continuous memory
  // block are supported", "Empty buffers are not allowed to be added. Please resize to the required size before
  // storing.", "Values of type "@" cannot be stored as "@"."; out of memory.
  virtual Result<void> StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  virtual Result<void> StoreUniformBufferData(const InternedId& attr, const DataType& dataType,
                                              GenericBaseArray&& data) = 0;
  // Overwrites elements from `offset` on, in place. The data may be part of the buffer. Offset and size count in
  // elements of the data; data of another type is written as raw bytes when both types are plain. Errors: as of
  // storing, and "buffer for update could not be found", "Data update does not fit into existing buffer", "Values of
  // type "@" cannot be written into a buffer of "@".".
  virtual Result<void> UpdateUniformBufferData(const InternedId& attr, Int offset, ForwardingDataPtr&& data) = 0;
  // Copies elements between buffers of one element type, compared when the ranges are right; bytes between buffers of
  // any plain element types. The areas must not overlap. Counts below 1 copy nothing. Errors: illegal argument "source
  // (target) buffer could not be found", "count and offset out of range for source (target) buffer"; of elements,
  // "Buffers have mismatching data types"; of bytes, "Bytes of "@" cannot be copied into a buffer of "@".".
  virtual Result<void> CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr, Int count,
                                      Int sourceOffset, Int targetOffset) = 0;
  virtual Result<void> CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                           Int sourceBytesOffset, Int targetBytesOffset) = 0;

  // Textures: texels with the way to read them, by name.

  // Order in which out-of-core textures are released. CPU: ignored.
  virtual Result<void> SetTextureOutOfCoreDeleteOrder(const BaseArray<InternedId>& deleteOrder) = 0;
  // Link texture `attr` to the active kernel's parameter of the same name (of the name `attrKernel`).
  // Error: illegal argument for an unknown texture, looked up first.
  virtual Result<void> SetTextureToActiveKernelSameId(const InternedId& attr) = 0;
  virtual Result<void> SetTextureToActiveKernel(const InternedId& attr, const InternedId& attrKernel) = 0;
  // Creates or replaces a texture from a description and its texels, which are copied. Kernels stay linked to a
  // replaced one until they are linked again. CPU: `outOfCore` is ignored; which descriptions there are samplers for is
  // said in textures/texture_factory.h. Errors: illegal argument for any other description; out of memory.
  virtual Result<void> StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool outOfCore) = 0;
  // The device objects of a texture, null when absent. CPU: null.
  virtual Result<DrawportTextureSampler*> GetTextureSamplerHandle(const InternedId& attr) = 0;
  virtual Result<DrawportTexture*> GetTextureHandle(const InternedId& attr) = 0;
  virtual Result<DrawportTextureSamplerItemRef> GetTextureSamplerCacheRef(const InternedId& attr) = 0;
  virtual Result<DrawportTextureItemRef> GetTextureCacheRef(const InternedId& attr) = 0;
  // Creates a texture of zeros. Sets the caller's texel pointer to null, also when it fails. Errors: as of storing.
  virtual Result<void> CreateTexture(const InternedId& attr, TextureBindData& texBindData) = 0;
  // Replaces the texels of a texture of the same size in bytes; nothing else is compared. Without texels nothing
  // happens. Errors: illegal argument "texture sampler identifier not found", "Size of input TextureBindData differs
  // from the size of the stored texture.".
  virtual Result<void> UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) = 0;
  // Sets a link of the active kernel to a sampler. Error: illegal argument for a value that is no pointer to one.
  virtual Result<void> SetKernelTextureLink(const InternedId& attr, const Data& data) = 0;
  // Reads texels back, as a copy. CPU: always the whole texture, as SamplingData. Errors: illegal argument "texture
  // sampler identifier not found"; out of memory.
  virtual Result<Data> GetTextureData(const InternedId& attr, const Vec3<Int32>& regionMin,
                                      const Vec3<Int32>& regionMax) const = 0;
  // Copies texel bytes between textures; a negative count copies all of a texture into one of the same size. Errors:
  // illegal argument "source (target) texture could not be found.", "If bytesCount is negative, both textures should be
  // of the same size.", "bytesCount + sourceBytesOffset is larger than source texture size.", "bytesCount +
  // targetBytesOffset is larger than target texture size.". GPU: nothing happens.
  virtual Result<void> CopyTextureBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                        Int sourceBytesOffset, Int targetBytesOffset) = 0;

  // Atomic counters: unsigned 32-bit numbers by name.

  // Creates a counter, or replaces the one of this name; kernels linked to that keep counting there. CPU: starts at 0,
  // `data` is ignored. Error: out of memory.
  virtual Result<void> AddAtomicCounter(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  // Error: illegal argument for an unknown counter, looked up first.
  virtual Result<void> SetAtomicCounterToActiveKernel(const InternedId& attr) = 0;
  // Error: illegal argument "atomic identifier not found".
  virtual Result<void> SetAtomicCounter(const InternedId& attr, UInt32 value) = 0;
  virtual Result<UInt32> GetAtomicCounter(const InternedId& attr) const = 0;

  // Uniforms, exchanges and removal.

  // Sets a value of the active kernel. It must have exactly the type of the kernel's parameter, which is not compared.
  // Error: illegal argument when there is no value.
  virtual Result<void> SetUniform(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  // Exchanges two buffer links of the active kernel. Errors: illegal argument "buffer one (two) could not be found".
  virtual Result<void> SwapBuffers(const InternedId& bufferOne, const InternedId& bufferTwo) = 0;
  // Exchanges two textures in the program's table; kernel links stay. Errors: illegal argument "buffer one (two) could
  // not be found" on the CPU, "texture one (two) could not be found" on the GPU.
  virtual Result<void> SwapTextures(const InternedId& textureOne, const InternedId& textureTwo) = 0;
  // Removes a texture and, on the CPU, its links of all kernels; its memory is freed. An unknown ID is not an error.
  // Error: out of memory, when a table that two kernels share has to be copied. CPU: `softDelete` is ignored.
  virtual Result<void> DeleteTexture(const InternedId& textureId, Bool softDelete) = 0;
  // Forgets a buffer's name; links to it keep working. An unknown ID is not an error.
  virtual Result<void> DeleteUniformBuffer(const InternedId& bufferId) = 0;

  // Running.

  // Hands uniforms, buffers, textures, counters and noises, in this order, to the active kernel; of resources that are
  // linked under one name the last counts. The first error ends it; what was handed over stays. Errors: illegal state
  // "stored data block has size 0"; illegal argument for a texture of another kind than the kernel declares, and for
  // noises without a seed or a class; out of memory; those of the kernel.
  virtual Result<void> UpdateUniforms() = 0;
  // Runs the active kernel over countX x countY x countZ invocations and returns when all have ended or the first
  // failed. CPU: (n, 1, 1) is one-dimensional and runs n invocations, none for 0; anything else, (n, 0, 0) too, is
  // three-dimensional with every extent raised to one work group. GPU: y and z of 0 and 1 are one-dimensional, and an
  // extent of 0 runs nothing. Errors: that of an invocation; on the CPU illegal state for a kernel whose work group
  // size has a component 0, unless the dispatch is (0, 1, 1).
  virtual Result<void> DispatchKernel(UInt32 countX, UInt32 countY, UInt32 countZ, Bool disableBarrier) = 0;
  // Runs the active kernel over the work groups that element `offset` of a buffer of Vec4<Int32> names; counts below 1
  // are 1, the fourth number is ignored. CPU: one-dimensional when the invocations along y and along z come to 1.
  // Errors: illegal argument "buffer for update could not be found", "buffer is not of the correct type for dispatch
  // indirect", "dispatch offset out of buffer range"; those of dispatching.
  virtual Result<void> DispatchIndirectKernel(const InternedId& buffer, UInt32 offset, Bool disableBarrier) = 0;
  // Orders buffer (texture) writes between dispatches. CPU: a dispatch has ended all its writes when it returns.
  virtual Result<void> AddMemoryBarrier() = 0;
  virtual Result<void> AddTextureMemoryBarrier() = 0;
  // Reloads kernel sources whose files changed, when the configuration asks for it. CPU: nothing to do.
  virtual Result<void> CheckActiveKernelForUpdatedShaders() = 0;
  // Moves the program to another context of the GPU. CPU: nothing to do.
  virtual Result<void> UpdateDrawportContext(const DrawportContextRef& newDrawportContext) = 0;
  // Releases all kernels and resources. The program can be filled again without Init. CPU: the memory of counters is
  // kept until the program ends.
  virtual Result<void> Reset() = 0;
  // Reloads all kernel sources. CPU: nothing to do.
  virtual void ReloadKernels() = 0;

  // Bytes of device memory; true when known. CPU: -1, -1 and true.
  virtual Bool GetMemoryInformation(Int64& freeMemory, Int64& totalMemory) const = 0;
  // Whether kernels can write 16-bit and 8-bit texels. CPU: false and true.
  virtual void GetSupportReadWritePixelFormats(Bool& readWrite16bit, Bool& readWrite8bit) const = 0;
  // Available and total bytes of device memory. CPU: 2^40 for both.
  virtual std::pair<Int64, Int64> GetAvailableAndTotalVRAMBudget() const = 0;
};

using ParallelProgramRef = StrongRef<ParallelProgramInterface>;

}  // namespace ostra
