// ParallelProgramInterface: one programming model for data-parallel work on the CPU or on the GPU.
//
//   OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(kCpuProgramClass));
//   OSTRA_RETURN_IF_ERROR(program->Init(Url(), nullptr, 0, false));
//   OSTRA_RETURN_IF_ERROR(program->AddKernel("scale"_iid, Url("net.example.scale.krn"), true));
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
  // Set and read the value under a name of the program's buffer table: another name for an existing buffer.
  virtual Result<void> SetGlobalBufferLink(const InternedId& attr, const Data& data) = 0;
  virtual Result<Data> GetGlobalBufferLink(const InternedId& attr) const = 0;
  // The contents of a buffer as an Array of its element type. Without a range (or with count -1) the CPU program
  // returns the buffer itself: later writes are visible through it until the buffer is resized. With a range, a new
  // array. Errors: illegal argument "buffer identifier not found", "Requested data range is out of bounds".
  virtual Result<Data> GetGlobalBufferData(const InternedId& attr) const = 0;
  virtual Result<Data> GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const = 0;
  // The same for the active kernel's links.
  virtual Result<void> SetKernelBufferLink(const InternedId& attr, const Data& data) = 0;
  virtual Result<Data> GetKernelBufferLink(const InternedId& attr) const = 0;
  virtual Result<Data> GetKernelBufferData(const InternedId& attr) const = 0;
  // Creates or replaces a buffer of zeros. Kernels stay linked to a replaced one until they are linked again.
  virtual Result<void> CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) = 0;
  // Keeps the first elements, new ones are zero; links stay valid. Errors: illegal argument "buffer for resize could
  // not be found", "Buffer cannot be resized to 0 size.". CPU: `forceResize` is ignored.
  virtual Result<void> ResizeUniformBuffer(const InternedId& attr, Int count, Bool forceResize) = 0;
  // Creates or replaces a buffer from a BaseArray, Block or Array value, or from a base array with its type.
  // Errors: illegal argument "data is not an base array or block", "only arrays with one continuous memory block are
  // supported", "Empty buffers are not allowed to be added. Please resize to the required size before storing.".
  virtual Result<void> StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  virtual Result<void> StoreUniformBufferData(const InternedId& attr, const DataType& dataType,
                                              GenericBaseArray&& data) = 0;
  // Overwrites elements from `offset` on, in place. Offset and size count in elements of the data; its type is not
  // compared. Errors: as of storing, and "buffer for update could not be found", "Data update does not fit into
  // existing buffer".
  virtual Result<void> UpdateUniformBufferData(const InternedId& attr, Int offset, ForwardingDataPtr&& data) = 0;
  // Copies elements between buffers of one element type; bytes between any buffers. The areas must not overlap.
  // Errors: illegal argument "source (target) buffer could not be found", "count and offset out of range for source
  // (target) buffer", "Buffers have mismatching data types".
  virtual Result<void> CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr, Int count,
                                      Int sourceOffset, Int targetOffset) = 0;
  virtual Result<void> CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                           Int sourceBytesOffset, Int targetBytesOffset) = 0;

  // Textures.

  // Order in which out-of-core textures are released. CPU: ignored.
  virtual Result<void> SetTextureOutOfCoreDeleteOrder(const BaseArray<InternedId>& deleteOrder) = 0;
  virtual Result<void> SetTextureToActiveKernelSameId(const InternedId& attr) = 0;
  virtual Result<void> SetTextureToActiveKernel(const InternedId& attr, const InternedId& attrKernel) = 0;
  // Creates or replaces a texture from a description and its texels, which are copied.
  virtual Result<void> StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool outOfCore) = 0;
  // The device objects of a texture, null when absent. CPU: null.
  virtual Result<DrawportTextureSampler*> GetTextureSamplerHandle(const InternedId& attr) = 0;
  virtual Result<DrawportTexture*> GetTextureHandle(const InternedId& attr) = 0;
  virtual Result<DrawportTextureSamplerItemRef> GetTextureSamplerCacheRef(const InternedId& attr) = 0;
  virtual Result<DrawportTextureItemRef> GetTextureCacheRef(const InternedId& attr) = 0;
  // Creates a texture of zeros. Sets the caller's texel pointer to null.
  virtual Result<void> CreateTexture(const InternedId& attr, TextureBindData& texBindData) = 0;
  // Replaces the texels of a texture of the same size.
  virtual Result<void> UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) = 0;
  virtual Result<void> SetKernelTextureLink(const InternedId& attr, const Data& data) = 0;
  // Reads texels back. CPU: always the whole texture.
  virtual Result<Data> GetTextureData(const InternedId& attr, const Vec3<Int32>& regionMin,
                                      const Vec3<Int32>& regionMax) const = 0;
  virtual Result<void> CopyTextureBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                        Int sourceBytesOffset, Int targetBytesOffset) = 0;

  // Atomic counters: unsigned 32-bit numbers by name.

  // Creates a counter, or replaces the one of this name. CPU: starts at 0, `data` is ignored.
  virtual Result<void> AddAtomicCounter(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  // Error: illegal argument for an unknown counter, looked up first.
  virtual Result<void> SetAtomicCounterToActiveKernel(const InternedId& attr) = 0;
  // Error: illegal argument "atomic identifier not found".
  virtual Result<void> SetAtomicCounter(const InternedId& attr, UInt32 value) = 0;
  virtual Result<UInt32> GetAtomicCounter(const InternedId& attr) const = 0;

  // Uniforms, exchanges and removal.

  // Sets a value of the active kernel. It must have exactly the type of the kernel's parameter.
  virtual Result<void> SetUniform(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  // Exchanges two buffer links of the active kernel. Errors: illegal argument "buffer one (two) could not be found".
  virtual Result<void> SwapBuffers(const InternedId& bufferOne, const InternedId& bufferTwo) = 0;
  // Exchanges two textures in the program's table; kernel links stay.
  virtual Result<void> SwapTextures(const InternedId& textureOne, const InternedId& textureTwo) = 0;
  virtual Result<void> DeleteTexture(const InternedId& textureId, Bool softDelete) = 0;
  // Forgets a buffer's name; links to it keep working. An unknown ID is not an error.
  virtual Result<void> DeleteUniformBuffer(const InternedId& bufferId) = 0;

  // Running.

  // Hands uniforms, buffers, textures and counters, in this order, to the active kernel. The first error ends it; what
  // was handed over stays. Errors: illegal state "stored data block has size 0"; those of the kernel.
  virtual Result<void> UpdateUniforms() = 0;
  // Runs the active kernel over countX x countY x countZ invocations and returns when all have ended or the first
  // failed. CPU: (n, 1, 1) is one-dimensional; anything else is three-dimensional with every extent raised to one work
  // group. GPU: extents of 0 and 1 are one-dimensional.
  virtual Result<void> DispatchKernel(UInt32 countX, UInt32 countY, UInt32 countZ, Bool disableBarrier) = 0;
  // Runs the active kernel over the work groups that element `offset` of a buffer of Vec4<Int32> names; counts below 1
  // are 1, the fourth number is ignored. Errors: illegal argument "buffer for update could not be found", "buffer is
  // not of the correct type for dispatch indirect", "dispatch offset out of buffer range".
  virtual Result<void> DispatchIndirectKernel(const InternedId& buffer, UInt32 offset, Bool disableBarrier) = 0;
  // Orders buffer (texture) writes between dispatches. CPU: a dispatch has ended all its writes when it returns.
  virtual Result<void> AddMemoryBarrier() = 0;
  virtual Result<void> AddTextureMemoryBarrier() = 0;
  // Reloads kernel sources whose files changed, when the configuration asks for it. CPU: nothing to do.
  virtual Result<void> CheckActiveKernelForUpdatedShaders() = 0;
  virtual Result<void> UpdateDrawportContext(const DrawportContextRef& newDrawportContext) = 0;
  // Releases all kernels and resources. The program can be filled again without Init.
  virtual Result<void> Reset() = 0;
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
