// Values of a program as a part of recorded work.
#include "ostra/drawport_vulkan/recorded_work.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<ValueSet::Binding> ValueSet::Record(const Recorder& list, RecordedWork& work) {
  if (list.GetNumber() != _list)
    return OSTRA_ILLEGAL_STATE("The parameters of the GPU program were set for another context.");
  if (_factory.GetPipeline().GetBindings().IsEmpty()) return Binding{};
  if (_factory.HasGradients()) GrowGradients();
  OSTRA_RETURN_IF_ERROR(HoldObjects(work));
  if (GetSliceSize() > 0 && _recordedSlice.work != work.GetNumber()) OSTRA_RETURN_IF_ERROR(RecordSlice(work));
  OSTRA_ASSIGN_OR_RETURN(const VkDescriptorSet set, RecordSet(work));
  FindDynamicPlaces();
  return MakeBinding(set, _recordedSlice.offset);
}

Result<void> ValueSet::HoldObjects(RecordedWork& work) const {
  for (Int i = 0; i < _objects.GetCount(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(const LockedObject object, LockObject(i));
    if (object.buffer) OSTRA_RETURN_IF_ERROR(work.HoldBuffer(*object.buffer));
    if (object.image) OSTRA_RETURN_IF_ERROR(work.HoldImage(*object.image));
    if (object.sampler) OSTRA_RETURN_IF_ERROR(work.Hold(*object.sampler));
  }
  return OK;
}

Result<void> ValueSet::RecordSlice(RecordedWork& work) {
  OSTRA_ASSIGN_OR_RETURN(const RecordedWork::Slice slice,
                         work.AddSlice({_owner, &_factory.GetPipeline()}, GetSliceSize()));
  CopyValues(slice.memory);
  _recordedSlice = {work.GetNumber(), slice.buffer, slice.offset};
  return OK;
}

Result<VkDescriptorSet> ValueSet::RecordSet(RecordedWork& work) {
  const BufferResource* const uniforms = GetSliceSize() > 0 ? _recordedSlice.buffer : nullptr;
  const RecordedWork::SetKey key{&_factory.GetPipeline(), uniforms, _gradientRoom, &_objects};
  if (const VkDescriptorSet known = work.FindSet(key)) return known;
  OSTRA_ASSIGN_OR_RETURN(const VkDescriptorSet added, work.AddSet(key, _factory.GetPipeline()));
  WriteSet(added, uniforms);
  return added;
}

}  // namespace ostra::vulkan
