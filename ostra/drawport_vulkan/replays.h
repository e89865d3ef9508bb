// Replays: the recorded work of a list: what is being recorded, and what can be replayed.
#pragma once

#include "ostra/drawport_vulkan/recorded_work.h"

namespace ostra::vulkan {

class Replays {
 public:
  explicit Replays(Recorder& recorder) : _recorder(recorder) {}
  Replays(const Replays&) = delete;

  // See DrawportCommandList.
  Result<void> Begin();
  Result<UInt64> End();
  Result<void> Replay(UInt64 number);
  Result<void> UpdateParameter(UInt64 number, ProgramFactory& program, ValueSet& values,
                               DrawportParameterHandle handle);
  void Release(UInt64 number);

  // While work is recorded, what is dispatched and asked for goes here.
  Bool IsRecording() const { return static_cast<Bool>(_open); }
  void SeparateDispatches() { _open->SeparateDispatches(); }
  Result<void> Dispatch(ProgramFactory& program, ValueSet& values, UInt32 x, UInt32 y, UInt32 z);
  // `byteOffset` is inside of the buffer.
  Result<void> DispatchIndirect(ProgramFactory& program, ValueSet& values, BufferResource& arguments, Int byteOffset);
  Result<void> SetCounter(BufferResource& counter, UInt32 value);

  void NoteDroppedBatch(UInt64 serial);

 private:
  // Binds what a dispatch needs.
  Result<void> Prepare(ProgramFactory& program, ValueSet& values);
  // Error: illegal state for a number that this list has no work for.
  Result<RecordedWork&> Find(UInt64 number);

  Recorder& _recorder;
  RecordedWorkRef _open;  // that is being recorded
  UInt64 _last = 0;       // count of recordings
  HashMap<UInt64, RecordedWorkRef> _works;
};

}  // namespace ostra::vulkan
