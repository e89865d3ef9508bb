// CommandList: the command list of a context. It records dispatches itself; batches of work, passes, transfers,
// counters and time stamps have classes of their own.
#pragma once

#include "ostra/core/owned.h"
#include "ostra/drawport_vulkan/counter_reads.h"
#include "ostra/drawport_vulkan/pass_recorder.h"
#include "ostra/drawport_vulkan/transfers.h"
#include "ostra/drawport_vulkan/work_timer.h"

namespace ostra::vulkan {

class ProgramFactory;
class Replays;
class ValueSet;

class CommandList final : public DrawportCommandList, private RecorderListener {
 public:
  explicit CommandList(DeviceRef device);
  CommandList(const CommandList&) = delete;
  ~CommandList();
  Result<void> Init();

  Result<void> AddMemoryBarrier(DrawportBarrierBits bits) override;
  Result<void> Execute(Bool wait) override { return _recorder.Execute(wait); }
  Result<Byte*> PrivateMapBuffer(DrawportStagingBuffer& staging, DrawportMapMode mode, DrawportDeviceBuffer& buffer,
                                 Int stagingOffset, Int byteOffset, Int bytes) override;
  Result<void> UnmapBuffer(DrawportStagingBuffer& staging, DrawportUnmapMode mode) override;
  Result<Byte*> PrivateMapTexture(DrawportStagingBuffer& staging, DrawportMapMode mode, DrawportTexture& texture,
                                  const DrawportRegion& region, Int level, Int layer, Int stagingOffset,
                                  Int flags) override;
  Result<void> UnmapTexture(DrawportStagingBuffer& staging) override;
  void ReleaseStagingBuffer(DrawportStagingBuffer* staging) override;
  Result<void> SetAtomicCounterValue(DrawportAtomicCounter& counter, UInt32 value) override;
  Result<UInt32> GetAtomicCounterValue(DrawportAtomicCounter& counter) override;
  Result<UInt64> RecordCounterRead(DrawportAtomicCounter& counter) override;
  Result<UInt32> TakeCounterRead(UInt64 number) override { return _counterReads.Take(number); }
  Result<void> Dispatch(DrawportProgramFactory& program, DrawportParameterValueSet& values, UInt32 x, UInt32 y,
                        UInt32 z) override;
  Result<void> DispatchIndirect(DrawportProgramFactory& program, DrawportParameterValueSet& values,
                                DrawportDeviceBuffer& arguments, Int byteOffset) override;
  Result<void> BeginRecordedWork() override;
  Result<UInt64> EndRecordedWork() override;
  Result<void> ReplayWork(UInt64 number) override;
  Result<void> UpdateRecordedParameter(UInt64 number, DrawportProgramFactory& program,
                                       DrawportParameterValueSet& values, DrawportParameterHandle handle) override;
  void ReleaseRecordedWork(UInt64 number) override;
  Result<void> BeginDrawPass(DrawportRenderTarget& target, const DrawportClearValues& clear) override {
    return _pass.Begin(target, clear);
  }
  Result<void> Draw(const DrawportDrawCall& call) override { return _pass.Draw(call); }
  Result<void> EndDrawPass() override { return _pass.End(); }
  Result<UInt64> BeginTimedWork() override { return _timer.Begin(); }
  Result<void> EndTimedWork(UInt64 number) override { return _timer.End(number); }
  Result<DrawportWorkTime> TakeWorkTime(UInt64 number) override { return _timer.Take(number); }

  Recorder& GetRecorder() { return _recorder; }
  Device& GetDevice() const { return _recorder.GetDevice(); }
  Result<DrawportStagingBuffer*> AllocStagingBuffer(Int bytes, DrawportStagingUse use) {
    return _transfers.AllocStagingBuffer(bytes, use);
  }
  // Frees memory that is only kept to be used again.
  void FreeSpareMemory() { _transfers.FreeSpareMemory(); }

 private:
  void SuspendPass() override { _pass.Suspend(); }
  void NoteNewBatch() override;
  void NoteDroppedBatch(Int place, UInt64 serial) override;
  void NoteDoneBatch(Int place) override { _timer.Read(place); }

  Result<void> CheckDispatch(const ProgramFactory& program, const ValueSet& values) const;
  Result<void> PrepareDispatch(ProgramFactory& program, ValueSet& values);

  Recorder _recorder;
  WorkTimer _timer{_recorder};
  PassRecorder _pass{_recorder};
  Transfers _transfers{_recorder};
  CounterReads _counterReads{_recorder};
  Owned<Replays> _replays;
  // What the current batch has bound for compute.
  VkPipeline _boundPipeline = VK_NULL_HANDLE;
  BoundSet _boundSet;
};

}  // namespace ostra::vulkan
