#include "ostra/drawport_vulkan/command_list.h"

#include "ostra/drawport_vulkan/program_factory.h"
#include "ostra/drawport_vulkan/replays.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

CommandList::CommandList(DeviceRef device) : _recorder(std::move(device), *this) {}

CommandList::~CommandList() { _recorder.Close(); }

Result<void> CommandList::Init() {
  _replays = MakeOwned<Replays>(_recorder);
  if (!_replays) return OSTRA_OUT_OF_MEMORY();
  return _recorder.Init();
}

void CommandList::NoteNewBatch() {
  _boundPipeline = VK_NULL_HANDLE;
  _boundSet = {};
  _pass.NoteNewBatch();
}

void CommandList::NoteDroppedBatch(Int place, UInt64 serial) {
  _timer.Drop(place);
  _pass.NoteDroppedBatch(serial);
  _counterReads.NoteDroppedBatch(serial);
  _replays->NoteDroppedBatch(serial);
}

Result<void> CommandList::AddMemoryBarrier(DrawportBarrierBits bits) {
  if (GetDevice().IsLost()) return GetDevice().MakeLostError(__LINE__);
  if (!HasAnyBit(bits, DrawportBarrierBits::StorageBuffer | DrawportBarrierBits::Texture)) return OK;
  if (_replays->IsRecording()) {
    _replays->SeparateDispatches();
    return OK;
  }
  _pass.Suspend();  // beginning again shows all that draws have written
  _recorder.GetBarriers().SeparateDispatches();
  return OK;
}

Result<Byte*> CommandList::PrivateMapBuffer(DrawportStagingBuffer& staging, DrawportMapMode mode,
                                            DrawportDeviceBuffer& buffer, Int stagingOffset, Int byteOffset,
                                            Int bytes) {
  if (stagingOffset != 0)
    return OSTRA_ILLEGAL_ARGUMENT("A staging buffer is mapped from its beginning, not from byte @.", stagingOffset);
  return _transfers.MapBuffer(static_cast<StagingBuffer&>(staging), mode, static_cast<BufferResource&>(buffer),
                              byteOffset, bytes);
}

Result<void> CommandList::UnmapBuffer(DrawportStagingBuffer& staging, DrawportUnmapMode) {
  return _transfers.UnmapBuffer(static_cast<StagingBuffer&>(staging));
}

Result<Byte*> CommandList::PrivateMapTexture(DrawportStagingBuffer& staging, DrawportMapMode mode,
                                             DrawportTexture& texture, const DrawportRegion& region, Int level,
                                             Int layer, Int stagingOffset, Int flags) {
  auto& image = static_cast<ImageResource&>(texture);
  OSTRA_ASSIGN_OR_RETURN(const Int hostSize, image.GetStagingBufferSize(region.origin, region.extent, level, layer));
  if (stagingOffset != 0 || flags != 0)
    return OSTRA_ILLEGAL_ARGUMENT("A staging buffer is mapped from its beginning and without flags, not with @ and @.",
                                  stagingOffset, flags);
  return _transfers.MapTexture(static_cast<StagingBuffer&>(staging), mode, image, region, hostSize);
}

Result<void> CommandList::UnmapTexture(DrawportStagingBuffer& staging) {
  return _transfers.UnmapTexture(static_cast<StagingBuffer&>(staging));
}

void CommandList::ReleaseStagingBuffer(DrawportStagingBuffer* staging) {
  if (staging) _transfers.ReleaseStagingBuffer(static_cast<StagingBuffer*>(staging));
}

Result<void> CommandList::SetAtomicCounterValue(DrawportAtomicCounter& counter, UInt32 value) {
  auto& resource = static_cast<CounterResource&>(counter);
  if (_replays->IsRecording()) return _replays->SetCounter(resource.GetBuffer(), value);
  return _transfers.SetCounter(resource, value);
}

Result<UInt32> CommandList::GetAtomicCounterValue(DrawportAtomicCounter& counter) {
  return _transfers.GetCounter(static_cast<CounterResource&>(counter));
}

Result<UInt64> CommandList::RecordCounterRead(DrawportAtomicCounter& counter) {
  return _counterReads.Record(static_cast<CounterResource&>(counter));
}

Result<void> CommandList::CheckDispatch(const ProgramFactory& program, const ValueSet& values) const {
  if (&program.GetDevice() != &GetDevice()) return OSTRA_ILLEGAL_STATE("The GPU program was built for another device.");
  if (!values.IsOfProgram(program))
    return OSTRA_ILLEGAL_ARGUMENT("The values of the dispatch are those of another GPU program.");
  if (program.GetPipeline().IsGraphics())
    return OSTRA_ILLEGAL_ARGUMENT("The GPU program draws; it has no compute stage to dispatch.");
  return OK;
}

Result<void> CommandList::PrepareDispatch(ProgramFactory& program, ValueSet& values) {
  _pass.Suspend();
  OSTRA_ASSIGN_OR_RETURN(const ValueSet::Binding binding, values.Prepare(_recorder));
  const Pipeline& pipeline = program.GetPipeline();
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(program.GetPipeline()));
  _recorder.RecordBarrier(_recorder.GetBarriers().BeforeDispatch());
  const VkCommandBuffer commands = _recorder.GetCommands();
  if (_boundPipeline != pipeline.GetHandle()) {
    vkCmdBindPipeline(commands, VK_PIPELINE_BIND_POINT_COMPUTE, pipeline.GetHandle());
    _boundPipeline = pipeline.GetHandle();
  }
  binding.Record(commands, VK_PIPELINE_BIND_POINT_COMPUTE, pipeline.GetLayout(), _boundSet);
  return OK;
}

Result<void> CommandList::Dispatch(DrawportProgramFactory& program, DrawportParameterValueSet& values, UInt32 x,
                                   UInt32 y, UInt32 z) {
  constexpr UInt32 kMaxGroups = 65535;
  if (x < 1 || y < 1 || z < 1 || x > kMaxGroups || y > kMaxGroups || z > kMaxGroups)
    return OSTRA_ILLEGAL_ARGUMENT("@ x @ x @ work groups are not between 1 and @ in each direction.", x, y, z,
                                  kMaxGroups);
  auto& factory = static_cast<ProgramFactory&>(program);
  auto& set = static_cast<ValueSet&>(values);
  OSTRA_RETURN_IF_ERROR(CheckDispatch(factory, set));
  if (_replays->IsRecording()) return _replays->Dispatch(factory, set, x, y, z);
  OSTRA_RETURN_IF_ERROR(PrepareDispatch(factory, set));
  vkCmdDispatch(_recorder.GetCommands(), x, y, z);
  _recorder.GetBarriers().AddDispatch();
  return OK;
}

Result<void> CommandList::DispatchIndirect(DrawportProgramFactory& program, DrawportParameterValueSet& values,
                                           DrawportDeviceBuffer& arguments, Int byteOffset) {
  auto& buffer = static_cast<BufferResource&>(arguments);
  constexpr Int kRecordSize = 4 * sizeof(Int32);
  if (byteOffset < 0 || byteOffset % 4 != 0 || byteOffset > buffer.GetSize() - kRecordSize)
    return OSTRA_ILLEGAL_ARGUMENT("There are no work group counts at byte @ of a buffer of @ bytes.", byteOffset,
                                  buffer.GetSize());
  OSTRA_RETURN_IF_ERROR(buffer.CheckIsOn(GetDevice()));
  auto& factory = static_cast<ProgramFactory&>(program);
  auto& set = static_cast<ValueSet&>(values);
  OSTRA_RETURN_IF_ERROR(CheckDispatch(factory, set));
  if (_replays->IsRecording()) return _replays->DispatchIndirect(factory, set, buffer, byteOffset);
  OSTRA_RETURN_IF_ERROR(_recorder.BeginBatch());
  OSTRA_RETURN_IF_ERROR(_recorder.EnsureZeroed(buffer));
  OSTRA_RETURN_IF_ERROR(PrepareDispatch(factory, set));
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(buffer));
  vkCmdDispatchIndirect(_recorder.GetCommands(), buffer.GetHandle(), static_cast<VkDeviceSize>(byteOffset));
  _recorder.GetBarriers().AddDispatch();
  return OK;
}

Result<void> CommandList::BeginRecordedWork() { return _replays->Begin(); }
Result<UInt64> CommandList::EndRecordedWork() { return _replays->End(); }
void CommandList::ReleaseRecordedWork(UInt64 number) { _replays->Release(number); }

Result<void> CommandList::ReplayWork(UInt64 number) {
  OSTRA_RETURN_IF_ERROR(_replays->Replay(number));
  // State is not inherited from secondary command buffers: everything is bound again behind them.
  _boundPipeline = VK_NULL_HANDLE;
  _boundSet = {};
  _pass.NoteNewBatch();
  return OK;
}

Result<void> CommandList::UpdateRecordedParameter(UInt64 number, DrawportProgramFactory& program,
                                                  DrawportParameterValueSet& values, DrawportParameterHandle handle) {
  return _replays->UpdateParameter(number, static_cast<ProgramFactory&>(program), static_cast<ValueSet&>(values),
                                   handle);
}

}  // namespace ostra::vulkan
