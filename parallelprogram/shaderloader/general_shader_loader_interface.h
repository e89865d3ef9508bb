// GeneralShaderLoaderInterface: graphics programs for a renderer. A program is a set of stage files (".vert", ".frag",
// ".tsc", ".tse"); one program is active, and the renderer takes its state from the getters at the end.
//
// Buffers, textures and counters belong to the loader, each under a name. A stage sees them through links:
// `shaderIndex` chooses the stage of the active program, from 0 in the order of the files given to AddShaders. Methods
// that need an active program fail with illegal state "no active kernel set" without one.
//
// The drawing thread drives a loader. Nothing is thrown; on error the tables are unchanged unless said otherwise.
// Offsets and counts are in elements.
#pragma once

#include "ostra/core/data_dictionary.h"
#include "ostra/drawport/handles.h"
#include "ostra/io/url.h"
#include "ostra/math/vector.h"
#include "ostra/object/interface.h"

namespace ostra {

struct TextureBindData;
class DrawportDeviceBuffer;
class DrawportDrawPass;
class DrawportParameterValueSet;
class DrawportProgramFactory;
class DrawportStateObject;
class DrawportVertexAttributeSet;
class DrawportVertexBuffer;

inline constexpr Id kGeneralShaderLoaderClass = "net.ostra.generalshaderloader"_id;

class GeneralShaderLoaderInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.generalshaderloader"_id;

  // Sets where "relative" locations begin, takes the context (null: stays without one) if there is none yet, and makes
  // the black-to-white gradient that empty gradients are drawn with.
  virtual Result<void> Init(const Url& resourcePath, const DrawportContextRef* context) = 0;
  // Replaces the context. False when it is null or the one that is set.
  virtual Bool UpdateContext(const DrawportContextRef& newDrawportContext) = 0;
  // Submits recorded work, and waits for it when asked.
  virtual Result<void> Execute(Bool wait) = 0;

  // Programs.

  // Builds a program of stage files and makes it active. `hashCode` and `wait` are ignored: programs are built at once
  // and keyed by their name. Errors: illegal argument "Shaders have already been added under the given kernelId.",
  // "Invalid shader type received. (None of .vert/.frag/.tsc/.tse)"; illegal state "shader location needs to be set for
  // initialization of kernel"; those of files, parsing and building. After an error there is no such program.
  virtual Result<Bool> AddShaders(const InternedId& kernelId, const BaseArray<Url>& files, UInt64 hashCode,
                                  const DrawportDrawPass* drawpass, const DataDictionary& drawPassParameters,
                                  Bool wait) = 0;
  // An unknown ID is not an error.
  virtual Result<void> RemoveProgram(const InternedId& programId) = 0;
  // Adds a program with the files of another one and the default render state. Equal IDs: nothing happens. Errors:
  // illegal argument "source kernel could not be found"; those of AddShaders.
  virtual Result<void> CopyShader(const InternedId& sourceProgramId, const InternedId& newProgramId, UInt64 hashCode,
                                  const DrawportDrawPass* drawpass, Bool wait) = 0;
  virtual void WaitForProgramCompile() = 0;
  virtual Bool HasProgram(const InternedId& programId) = 0;
  // Number of programs whose first file has this name without suffix; 0 for the empty name.
  virtual Int32 GetProgramCount(const String& name) = 0;
  // An unknown ID leaves the active program as it is.
  virtual void SetActiveProgram(const InternedId& programId) = 0;
  // Empty when there is none.
  virtual InternedId GetActiveProgramId() const = 0;
  // Builds the active program for a draw pass, and its state object.
  virtual Result<void> UpdateActiveProgram(UInt64 hashCode, const DrawportDrawPass* drawPass) = 0;
  virtual Result<void> UpdateActiveStateSet(UInt64 hashCode, const DataDictionary& drawPassParameters) = 0;
  // Rebuilds the active program when one of its files has changed and g_checkActiveProgramForUpdatedShaders is set.
  virtual Result<void> CheckActiveProgramForUpdatedShaders(const DrawportDrawPass* drawPass) = 0;
  // Releases programs, buffers, textures and the context. Init must follow.
  virtual Result<void> Reset() = 0;

  // Buffers.

  // Creates or replaces a buffer of zeros. Error: illegal argument "DataType not specified or 0 size".
  virtual Result<void> CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) = 0;
  // Create or replace a buffer; vertex data can also be drawn from.
  virtual Result<void> StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  virtual Result<void> StoreVertexBufferData(const InternedId& attr, ForwardingDataPtr&& data) = 0;
  // Overwrites elements from `offset` on; never reallocates. Errors: illegal argument "buffer for update could not be
  // found", "Data update does not fit into existing buffer".
  virtual Result<void> UpdateUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data, Int offset) = 0;
  // Set and read the value under a name of the loader's buffer table. Error: illegal argument "buffer identifier not
  // found".
  virtual Result<void> SetGlobalBufferLink(const InternedId& attr, const Data& data) = 0;
  virtual Result<Data> GetGlobalBufferLink(const InternedId& attr) const = 0;
  // The contents of a buffer, or of a part of it (count -1: all of it), as an Array of its element type. Errors:
  // illegal argument "buffer identifier not found", "Requested data range is out of bounds".
  virtual Result<Data> GetGlobalBufferData(const InternedId& attr) const = 0;
  virtual Result<Data> GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const = 0;
  // The same for a stage's links.
  virtual Result<void> SetProgramBufferLink(const InternedId& attr, const Data& entry, Int32 shaderIndex) = 0;
  virtual Result<Data> GetProgramBufferLink(const InternedId& attr, Int32 shaderIndex) const = 0;
  virtual Result<Data> GetProgramBufferData(const InternedId& attr, Int32 shaderIndex) const = 0;
  // Link buffer `attr` to the stage's parameter `attrProgram` (of the same name).
  virtual Result<void> SetBufferToActiveProgram(const InternedId& attr, const InternedId& attrProgram,
                                                Int32 shaderIndex) = 0;
  virtual Result<void> SetBufferToActiveProgramSameId(const InternedId& attr, Int32 shaderIndex) = 0;
  // Makes buffer `attr` the one that the active program is drawn from.
  virtual Result<void> SetVertexBufferToActiveProgramSameId(const InternedId& attr) = 0;
  // Forgets a buffer and every link to it.
  virtual Result<void> DeleteUniformBuffer(const InternedId& attr) = 0;
  // Exchanges two buffer links of a stage. Errors: illegal argument "buffer one (two) could not be found".
  virtual Result<void> SwapInternedIDValues(const InternedId& IdOne, const InternedId& IdTwo, Int32 shaderIndex) = 0;

  // Textures.

  // Creates or replaces a texture from a description and its texels, which are copied. Error: illegal argument "wrong
  // combination of _numChannels and _format to determine the PixelFormat".
  virtual Result<void> StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool outOfCore) = 0;
  // Creates a texture of zeros. Sets the caller's texel pointer to null.
  virtual Result<void> CreateTexture(const InternedId& attr, TextureBindData& texBindData) = 0;
  // Replaces the texels of a texture of the same size. Error: illegal argument "texture for update could not be found".
  virtual Result<void> UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) = 0;
  virtual Result<void> SetProgramTextureLink(const InternedId& attr, const Data& entry, Int32 shaderIndex) = 0;
  virtual Result<void> SetTextureToActiveProgram(const InternedId& attr, const InternedId& attrProgram,
                                                 Int32 shaderIndex) = 0;
  virtual Result<void> SetTextureToActiveProgramSameId(const InternedId& attr, Int32 shaderIndex) = 0;
  // Adopts a texture and a sampler made elsewhere, with the cache items that own them (empty: the caller keeps them
  // alive). Error: illegal argument "texture or sampler is nullptr".
  virtual Result<void> SetSamplerAndTextureHandle(const InternedId& attr, DrawportTexture* texture,
                                                  DrawportTextureSampler* sampler,
                                                  const DrawportTextureItemRef& textureCacheRef,
                                                  const DrawportTextureSamplerItemRef& samplerCacheRef) = 0;
  // Give the stages of the active program the depth (colour) texture of the draw pass.
  virtual Result<void> SetDepthTextureHandleActiveProgram(const InternedId& attr, const Data& entry) = 0;
  virtual Result<void> SetColorTextureHandleActiveProgram(const InternedId& attr, const Data& entry) = 0;
  // The device objects of a texture.
  virtual Result<DrawportTextureSampler*> GetTextureSamplerHandle(const InternedId& attr) = 0;
  virtual Result<DrawportTexture*> GetTextureHandle(const InternedId& attr) = 0;
  // Forgets a texture; links to it keep its description without device objects.
  virtual Result<void> DeleteTexture(const InternedId& textureId) = 0;
  // The texels of the whole texture: the region is ignored. Error: illegal state "MapTexture in GetTextureData failed".
  virtual Result<Data> GetTextureData(const InternedId& attr, const Vec3<Int32>& regionMin,
                                      const Vec3<Int32>& regionMax) const = 0;
  // Does nothing.
  virtual Result<void> CopyTextureBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                        Int sourceBytesOffset, Int targetBytesOffset) = 0;

  // Atomic counters: unsigned 32-bit numbers by name. Error: illegal argument "atomic identifier not found".

  virtual Result<void> AddAtomicCounter(const InternedId& attr) = 0;
  virtual Result<void> SetAtomicCounterToActiveProgram(const InternedId& attr, Int32 shaderIndex) = 0;
  virtual Result<void> SetAtomicCounter(const InternedId& attr, UInt32 value) = 0;
  virtual Result<UInt32> GetAtomicCounter(const InternedId& attr) const = 0;

  // Uniforms.

  virtual Result<void> SetUniform(const InternedId& attr, ForwardingDataPtr&& value, Int32 shaderIndex) = 0;
  // Hands uniforms and links of all stages to the device. Error: illegal state "Program factory not initialized".
  virtual Result<void> UpdateUniforms(const DrawportDrawPass* drawPass) = 0;

  // What the renderer draws the active program with. Not owned: valid until the program is rebuilt.

  virtual Result<DrawportStateObject*> GetActiveStateObject() const = 0;
  virtual Result<DrawportParameterValueSet*> GetActiveValueSet() const = 0;
  virtual Result<DrawportVertexBuffer*> GetActiveVertexBuffer() const = 0;
  virtual Result<Int> GetActiveVertexBufferCount() const = 0;
  virtual Result<DrawportDeviceBuffer*> GetActiveAttributeBuffer() const = 0;
  virtual Result<DrawportProgramFactory*> GetActiveProgramFactory() const = 0;
  virtual Result<DrawportVertexAttributeSet*> GetActiveAttributeSet() const = 0;
};

using GeneralShaderLoaderRef = StrongRef<GeneralShaderLoaderInterface>;

}  // namespace ostra
