#include <algorithm>
#include <bit>
#include <cstring>

#include "ostra/drawport_vulkan/program_factory.h"
#include "ostra/drawport_vulkan/recorder.h"
#include "ostra/drawport_vulkan/render_target.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kSetsPerPool = 8;

Bool IsDynamic(VkDescriptorType type) {
  return type == VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC || type == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC;
}

Bool IsBuffer(VkDescriptorType type) { return IsDynamic(type) || type == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER; }

}  // namespace

UInt64 HashObjects(const BaseArray<BoundObject>& objects) {
  UInt64 hash = 0;
  for (const BoundObject& object : objects) {
    for (const void* address :
         {static_cast<const void*>(object.buffer.GetPointer()), static_cast<const void*>(object.image.GetPointer()),
          static_cast<const void*>(object.sampler.GetPointer())})
      hash = CombineHash(hash, reinterpret_cast<UInt64>(address));
    hash = CombineHash(hash, static_cast<UInt64>(object.isLayered));
  }
  return hash;
}

Result<void> ValueSet::Init() {
  const BaseArray<PipelineBinding>& bindings = _factory.GetPipeline().GetBindings();
  const Int count = bindings.GetCount();
  OSTRA_RETURN_IF_ERROR(_nextBytes.Resize(_factory.GetSliceSize()));
  OSTRA_RETURN_IF_ERROR(_bytes.Resize(_factory.GetSliceSize()));
  OSTRA_RETURN_IF_ERROR(_nextObjects.Resize(count));
  OSTRA_RETURN_IF_ERROR(_objects.Resize(count));
  OSTRA_RETURN_IF_ERROR(_writes.Resize(count));
  OSTRA_RETURN_IF_ERROR(_bufferInfos.Resize(count));
  OSTRA_RETURN_IF_ERROR(_imageInfos.Resize(count));
  const Int dynamicCount = std::count_if(bindings.begin(), bindings.end(),
                                         [](const PipelineBinding& binding) { return IsDynamic(binding.type); });
  OSTRA_RETURN_IF_ERROR(_dynamicPlaces.Resize(dynamicCount));
  OSTRA_RETURN_IF_ERROR(_dynamicOffsets.Resize(dynamicCount));
  return OK;
}

Bool ValueSet::Reads(const RenderTarget& target) const {
  for (const BoundObject& object : _objects)
    if (object.image && target.Has(*object.image.GetPointer())) return true;
  return false;
}

void ValueSet::Clear() {
  _nextGradients.Clear();
  std::fill(_nextBytes.begin(), _nextBytes.end(), Byte(0));
  for (BoundObject& object : _nextObjects) object = {};
}

void ValueSet::Publish() {
  const Bool areSame = _nextGradients.GetCount() == _gradients.GetCount() &&
                       (_gradients.IsEmpty() ||
                        std::memcmp(_nextGradients.GetFirst(), _gradients.GetFirst(),
                                    static_cast<std::size_t>(_gradients.GetCount()) * sizeof(_gradients[0])) == 0);
  if (!areSame) {
    std::swap(_nextGradients, _gradients);
    DropSlices();
  }
  if (!std::equal(_nextBytes.begin(), _nextBytes.end(), _bytes.begin())) {
    std::copy(_nextBytes.begin(), _nextBytes.end(), _bytes.begin());
    DropSlices();
  }
  if (!std::equal(_nextObjects.begin(), _nextObjects.end(), _objects.begin())) {
    std::swap(_nextObjects, _objects);
    _current = -1;
    _keptSerial = 0;
  }
}

Error ValueSet::MakeUnsetError(Int binding) const {
  for (const ParameterPlace& place : _factory.GetPlaces()) {
    if (place.binding == binding)
      return OSTRA_ILLEGAL_STATE("The parameter \"@\" of the GPU program is not set.", place.parameter.name);
  }
  return OSTRA_ILLEGAL_STATE("A parameter of the GPU program is not set.");
}

Result<ValueSet::LockedObject> ValueSet::LockObject(Int binding) const {
  const VkDescriptorType type = _factory.GetPipeline().GetBindings()[binding].type;
  const BoundObject& object = _objects[binding];
  LockedObject locked{object.buffer.Lock(), object.image.Lock(), object.sampler.Lock()};
  const Bool isOwn = !object.buffer && IsDynamic(type);
  const Bool needsSampler = type == VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER;
  const Bool isSet = IsBuffer(type) ? isOwn || locked.buffer : locked.image && (!needsSampler || locked.sampler);
  if (!isSet) return MakeUnsetError(binding);
  return locked;
}

Result<void> ValueSet::KeepObjects(Recorder& list) {
  for (Int i = 0; i < _objects.GetCount(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(const LockedObject object, LockObject(i));
    if (object.buffer) OSTRA_RETURN_IF_ERROR(list.EnsureZeroed(*object.buffer));
    if (object.image) OSTRA_RETURN_IF_ERROR(list.EnsureCleared(*object.image));
    for (const DeviceResourceRef& held :
         {DeviceResourceRef(object.buffer), DeviceResourceRef(object.image), DeviceResourceRef(object.sampler)})
      if (held) OSTRA_RETURN_IF_ERROR(list.Keep(*held));
  }
  for (const DescriptorPoolRef& pool : _pools) OSTRA_RETURN_IF_ERROR(list.Keep(*pool));
  return OK;
}

Int ValueSet::GetSliceSize() const {
  return _factory.GetSliceSize() + _gradientRoom * static_cast<Int>(sizeof(ShaderGradientSegment));
}

ValueSet::Range ValueSet::FindRange(Int binding) const {
  const PipelineBinding& description = _factory.GetPipeline().GetBindings()[binding];
  if (description.type == VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC) {
    for (const UniformBlock& block : _factory.GetUniformBlocks())
      if (block.number == description.number) return {block.offset, block.size};
  }
  if (_factory.IsGradientBinding(description.number))
    return {_factory.GetSliceSize(), _gradientRoom * static_cast<Int>(sizeof(ShaderGradientSegment))};
  const ParameterPlace& place = *FindValue(binding);
  return {place.valueOffset, place.valueSize};
}

void ValueSet::GrowGradients() {
  const Int needed = std::max<Int>(_gradients.GetCount(), 1);
  if (_gradientRoom >= needed) return;
  _gradientRoom = static_cast<Int>(std::bit_ceil(static_cast<UInt64>(needed)));
  DropSlices();
  _current = -1;  // the sets end too early
  _written.Reset();
}

void ValueSet::DropSlices() {
  _sliceSerial = 0;
  _recordedSlice = {};
}

void ValueSet::CopyValues(Byte* slice) const {
  MemCopy(slice, _bytes.GetFirst(), _bytes.GetCount());
  if (_gradients.IsPopulated() && _gradients.GetCount() <= _gradientRoom)
    MemCopy(slice + _factory.GetSliceSize(), _gradients.GetFirst(),
            _gradients.GetCount() * static_cast<Int>(sizeof(ShaderGradientSegment)));
}

Result<void> ValueSet::WriteSlice(Recorder& list) {
  OSTRA_ASSIGN_OR_RETURN(const Recorder::UniformSlice slice, list.AllocateUniforms(GetSliceSize()));
  CopyValues(slice.memory);
  OSTRA_ASSIGN_OR_RETURN(_sliceSerial, list.BeginBatch());  // the ring may have needed a new batch
  _sliceOffset = slice.offset;
  return OK;
}

Result<ValueSet::Binding> ValueSet::Prepare(Recorder& list) {
  if (list.GetNumber() != _list)
    return OSTRA_ILLEGAL_STATE("The parameters of the GPU program were set for another context.");
  const BaseArray<PipelineBinding>& bindings = _factory.GetPipeline().GetBindings();
  OSTRA_ASSIGN_OR_RETURN(UInt64 serial, list.BeginBatch());
  if (bindings.IsEmpty()) return Binding{};

  if (_factory.HasGradients()) GrowGradients();
  if (GetSliceSize() > 0 && _sliceSerial != serial) {
    OSTRA_RETURN_IF_ERROR(WriteSlice(list));
    serial = _sliceSerial;
  }
  // What the batch holds already is there and ready.
  if (_keptSerial != serial) {
    OSTRA_RETURN_IF_ERROR(KeepObjects(list));
    _keptSerial = serial;
  }
  if (_current < 0) {
    OSTRA_RETURN_IF_ERROR(FindSet(list));
    FindDynamicPlaces();
  }
  _sets[_current].busyUntil = serial;
  return MakeBinding(_sets[_current].set, _sliceOffset);
}

ValueSet::Binding ValueSet::MakeBinding(VkDescriptorSet set, UInt32 uniformOffset) {
  for (Int i = 0; i < _dynamicPlaces.GetCount(); ++i) {
    const Int place = _dynamicPlaces[i];
    _dynamicOffsets[i] = place < 0 ? 0 : uniformOffset + static_cast<UInt32>(place);
  }
  return Binding{set, uniformOffset, static_cast<UInt32>(_dynamicOffsets.GetCount()), _dynamicOffsets.GetFirst()};
}

// Those of a descriptor set: draws that differ in their values alone find them again.
void ValueSet::FindDynamicPlaces() {
  const BaseArray<PipelineBinding>& bindings = _factory.GetPipeline().GetBindings();
  Int count = 0;
  for (Int i = 0; i < bindings.GetCount(); ++i) {
    if (!IsDynamic(bindings[i].type)) continue;
    // A buffer that was set is bound from its beginning.
    _dynamicPlaces[count++] = _objects[i].buffer ? -1 : FindRange(i).offset;
  }
}

void ValueSet::Binding::Record(VkCommandBuffer commands, VkPipelineBindPoint point, VkPipelineLayout layout,
                               BoundSet& bound) const {
  if (!set || (bound.set == set && bound.layout == layout && bound.uniformOffset == uniformOffset)) return;
  vkCmdBindDescriptorSets(commands, point, layout, 0, 1, &set, dynamicOffsetCount, dynamicOffsets);
  bound = {layout, set, uniformOffset};
}

const ParameterPlace* ValueSet::FindValue(Int binding) const {
  const BaseArray<ParameterPlace>& places = _factory.GetPlaces();
  return std::find_if(places.begin(), places.end(),
                      [binding](const ParameterPlace& place) { return place.binding == binding; });
}

Result<void> ValueSet::FindSet(Recorder& list) {
  const UInt64 hash = HashObjects(_objects);
  const Int* const known = _written.Find(hash);
  if (known && std::equal(_objects.begin(), _objects.end(), _sets[*known].objects.begin())) {
    _current = *known;
    return OK;
  }
  OSTRA_RETURN_IF_ERROR(TakeSet(list));
  WriteSet(_sets[_current].set, &list.GetUniformBuffer());
  std::copy(_objects.begin(), _objects.end(), _sets[_current].objects.begin());
  NoteObjects(hash);
  return OK;
}

void ValueSet::NoteObjects(UInt64 hash) {
  Set& set = _sets[_current];
  const Int* const before = _written.Find(set.objectHash);
  if (before && *before == _current) _written.Erase(set.objectHash);
  set.objectHash = hash;
  // A set without an entry in the table, for lack of memory, is used this once.
  if (const auto entry = _written.Insert(hash)) *entry->value = _current;
}

Result<void> ValueSet::TakeSet(Recorder& list) {
  const UInt64 completed = list.GetCompletedSerial();
  if (completed != _scannedSerial) _scanned = 0;
  _scannedSerial = completed;
  // What was busy or has been taken since then stays busy until further batches are done.
  for (; _scanned < _sets.GetCount(); ++_scanned) {
    if (_sets[_scanned].busyUntil > completed) continue;
    _current = _scanned++;
    return OK;
  }
  OSTRA_RETURN_IF_ERROR(AddSet(list));
  _scanned = _sets.GetCount();
  return OK;
}

Result<void> ValueSet::AddSet(Recorder& list) {
  const Pipeline& pipeline = _factory.GetPipeline();
  OSTRA_RETURN_IF_ERROR(_sets.Reserve(_sets.GetCount() + 1));
  if (_setsLeft == 0) {
    // Each pool is as large as all before it: few pools, however much is on its way.
    const Int count = std::max(kSetsPerPool, _sets.GetCount());
    const BaseArray<PipelineBinding>& bindings = pipeline.GetBindings();
    OSTRA_ASSIGN_OR_RETURN(
        DescriptorPoolRef pool,
        DescriptorPool::Create(_factory.GetDevice(),
                               Block<const PipelineBinding>(bindings.GetFirst(), bindings.GetCount()), count));
    OSTRA_RETURN_IF_ERROR(list.Keep(*pool));
    OSTRA_RETURN_IF_ERROR(_pools.Append(std::move(pool)));
    _setsLeft = count;
  }
  Set added;
  OSTRA_RETURN_IF_ERROR(added.objects.Resize(_objects.GetCount()));
  OSTRA_ASSIGN_OR_RETURN(added.set, _pools[_pools.GetCount() - 1]->Allocate(pipeline.GetSetLayout()));
  --_setsLeft;
  OSTRA_RETURN_IF_ERROR(_sets.Append(std::move(added)));  // there is room
  _current = _sets.GetCount() - 1;
  return OK;
}

void ValueSet::WriteSet(VkDescriptorSet set, const BufferResource* uniforms) {
  const BaseArray<PipelineBinding>& bindings = _factory.GetPipeline().GetBindings();
  for (Int i = 0; i < bindings.GetCount(); ++i) {
    const BoundObject& object = _objects[i];
    VkWriteDescriptorSet& write = _writes[i];
    write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
    write.dstSet = set;
    write.dstBinding = bindings[i].number;
    write.descriptorCount = 1;
    write.descriptorType = bindings[i].type;
    if (IsBuffer(bindings[i].type)) {
      VkDescriptorBufferInfo& info = _bufferInfos[i];
      if (object.buffer)
        info = {object.buffer->GetHandle(), 0, static_cast<VkDeviceSize>(object.buffer->GetSize())};
      else
        info = {uniforms->GetHandle(), 0, static_cast<VkDeviceSize>(FindRange(i).size)};
      write.pBufferInfo = &info;
    } else {
      VkDescriptorImageInfo& info = _imageInfos[i];
      if (object.sampler && object.sampler->IsLinear() && !object.image->IsFilterable() &&
          object.image->IsMeantToBeFiltered())
        _factory.GetDevice().TellUnfiltered(object.image->GetDescription().format);
      info = {object.sampler ? object.sampler->GetHandle(object.image->IsFilterable()) : VK_NULL_HANDLE,
              object.image->GetView(object.isLayered), object.image->GetHomeLayout()};
      write.pImageInfo = &info;
    }
  }
  vkUpdateDescriptorSets(_factory.GetDevice().GetHandle(), static_cast<UInt32>(bindings.GetCount()), _writes.GetFirst(),
                         0, nullptr);
}

}  // namespace ostra::vulkan
