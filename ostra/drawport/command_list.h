// DrawportCommandList: records work for the device in the order of the calls, submits it, and moves bytes between host
// and device.
//
//   OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer* staging, cache->AllocStagingBuffer(context, {.bytes = bytes}));
//   OSTRA_ASSIGN_OR_RETURN(Byte* memory, list.PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, buffer, 0, 0,
//   bytes)); MemCopy(memory, source, bytes); OSTRA_RETURN_IF_ERROR(list.UnmapBuffer(*staging,
//   DrawportUnmapMode::Commit)); list.ReleaseStagingBuffer(staging);
//
// A list belongs to its context and is used by one thread at a time; mapped bytes may be written and read by many jobs.
// Transfers carry their own barriers. Dispatches do not see each other's writes without AddMemoryBarrier.
// Errors of every operation besides those named: out of memory; illegal state when the device is lost.
#pragma once

#include "ostra/drawport/draw_call.h"
#include "ostra/drawport/parameters.h"
#include "ostra/drawport/resources.h"

namespace ostra {

class DrawportParameterValueSet;
class DrawportProgramFactory;
class DrawportRenderTarget;

// Memory of the host for one transfer at a time; see DrawportCacheInterface::AllocStagingBuffer.
class DrawportStagingBuffer {
 public:
  virtual Int GetSize() const = 0;  // bytes

 protected:
  ~DrawportStagingBuffer() = default;
};

// When the device did something: ns of std::chrono::steady_clock.
struct DrawportWorkTime {
  Int begin = 0;
  Int duration = 0;
};

class OSTRA_API DrawportCommandList {
 public:
  // Work that is recorded later waits for what the bits name; see DrawportBarrierBits.
  virtual Result<void> AddMemoryBarrier(DrawportBarrierBits bits) = 0;

  // Submits what is recorded; with `wait` returns when the device has done everything of this list. Nothing recorded:
  // success.
  virtual Result<void> Execute(Bool wait) = 0;

  // Bytes of the host that stand for [byteOffset, byteOffset + bytes) of `buffer`, until UnmapBuffer. Read: submits and
  // waits, the bytes are final. WriteDiscard: undefined bytes that the device does not use, all of which are written
  // before unmapping. `stagingOffset` is 0.
  // Errors: illegal argument for a range outside the buffer, more bytes than the staging buffer has, or a mode that is
  // not that of the staging buffer's use; illegal state while it is mapped.
  virtual Result<Byte*> PrivateMapBuffer(DrawportStagingBuffer& staging, DrawportMapMode mode,
                                         DrawportDeviceBuffer& buffer, Int stagingOffset, Int byteOffset,
                                         Int bytes) = 0;
  // After a write, the bytes reach the buffer after earlier and before later work of this list.
  // Error: illegal state when no buffer is mapped.
  virtual Result<void> UnmapBuffer(DrawportStagingBuffer& staging, DrawportUnmapMode mode) = 0;

  // The same for a block of a texture. Rows lie a pitch apart: GetStagingBufferSize of the block / (height * depth).
  // `level`, `layer` and the two that follow are 0.
  virtual Result<Byte*> PrivateMapTexture(DrawportStagingBuffer& staging, DrawportMapMode mode,
                                          DrawportTexture& texture, const DrawportRegion& region, Int level, Int layer,
                                          Int stagingOffset, Int flags) = 0;
  virtual Result<void> UnmapTexture(DrawportStagingBuffer& staging) = 0;

  // Ends the use of a staging buffer, mapped or not; its memory is used again when the device is done with it.
  virtual void ReleaseStagingBuffer(DrawportStagingBuffer* staging) = 0;

  // Recorded in order. Reading submits, and waits for pending work.
  virtual Result<void> SetAtomicCounterValue(DrawportAtomicCounter& counter, UInt32 value) = 0;
  virtual Result<UInt32> GetAtomicCounterValue(DrawportAtomicCounter& counter) = 0;

  // The value of a counter at this place in the order of work, without waiting: returns the number to ask with. Taking
  // it submits and waits where the work is not done yet; once for each number. The last 4096 values are kept. Error:
  // not implemented where counters are only read at once; Take: illegal state for a number that was taken, was dropped
  // with its work, or is too old.
  virtual Result<UInt64> RecordCounterRead(DrawportAtomicCounter& counter);
  virtual Result<UInt32> TakeCounterRead(UInt64 number);

  // Runs x * y * z work groups of a compute program with the values that were published last. Group counts are 1 to
  // 65535. Errors: illegal argument for other counts; illegal state for a program that is not of this list's device.
  virtual Result<void> Dispatch(DrawportProgramFactory& program, DrawportParameterValueSet& values, UInt32 x, UInt32 y,
                                UInt32 z) = 0;
  // The group counts are the first three of four Int32 at `byteOffset` of `arguments`, read when the device gets there.
  // Error: illegal argument when they are not inside the buffer or the offset is no multiple of 4.
  virtual Result<void> DispatchIndirect(DrawportProgramFactory& program, DrawportParameterValueSet& values,
                                        DrawportDeviceBuffer& arguments, Int byteOffset) = 0;

  // Recorded work: dispatches, barriers and values of counters that are recorded once and run many times. Between Begin
  // and End these three are recorded and not run; all other calls take effect at once. The work keeps the objects and
  // values that were set when it was recorded. A replay costs little more than one dispatch. Errors: not implemented
  // where work cannot be recorded; illegal state for Begin while work is recorded, for End while none is, for a replay
  // meanwhile, and for a number of another list or of work that was released.
  virtual Result<void> BeginRecordedWork();
  // Returns the number to replay it by. On error nothing is kept.
  virtual Result<UInt64> EndRecordedWork();
  virtual Result<void> ReplayWork(UInt64 number);
  // Gives all recorded dispatches of the program the value that was set last for a parameter, published or not; for
  // later replays. Values of other owners are left. Error: illegal argument for a parameter that is no value.
  virtual Result<void> UpdateRecordedParameter(UInt64 number, DrawportProgramFactory& program,
                                               DrawportParameterValueSet& values, DrawportParameterHandle handle);
  // What was replayed is done nevertheless. A number of no work is passed over.
  virtual void ReleaseRecordedWork(UInt64 number);

  // Draws between Begin and End go into `target`, one after another. A pass sees everything that was recorded before
  // it, and what is recorded after it sees its targets and what its stages have written, without barriers. Other work
  // may be recorded in between, which costs what ending a pass and beginning it again costs.
  // Errors: illegal state inside of another pass, or for a target of another device.
  virtual Result<void> BeginDrawPass(DrawportRenderTarget& target, const DrawportClearValues& clear) = 0;
  // Draws with the values that were published last. Errors: illegal state outside of a pass, for a program of another
  // device, for a parameter that is not set; illegal argument for values of another program, for a program that does
  // not fit the attributes, the targets or the topology, and for vertices that are not in the buffer. Nothing is drawn
  // then, and the pass goes on.
  virtual Result<void> Draw(const DrawportDrawCall& call) = 0;
  // Error: illegal state outside of a pass.
  virtual Result<void> EndDrawPass() = 0;

  // Times of the device. What is recorded between Begin and End is timed, from the end of what was recorded before to
  // its own end. The first call waits for the device, to set its clock beside that of the host.
  // Returns the number to ask with. Error: not implemented for a device without a clock.
  virtual Result<UInt64> BeginTimedWork();
  virtual Result<void> EndTimedWork(UInt64 number);
  // Once for each number, when the device has done the work and Execute has waited for it; where the work lies among
  // other threads' is known to some microseconds, its duration to the device's own step. Error: illegal state for work
  // that is not done or was dropped.
  virtual Result<DrawportWorkTime> TakeWorkTime(UInt64 number);

 protected:
  ~DrawportCommandList() = default;
};

// The list that is used where there is no context: accepts recording and Execute, and refuses to map (illegal state).
// Thread-safe, as it keeps nothing.
OSTRA_API DrawportCommandList& GetDefaultCommandList();

}  // namespace ostra
