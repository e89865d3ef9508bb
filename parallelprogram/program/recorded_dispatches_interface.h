// RecordedDispatchesInterface: an optional interface of program objects that record dispatches once and run them many
// times. Both programs have it. On the GPU a replay costs little more than one dispatch, whatever it has; the CPU
// program makes the recorded calls again.
//
//   RecordedDispatchesInterface& recordings = *FindInterface<RecordedDispatchesInterface>(*program);
//   OSTRA_RETURN_IF_ERROR(recordings.BeginRecording());
//   ... SetActiveKernel, SetUniform, UpdateUniforms, DispatchKernel, SwapBuffers, ... as often as a frame has them ...
//   OSTRA_ASSIGN_OR_RETURN(const UInt64 frame, recordings.EndRecording());
//   for (...) {
//     OSTRA_RETURN_IF_ERROR(recordings.SetRecordedUniform(frame, "blur"_iid, "time"_iid, time));
//     OSTRA_RETURN_IF_ERROR(recordings.Replay(frame, 1));
//     OSTRA_RETURN_IF_ERROR(program->Execute(false));
//   }
//
// UpdateUniforms, DispatchKernel, DispatchIndirectKernel, AddMemoryBarrier, AddTextureMemoryBarrier and
// SetAtomicCounter are recorded and not run. What copies on the device is refused meanwhile; everything else happens at
// once. Programs that share a context share what it records: the others must not dispatch in between. The thread that
// drives the program.
#pragma once

#include "ostra/core/data.h"
#include "ostra/core/interned_id.h"
#include "ostra/object/interface.h"

namespace ostra {

class RecordedDispatchesInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.recordeddispatchesinterface"_id;

  // Errors: illegal state while dispatches are recorded, and without a context; not implemented by a GPU layer that
  // cannot record.
  virtual Result<void> BeginRecording() = 0;
  // Returns the number of the recording, to be released when it is not needed any more. On error nothing is kept.
  // Errors: illegal state when none has begun, or the context was replaced meanwhile; out of memory.
  virtual Result<UInt64> EndRecording() = 0;
  // Gives all dispatches of a kernel in a recording a new value of a uniform, for later replays. All other values are
  // those that the dispatches were recorded with, and the program's own uniforms stay as they are. Errors: illegal
  // state for a number that is no recording of this program; illegal argument for a kernel that the recording has no
  // dispatch of, a name that is no uniform of it, a value of another type, and the mode of a noise.
  virtual Result<void> SetRecordedUniform(UInt64 recording, const InternedId& kernelId, const InternedId& attr,
                                          ForwardingDataPtr&& data) = 0;
  // Makes the recorded dispatches again, `times` times, in the order of all other work; 0 is none. A recording works
  // with the buffers, textures, counters and kernels that it was recorded with. Errors: illegal state for a number that
  // is no recording of this program, while dispatches are recorded, and when one of these was replaced, resized,
  // deleted or compiled again since: the message names it, and the dispatches have to be recorded again. Illegal
  // argument for negative `times`. Those of the dispatches.
  virtual Result<void> Replay(UInt64 recording, Int times) = 0;
  // Error: illegal state for a number that is no recording of this program.
  virtual Result<void> ReleaseRecording(UInt64 recording) = 0;
};

}  // namespace ostra
