// GeneralShaderLoaderImpl: state and helpers. Its methods are grouped by file: context, programs, build, state,
// buffers, textures, counters and uniforms, getters.
//
// Everything happens on the drawing thread; the parser cache alone is shared with other loaders.
#pragma once

#include "ostra/render/gradient.h"
#include "parallelprogram/device/device_textures.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"
#include "parallelprogram/shaderloader/graphics_program.h"

namespace ostra {

class GeneralShaderLoaderImpl final : public Component<GeneralShaderLoaderImpl, GeneralShaderLoaderInterface> {
 public:
  static constexpr const char* kComponentName = "GeneralShaderLoaderImpl";

  GeneralShaderLoaderImpl();
  ~GeneralShaderLoaderImpl() override;

  Result<void> Init(const Url& resourcePath, const DrawportContextRef* context) override;
  Bool UpdateContext(const DrawportContextRef& newDrawportContext) override;
  Result<void> Execute(Bool wait) override;

  Result<Bool> AddShaders(const InternedId& kernelId, const BaseArray<Url>& files, UInt64 hashCode,
                          const DrawportDrawPass* drawpass, const DataDictionary& drawPassParameters,
                          Bool wait) override;
  Result<void> RemoveProgram(const InternedId& programId) override;
  Result<void> CopyShader(const InternedId& sourceProgramId, const InternedId& newProgramId, UInt64 hashCode,
                          const DrawportDrawPass* drawpass, Bool wait) override;
  void WaitForProgramCompile() override;
  Bool HasProgram(const InternedId& programId) override;
  Int32 GetProgramCount(const String& name) override;
  void SetActiveProgram(const InternedId& programId) override;
  InternedId GetActiveProgramId() const override;
  Result<void> UpdateActiveProgram(UInt64 hashCode, const DrawportDrawPass* drawPass) override;
  Result<void> UpdateActiveStateSet(UInt64 hashCode, const DataDictionary& drawPassParameters) override;
  Result<void> CheckActiveProgramForUpdatedShaders(const DrawportDrawPass* drawPass) override;
  Result<void> Reset() override;

  Result<void> CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) override;
  Result<void> StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) override;
  Result<void> StoreVertexBufferData(const InternedId& attr, ForwardingDataPtr&& data) override;
  Result<void> UpdateUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data, Int offset) override;
  Result<void> SetGlobalBufferLink(const InternedId& attr, const Data& data) override;
  Result<Data> GetGlobalBufferLink(const InternedId& attr) const override;
  Result<Data> GetGlobalBufferData(const InternedId& attr) const override;
  Result<Data> GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const override;
  Result<void> SetProgramBufferLink(const InternedId& attr, const Data& entry, Int32 shaderIndex) override;
  Result<Data> GetProgramBufferLink(const InternedId& attr, Int32 shaderIndex) const override;
  Result<Data> GetProgramBufferData(const InternedId& attr, Int32 shaderIndex) const override;
  Result<void> SetBufferToActiveProgram(const InternedId& attr, const InternedId& attrProgram,
                                        Int32 shaderIndex) override;
  Result<void> SetBufferToActiveProgramSameId(const InternedId& attr, Int32 shaderIndex) override;
  Result<void> SetVertexBufferToActiveProgramSameId(const InternedId& attr) override;
  Result<void> DeleteUniformBuffer(const InternedId& attr) override;
  Result<void> SwapInternedIDValues(const InternedId& IdOne, const InternedId& IdTwo, Int32 shaderIndex) override;

  Result<void> StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool outOfCore) override;
  Result<void> CreateTexture(const InternedId& attr, TextureBindData& texBindData) override;
  Result<void> UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) override;
  Result<void> SetProgramTextureLink(const InternedId& attr, const Data& entry, Int32 shaderIndex) override;
  Result<void> SetTextureToActiveProgram(const InternedId& attr, const InternedId& attrProgram,
                                         Int32 shaderIndex) override;
  Result<void> SetTextureToActiveProgramSameId(const InternedId& attr, Int32 shaderIndex) override;
  Result<void> SetSamplerAndTextureHandle(const InternedId& attr, DrawportTexture* texture,
                                          DrawportTextureSampler* sampler,
                                          const DrawportTextureItemRef& textureCacheRef,
                                          const DrawportTextureSamplerItemRef& samplerCacheRef) override;
  Result<void> SetDepthTextureHandleActiveProgram(const InternedId& attr, const Data& entry) override;
  Result<void> SetColorTextureHandleActiveProgram(const InternedId& attr, const Data& entry) override;
  Result<DrawportTextureSampler*> GetTextureSamplerHandle(const InternedId& attr) override;
  Result<DrawportTexture*> GetTextureHandle(const InternedId& attr) override;
  Result<void> DeleteTexture(const InternedId& textureId) override;
  Result<Data> GetTextureData(const InternedId& attr, const Vec3<Int32>& regionMin,
                              const Vec3<Int32>& regionMax) const override;
  Result<void> CopyTextureBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                Int sourceBytesOffset, Int targetBytesOffset) override;

  Result<void> AddAtomicCounter(const InternedId& attr) override;
  Result<void> SetAtomicCounterToActiveProgram(const InternedId& attr, Int32 shaderIndex) override;
  Result<void> SetAtomicCounter(const InternedId& attr, UInt32 value) override;
  Result<UInt32> GetAtomicCounter(const InternedId& attr) const override;

  Result<void> SetUniform(const InternedId& attr, ForwardingDataPtr&& value, Int32 shaderIndex) override;
  Result<void> UpdateUniforms(const DrawportDrawPass* drawPass) override;

  Result<DrawportStateObject*> GetActiveStateObject() const override;
  Result<DrawportParameterValueSet*> GetActiveValueSet() const override;
  Result<DrawportVertexBuffer*> GetActiveVertexBuffer() const override;
  Result<Int> GetActiveVertexBufferCount() const override;
  Result<DrawportDeviceBuffer*> GetActiveAttributeBuffer() const override;
  Result<DrawportProgramFactory*> GetActiveProgramFactory() const override;
  Result<DrawportVertexAttributeSet*> GetActiveAttributeSet() const override;

 private:
  // The way back from what outlives a loader: programs that others share.
  struct Handle : RefCounted<Handle> {
    GeneralShaderLoaderImpl* loader = nullptr;  // null once it is gone
  };

  DeviceOwner GetOwner() const { return {_data, _identity}; }

  // Programs.

  // Adds a program whose stages `prepare` fills in, builds it and makes it active. On failure the table and the active
  // program are as before.
  using PrepareStages = Delegate<Result<void>(GraphicsProgram& program)>;
  Result<void> AddProgram(const InternedId& programId, const PrepareStages& prepare, const DrawportDrawPass* drawPass,
                          const DataDictionary& drawPassParameters);
  // Error: illegal state "no active kernel set".
  Result<GraphicsProgram&> GetActiveProgram() const;
  // A stage of the active program. Errors: as above; illegal argument for an index outside its files.
  Result<ShaderStage&> GetActiveStage(Int32 shaderIndex) const;
  // References to all programs. Error: out of memory.
  Result<BaseArray<GraphicsProgramRef>> GetPrograms() const;
  void MakeActive(const GraphicsProgramRef& program);
  // Changes a table of every stage of every program, and then erases `attr` from `globals`: everything or nothing.
  using ChangeTable = Delegate<Result<void>(DataDictionary& table)>;
  Result<void> ChangeAllStages(DataDictionary ParameterLinks::*table, const ChangeTable& change,
                               DataDictionary& globals, const InternedId& attr);

  // Building.

  // The stages in the language of the device, in their order. Each remembers what it has read, also when it fails.
  Result<BaseArray<ParsedKernel>> ParseStages(GraphicsProgram& program, Int32 sampleCount) const;
  Result<void> DescribeProgram(DrawportProgramDescription& description, const GraphicsProgram& program,
                               const BaseArray<ParsedKernel>& parsed, Int32 sampleCount);
  // A set of the program's attributes in `slot`, with its vertex buffer.
  Result<void> MakeAttributeSet(const GraphicsProgram& program, const DrawportVertexAttributeLayoutItemRef& layout,
                                DrawportVertexAttributeSetItemRef& slot) const;

  // Binding: sets the current values of all parameters.
  Result<void> BindProgram(const InternedId& programId, const ParameterTarget& target,
                           Block<const DrawportParameter> parameters);
  Result<void> BindStage(ShaderStage& stage, const ParameterTarget& target, Block<const DrawportParameter> parameters);
  Result<void> BindUniforms(const ShaderStage& stage, const ParameterTarget& target) const;
  Result<void> BindPassTexture(const TextureSamplerEntry& entry, const ParameterTarget& target,
                               const DrawportParameter& parameter) const;

  // Buffers.

  Result<void> StoreBuffer(const InternedId& attr, const ForwardingDataPtr& data, Bool isVertexData);

  // Textures.

  Result<void> SetPassTexture(TextureSamplerEntry ShaderStage::*texture, const Data& entry);

  const UInt64 _identity;
  StrongRef<Handle> _handle;  // null when there was no memory for it: nothing can be built then
  Url _resourcePath;
  DataDictionary _buffers;   // name -> DataBufferEntry
  DataDictionary _textures;  // name -> TextureSamplerEntry
  GpuCounterTable _counters;
  GpuContextData _data;
  InternedId _activeProgramId;
  GradientRef _gradient;
  GradientRenderData _gradientRender;  // black to white, in place of empty gradients
  GraphicsProgramRef _activeProgram;
  SynchronizedHashMap<InternedId, GraphicsProgramRef> _programs;
};

// The parsers of all loaders of the process.
ParserCache& GetStageParsers();
AtomicInt32& GetStageParserLock();

}  // namespace ostra
