// ProgramFactory: a compiled program with the places of its parameters; ValueSet: the values of one of its users.
#pragma once

#include "ostra/core/hash_map.h"
#include "ostra/core/owned.h"
#include "ostra/drawport/program_factory.h"
#include "ostra/drawport/program_factory_item.h"
#include "ostra/drawport_vulkan/buffer.h"
#include "ostra/drawport_vulkan/image.h"
#include "ostra/drawport_vulkan/pipeline.h"

namespace ostra::vulkan {

struct BoundSet;
class ProgramFactory;
class RecordedWork;
class Recorder;
struct ProgramStage;

// Where a parameter's value goes.
struct ParameterPlace {
  DrawportParameter parameter;
  Int uniformOffset = -1;  // in the uniform buffer; -1: not there
  Int binding = -1;        // index in the pipeline's bindings; -1: the program does not use it
  Int valueOffset = -1;    // behind the uniform buffer, of a buffer that is set as a value
  Int valueSize = 0;       // bytes there
  Int wrapOffset = -1;     // in the uniform buffer, of the wrap modes of a texture
};

// The uniform buffer of a stage: a part of the bytes that a draw or dispatch is given.
struct UniformBlock {
  UInt32 number = 0;  // of its binding
  Int offset = 0;
  Int size = 0;
};

// What is bound to one binding. Held by its item and by recorded work; a dispatch needs what has gone set again.
struct BoundObject {
  WeakRef<BufferResource> buffer;
  WeakRef<ImageResource> image;
  WeakRef<SamplerResource> sampler;
  Bool isLayered = false;
  friend Bool operator==(const BoundObject&, const BoundObject&) = default;
};

UInt64 HashObjects(const BaseArray<BoundObject>& objects);

// An attribute or a colour of a graphics program.
struct StageVariable {
  InternedId name;
  DrawportShaderValueType type = DrawportShaderValueType::Float;
  UInt32 location = 0;
};

class ValueSet final : public DrawportParameterValueSet {
 public:
  // What a dispatch binds. `set` is null for a program without bindings.
  struct Binding {
    VkDescriptorSet set = VK_NULL_HANDLE;
    UInt32 uniformOffset = 0;  // which the dynamic offsets follow from
    UInt32 dynamicOffsetCount = 0;
    const UInt32* dynamicOffsets = nullptr;  // valid until the next Prepare

    // Records the binding unless it is in force already: drivers make a record of each.
    void Record(VkCommandBuffer commands, VkPipelineBindPoint point, VkPipelineLayout layout, BoundSet& bound) const;
  };

  ValueSet(ProgramFactory& factory, UInt32 list, UInt64 owner, UInt64 programHash)
      : _factory(factory), _list(list), _owner(owner), _programHash(programHash) {}
  ValueSet(const ValueSet&) = delete;
  Result<void> Init();

  Bool IsOf(UInt32 list, UInt64 owner, UInt64 programHash) const {
    return _list == list && _owner == owner && _programHash == programHash;
  }

  UInt32 GetList() const { return _list; }
  UInt64 GetOwner() const { return _owner; }

  // Whether a texture of the target is among what is set.
  Bool Reads(const class RenderTarget& target) const;

  Bool IsOfProgram(const ProgramFactory& factory) const { return &_factory == &factory; }

  // Setters write here; nothing counts before Publish.
  void Clear();
  Byte* GetBytes() { return _nextBytes.GetFirst(); }
  BaseArray<ShaderGradientSegment>& GetGradients() { return _nextGradients; }
  BoundObject& GetObject(Int binding) { return _nextObjects[binding]; }
  void Publish();

  // Readies everything for a dispatch of the batch that `list` records; afterwards nothing else may be recorded before
  // it. Error: illegal state for another list, or a resource that is not set.
  Result<Binding> Prepare(Recorder& list);
  // The same for a dispatch that `list` records as a part of `work`.
  Result<Binding> Record(const Recorder& list, RecordedWork& work);

 private:
  struct Set {
    VkDescriptorSet set = VK_NULL_HANDLE;
    UInt64 busyUntil = 0;
    BaseArray<BoundObject> objects;  // that it was written with
    UInt64 objectHash = 0;
  };

  struct LockedObject {
    BufferRef buffer;
    ImageRef image;
    SamplerRef sampler;
  };
  // Error: illegal state when what is bound is not set, or has gone.
  Result<LockedObject> LockObject(Int binding) const;
  // Readies the objects and lets the batch hold them.
  Result<void> KeepObjects(Recorder& list);
  // Makes the gradients' part of the slice large enough.
  void GrowGradients();
  // Copies values and gradients to a new slice of the uniform ring.
  Result<void> WriteSlice(Recorder& list);
  void CopyValues(Byte* slice) const;
  // Values are others than those of the slices that were written.
  void DropSlices();
  // The same for recorded work.
  Result<void> HoldObjects(RecordedWork& work) const;
  Result<void> RecordSlice(RecordedWork& work);
  Result<VkDescriptorSet> RecordSet(RecordedWork& work);
  Binding MakeBinding(VkDescriptorSet set, UInt32 uniformOffset);
  // Error: illegal state, with the parameter's name.
  Error MakeUnsetError(Int binding) const;
  // Makes a set that has the published objects the current one: the one that was written with them, or one that the
  // device is done with, or a new one.
  Result<void> FindSet(Recorder& list);
  Result<void> TakeSet(Recorder& list);
  Result<void> AddSet(Recorder& list);
  // Finds the current set by its objects from now on.
  void NoteObjects(UInt64 hash);
  void WriteSet(VkDescriptorSet set, const BufferResource* uniforms);
  void FindDynamicPlaces();
  // The value behind a dynamic storage binding.
  const ParameterPlace* FindValue(Int binding) const;
  // The part of the slice that a dynamic binding without a buffer of its own sees.
  struct Range {
    Int offset = 0, size = 0;
  };
  Range FindRange(Int binding) const;
  Int GetSliceSize() const;

  ProgramFactory& _factory;
  UInt32 _list;
  UInt64 _owner;
  UInt64 _programHash;

  BaseArray<Byte> _nextBytes, _bytes;  // uniform buffer and values behind it
  BaseArray<BoundObject> _nextObjects, _objects;
  BaseArray<ShaderGradientSegment> _nextGradients, _gradients;
  Int _gradientRoom = 0;  // segments that descriptor sets have room for

  // The uniforms' place for batch _sliceSerial; another batch gets another copy.
  UInt64 _sliceSerial = 0;
  UInt32 _sliceOffset = 0;
  // The same in the recorded work of this number.
  struct RecordedSlice {
    UInt64 work = 0;
    BufferResource* buffer = nullptr;
    UInt32 offset = 0;
  };
  RecordedSlice _recordedSlice;
  BaseArray<UInt32> _dynamicOffsets;
  BaseArray<Int> _dynamicPlaces;  // the same from the beginning of the slice; -1: offset 0

  // Descriptor sets: one is written again when the device is done with it. Until then it serves all dispatches that
  // have its objects, so that buffers which change places again and again need no more than two.
  BaseArray<DescriptorPoolRef> _pools;
  Int _setsLeft = 0;  // in the last pool
  BaseArray<Set> _sets;
  Int _current = -1;              // the set that has the published objects; -1: none
  HashMap<UInt64, Int> _written;  // sets by the hash of their objects
  UInt64 _scannedSerial = 0;      // batches were done up to it when sets before _scanned were busy
  Int _scanned = 0;
  UInt64 _keptSerial = 0;
  BaseArray<VkWriteDescriptorSet> _writes;
  BaseArray<VkDescriptorBufferInfo> _bufferInfos;
  BaseArray<VkDescriptorImageInfo> _imageInfos;
};

class ProgramFactory final : public DrawportProgramFactory {
 public:
  // Assembles, compiles and lays out; `language` is the drawport's. Errors: those of the description, the compiler and
  // the device.
  static Result<Owned<ProgramFactory>> Create(Device& device, const DrawportProgramDescription& description,
                                              const Id& language);

  ProgramFactory() = default;
  ProgramFactory(const ProgramFactory&) = delete;
  ~ProgramFactory();

  Device& GetDevice() const { return _pipeline->GetDevice(); }
  Pipeline& GetPipeline() const { return *_pipeline; }
  const BaseArray<UniformBlock>& GetUniformBlocks() const { return _uniformBlocks; }
  Int GetSliceSize() const { return _sliceSize; }
  const BaseArray<ParameterPlace>& GetPlaces() const { return _places; }
  // Whether a stage reads gradients, and whether a binding is that of their segments. All stages share the segments,
  // which lie behind the slice.
  Bool HasGradients() const { return _gradientBindings.IsPopulated(); }
  Bool IsGradientBinding(UInt32 number) const;

  // Where the value of a parameter lies in a slice; no bytes for one that the program does not read. Error: illegal
  // argument for a parameter that is no value.
  struct ValueRange {
    Int offset = 0, bytes = 0;
  };
  Result<ValueRange> FindValue(DrawportParameterHandle handle) const;

  // Of graphics programs. Whether vertices have the attributes that the program reads, and targets a place for its
  // colours. Errors: illegal argument that names what is missing.
  Result<void> CheckAttributes(const DrawportVertexAttributeSet& attributes) const;
  Result<void> CheckTargets(const DrawportFramebufferTargetSet& targets) const;
  // The same while they become part of the state that the program is drawn with.
  Result<void> AddAttributes(const DrawportVertexAttributeSet* attributes, GraphicsState& state) const;
  void AddTargets(GraphicsState& state) const;
  Bool HasAttributes() const { return _attributes.IsPopulated(); }
  Bool HasTessellation() const { return _pipeline->FindStage(DrawportStage::TessellationControl) != nullptr; }

  DrawportParameterHandle GetParameterHandle(InternedId name) const override;
  DrawportParameterHandle GetBufferParameterHandle(InternedId name) const override;
  DrawportParameterHandle GetImageParameterHandle(InternedId name) const override;
  DrawportParameterHandle GetStageParameterHandle(DrawportStage stage, InternedId name) const override;
  Result<DrawportParameterValueSet*> GetParameterValueSet(DrawportContextInterface& context, UInt64 owner,
                                                          UInt64 programHash) override;
  void ReleaseParameterValueSet(DrawportParameterValueSet& values) override;
  Result<void> StartSetParameters(DrawportContextInterface& context, DrawportParameterValueSet& values) override;
  Result<void> EndSetParameters(DrawportContextInterface& context, DrawportParameterValueSet& values) override;
  Result<void> SetParameterFloat(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                 Float32 value) override;
  Result<void> SetParameterFloat2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                  const Vector2d32& value) override;
  Result<void> SetParameterVector(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                  const Vector32& value) override;
  Result<void> SetParameterVector(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                  const Vector4d32& value) override;
  Result<void> SetParameterUInt(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                UInt32 value) override;
  Result<void> SetParameterUInt2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                 const Vec2<UInt32>& value) override;
  Result<void> SetParameterUInt3(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                 const Vec3<UInt32>& value) override;
  Result<void> SetParameterUInt4(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                 const Vec4<UInt32>& value) override;
  Result<void> SetParameterInt(DrawportParameterValueSet& values, DrawportParameterHandle handle, Int32 value) override;
  Result<void> SetParameterInt2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                const Vec2<Int32>& value) override;
  Result<void> SetParameterInt3(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                const Vec3<Int32>& value) override;
  Result<void> SetParameterInt4(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                const Vec4<Int32>& value) override;
  using DrawportProgramFactory::SetParameterMatrix;
  Result<void> SetParameterMatrix(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                  const SquareMatrix32& value) override;
  Result<void> SetParameterMatrix(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                  const SquareMatrix4d32& value) override;
  Result<void> SetParameterBuffer(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                  DrawportDeviceBuffer* buffer) override;
  Result<void> SetParameterTexture(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                   DrawportTexture* texture, DrawportTextureSampler* sampler) override;
  Result<void> SetParameterImage(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                 DrawportTexture* texture) override;
  Result<void> SetParameterAtomicCounter(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                         DrawportAtomicCounter* counter) override;
  Result<void> SetParameterNoise(DrawportParameterValueSet& values, DrawportParameterHandle handle, Int32 seed,
                                 Int32 depth) override;
  Result<void> SetParameterGradient(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                    const GradientRenderData& gradient) override;

 private:
  // program_layout.cpp
  Result<void> Init(Device& device, const DrawportProgramDescription& description, const Id& language);
  Result<void> AddPlaces(const DrawportProgramDescription& description, const BaseArray<ProgramStage>& stages);
  Result<void> LayOut(const ProgramStage& stage);
  // program_graphics.cpp
  Result<void> FindVariables(const BaseArray<ProgramStage>& stages);

  // Writes `bytes` bytes of a value. Error: illegal argument when the parameter is of another type.
  Result<void> SetValue(DrawportParameterValueSet& values, DrawportParameterHandle handle, DrawportShaderValueType type,
                        const void* value, Int bytes);
  // The place of a parameter of the given kind; null for an empty handle. Error: illegal argument for another kind.
  Result<const ParameterPlace*> FindPlace(DrawportParameterHandle handle, DrawportParameterKind kind) const;
  Result<void> CheckTexture(const ParameterPlace& place, const ImageResource& image) const;
  // Error: illegal state for an object of another device.
  Result<void> CheckDevice(const ParameterPlace& place, const DeviceResource* object) const;
  // Sets of lists that have gone.
  void DropValueSets();  // with the lock held

  PipelineRef _pipeline;
  BaseArray<ParameterPlace> _places;
  BaseArray<UniformBlock> _uniformBlocks;
  Int _sliceSize = 0;
  BaseArray<UInt32> _gradientBindings;            // that are used
  BaseArray<StageVariable> _attributes, _colors;  // that are used
  Bool _writesDepth = false;
  std::mutex _valueSetMutex;  // users of a program may have contexts and threads of their own
  OwnedArray<ValueSet> _valueSets;
};

}  // namespace ostra::vulkan
