#include <algorithm>

#include "ostra/drawport_vulkan/command_list.h"
#include "ostra/drawport_vulkan/program_factory.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kSetsPerPool = 8;

Bool IsDynamic(VkDescriptorType type) {
  return type == VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC || type == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC;
}

Bool IsBuffer(VkDescriptorType type) { return IsDynamic(type) || type == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER; }

}  // namespace

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
  OSTRA_RETURN_IF_ERROR(_dynamicOffsets.Reserve(count));
  return OK;
}

void ValueSet::Clear() {
  std::fill(_nextBytes.begin(), _nextBytes.end(), Byte(0));
  for (BoundObject& object : _nextObjects) object = {};
}

void ValueSet::Publish() {
  if (!std::equal(_nextBytes.begin(), _nextBytes.end(), _bytes.begin())) {
    std::copy(_nextBytes.begin(), _nextBytes.end(), _bytes.begin());
    _sliceSerial = 0;
  }
  if (!std::equal(_nextObjects.begin(), _nextObjects.end(), _objects.begin())) {
    std::swap(_nextObjects, _objects);
    _current = -1;
    _keptSerial = 0;
  }
}

Result<void> ValueSet::MakeUnsetError(Int binding) const {
  for (const ParameterPlace& place : _factory.GetPlaces()) {
    if (place.binding == binding)
      return OSTRA_ILLEGAL_STATE("The parameter \"@\" of the GPU program is not set.", place.parameter.name);
  }
  return OSTRA_ILLEGAL_STATE("A parameter of the GPU program is not set.");
}

Result<void> ValueSet::KeepObjects(CommandList& list) {
  const BaseArray<PipelineBinding>& bindings = _factory.GetPipeline().GetBindings();
  for (Int i = 0; i < _objects.GetCount(); ++i) {
    const VkDescriptorType type = bindings[i].type;
    const BufferRef buffer = _objects[i].buffer.Lock();
    const ImageRef image = _objects[i].image.Lock();
    const SamplerRef sampler = _objects[i].sampler.Lock();
    const Bool isOwn =
        !_objects[i].buffer &&
        (IsDynamic(type) || (_factory.GetNoGradients() && bindings[i].number == _factory.GetGradientBinding()));
    const Bool needsSampler = type == VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER;
    const Bool isSet = IsBuffer(type) ? isOwn || buffer : image && (!needsSampler || sampler);
    if (!isSet) return MakeUnsetError(i);
    if (buffer) OSTRA_RETURN_IF_ERROR(list.EnsureZeroed(*buffer));
    if (image) OSTRA_RETURN_IF_ERROR(list.EnsureCleared(*image));
    for (const DeviceResourceRef& object :
         {DeviceResourceRef(buffer), DeviceResourceRef(image), DeviceResourceRef(sampler)})
      if (object) OSTRA_RETURN_IF_ERROR(list.Keep(*object));
  }
  for (const DescriptorPoolRef& pool : _pools) OSTRA_RETURN_IF_ERROR(list.Keep(*pool));
  if (BufferResource* none = _factory.GetNoGradients()) {
    OSTRA_RETURN_IF_ERROR(list.EnsureZeroed(*none));
    OSTRA_RETURN_IF_ERROR(list.Keep(*none));
  }
  return OK;
}

Result<ValueSet::Binding> ValueSet::Prepare(CommandList& list) {
  if (list.GetNumber() != _list)
    return OSTRA_ILLEGAL_STATE("The parameters of the GPU program were set for another context.");
  const BaseArray<PipelineBinding>& bindings = _factory.GetPipeline().GetBindings();
  OSTRA_ASSIGN_OR_RETURN(UInt64 serial, list.BeginBatch());
  if (bindings.IsEmpty()) return Binding{};

  if (_factory.GetSliceSize() > 0 && _sliceSerial != serial) {
    OSTRA_ASSIGN_OR_RETURN(const CommandList::UniformSlice slice, list.AllocateUniforms(_factory.GetSliceSize()));
    MemCopy(slice.memory, _bytes.GetFirst(), _bytes.GetCount());
    OSTRA_ASSIGN_OR_RETURN(serial, list.BeginBatch());  // the ring may have needed a new batch
    _sliceSerial = serial;
    _sliceOffset = slice.offset;
  }
  // What the batch holds already is there and ready.
  if (_keptSerial != serial) {
    OSTRA_RETURN_IF_ERROR(KeepObjects(list));
    _keptSerial = serial;
  }
  if (_current < 0) {
    OSTRA_RETURN_IF_ERROR(TakeSet(list));
    WriteSet(list);
  }
  _sets[_current].busyUntil = serial;

  _dynamicOffsets.Clear();
  for (Int i = 0; i < bindings.GetCount(); ++i) {
    if (bindings[i].type == VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC)
      OSTRA_RETURN_IF_ERROR(_dynamicOffsets.Append(_sliceOffset));
    if (bindings[i].type != VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC) continue;
    // A buffer that was set is bound from its beginning.
    const Int offset = _objects[i].buffer ? 0 : _sliceOffset + FindValue(i)->valueOffset;
    OSTRA_RETURN_IF_ERROR(_dynamicOffsets.Append(static_cast<UInt32>(offset)));
  }
  return Binding{_sets[_current].set, static_cast<UInt32>(_dynamicOffsets.GetCount()), _dynamicOffsets.GetFirst()};
}

const ParameterPlace* ValueSet::FindValue(Int binding) const {
  const BaseArray<ParameterPlace>& places = _factory.GetPlaces();
  return std::find_if(places.begin(), places.end(),
                      [binding](const ParameterPlace& place) { return place.binding == binding; });
}

Result<void> ValueSet::TakeSet(CommandList& list) {
  const UInt64 completed = list.GetCompletedSerial();
  for (Int i = 0; i < _sets.GetCount(); ++i) {
    if (_sets[i].busyUntil > completed) continue;
    _current = i;
    return OK;
  }
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
  OSTRA_ASSIGN_OR_RETURN(added.set, _pools[_pools.GetCount() - 1]->Allocate(pipeline.GetSetLayout()));
  --_setsLeft;
  OSTRA_RETURN_IF_ERROR(_sets.Append(added));
  _current = _sets.GetCount() - 1;
  return OK;
}

void ValueSet::WriteSet(CommandList& list) {
  const BaseArray<PipelineBinding>& bindings = _factory.GetPipeline().GetBindings();
  for (Int i = 0; i < bindings.GetCount(); ++i) {
    const BoundObject& object = _objects[i];
    VkWriteDescriptorSet& write = _writes[i];
    write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
    write.dstSet = _sets[_current].set;
    write.dstBinding = bindings[i].number;
    write.descriptorCount = 1;
    write.descriptorType = bindings[i].type;
    if (IsBuffer(bindings[i].type)) {
      VkDescriptorBufferInfo& info = _bufferInfos[i];
      const Bool isUniform = bindings[i].type == VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC;
      info = {list.GetUniformBuffer().GetHandle(), 0, static_cast<VkDeviceSize>(_factory.GetUniformSize())};
      if (object.buffer)
        info = {object.buffer->GetHandle(), 0, static_cast<VkDeviceSize>(object.buffer->GetSize())};
      else if (bindings[i].type == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER)
        info = {_factory.GetNoGradients()->GetHandle(), 0, VK_WHOLE_SIZE};
      else if (!isUniform)
        info.range = static_cast<VkDeviceSize>(FindValue(i)->valueSize);
      write.pBufferInfo = &info;
    } else {
      VkDescriptorImageInfo& info = _imageInfos[i];
      info = {object.sampler ? object.sampler->GetHandle() : VK_NULL_HANDLE, object.image->GetView(object.isLayered),
              VK_IMAGE_LAYOUT_GENERAL};
      write.pImageInfo = &info;
    }
  }
  vkUpdateDescriptorSets(_factory.GetDevice().GetHandle(), static_cast<UInt32>(bindings.GetCount()), _writes.GetFirst(),
                         0, nullptr);
}

}  // namespace ostra::vulkan
