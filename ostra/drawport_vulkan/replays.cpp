#include "ostra/drawport_vulkan/replays.h"

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<void> Replays::Begin() {
  if (_open) return OSTRA_ILLEGAL_STATE("Work is being recorded already: end the recording before another one begins.");
  // Another list's number is never one of these.
  OSTRA_ASSIGN_OR_RETURN(
      _open, RecordedWork::Create(_recorder.GetDevice(), DeviceResource::MakeStamp(_recorder.GetNumber(), _last + 1)));
  ++_last;
  return OK;
}

Result<UInt64> Replays::End() {
  if (!_open) return OSTRA_ILLEGAL_STATE("No work is being recorded: a recording has to begin before it ends.");
  const RecordedWorkRef work = std::exchange(_open, {});
  if (_recorder.GetDevice().IsLost()) return _recorder.GetDevice().MakeLostError(__LINE__);
  OSTRA_RETURN_IF_ERROR(work->End());
  OSTRA_ASSIGN_OR_RETURN(const auto entry, _works.Insert(work->GetNumber()));
  *entry.value = work;
  return work->GetNumber();
}

Result<RecordedWork&> Replays::Find(UInt64 number) {
  if (RecordedWorkRef* const found = _works.Find(number)) return **found;
  return OSTRA_ILLEGAL_STATE(
      "There is no recorded work @ in this context: it was released, or recorded in another one.", number);
}

Result<void> Replays::Replay(UInt64 number) {
  OSTRA_ASSIGN_OR_RETURN(RecordedWork & work, Find(number));
  if (_open) return OSTRA_ILLEGAL_STATE("Recorded work cannot be replayed while other work is being recorded.");
  if (_recorder.GetDevice().IsLost()) return _recorder.GetDevice().MakeLostError(__LINE__);
  const ReplayHazards& hazards = work.GetHazards();
  if (hazards.IsEmpty()) return OK;
  _recorder.EndRendering();
  OSTRA_RETURN_IF_ERROR(work.Update(_recorder));
  OSTRA_RETURN_IF_ERROR(_recorder.BeginBatch());  // updates may have submitted the one before
  OSTRA_RETURN_IF_ERROR(work.Keep(_recorder));
  _recorder.RecordBarrier(_recorder.GetBarriers().BeforeReplay(hazards));
  const VkCommandBuffer commands = work.GetCommands();
  vkCmdExecuteCommands(_recorder.GetCommands(), 1, &commands);
  _recorder.GetBarriers().AddReplay(hazards);
  return OK;
}

Result<void> Replays::UpdateParameter(UInt64 number, ProgramFactory& program, ValueSet& values,
                                      DrawportParameterHandle handle) {
  OSTRA_ASSIGN_OR_RETURN(RecordedWork & work, Find(number));
  if (!values.IsOfProgram(program)) return OSTRA_ILLEGAL_ARGUMENT("The values are those of another GPU program.");
  if (!handle) return OK;
  OSTRA_ASSIGN_OR_RETURN(const ProgramFactory::ValueRange range, program.FindValue(handle));
  if (range.bytes > 0)
    work.UpdateSlices({values.GetOwner(), &program.GetPipeline()}, range.offset, values.GetBytes() + range.offset,
                      range.bytes);
  return OK;
}

// The batches that replay it hold it until they are done.
void Replays::Release(UInt64 number) { _works.Erase(number); }

Result<void> Replays::Prepare(ProgramFactory& program, ValueSet& values) {
  if (_recorder.GetDevice().IsLost()) return _recorder.GetDevice().MakeLostError(__LINE__);
  OSTRA_ASSIGN_OR_RETURN(const ValueSet::Binding binding, values.Record(_recorder, *_open));
  OSTRA_RETURN_IF_ERROR(_open->Hold(program.GetPipeline()));
  _open->RecordBarrier(_open->GetBarriers().BeforeDispatch());
  _open->BindPipeline(program.GetPipeline());
  binding.Record(_open->GetCommands(), VK_PIPELINE_BIND_POINT_COMPUTE, program.GetPipeline().GetLayout(),
                 _open->GetBoundSet());
  return OK;
}

Result<void> Replays::Dispatch(ProgramFactory& program, ValueSet& values, UInt32 x, UInt32 y, UInt32 z) {
  OSTRA_RETURN_IF_ERROR(Prepare(program, values));
  vkCmdDispatch(_open->GetCommands(), x, y, z);
  _open->AddDispatch();
  return OK;
}

Result<void> Replays::DispatchIndirect(ProgramFactory& program, ValueSet& values, BufferResource& arguments,
                                       Int byteOffset) {
  OSTRA_RETURN_IF_ERROR(_open->HoldBuffer(arguments));
  OSTRA_RETURN_IF_ERROR(Prepare(program, values));
  vkCmdDispatchIndirect(_open->GetCommands(), arguments.GetHandle(), static_cast<VkDeviceSize>(byteOffset));
  _open->AddDispatch();
  return OK;
}

Result<void> Replays::SetCounter(BufferResource& counter, UInt32 value) {
  OSTRA_RETURN_IF_ERROR(counter.CheckIsOn(_recorder.GetDevice()));
  OSTRA_RETURN_IF_ERROR(_open->HoldBuffer(counter));
  _open->RecordBarrier(_open->GetBarriers().BeforeTransfer(&counter, {{0, 0, 0}, {sizeof(value), 1, 1}}, true));
  vkCmdUpdateBuffer(_open->GetCommands(), counter.GetHandle(), 0, sizeof(value), &value);
  _open->AddTransfer();
  return OK;
}

void Replays::NoteDroppedBatch(UInt64 serial) {
  for (auto& [number, work] : _works) work->NoteDroppedBatch(serial);
}

}  // namespace ostra::vulkan
