// CpuRecordings: the calls that a CPU program has recorded, with what kernels were given, to be made again. See
// RecordedDispatchesInterface.
#pragma once

#include <optional>

#include "ostra/core/owned.h"
#include "parallelprogram/program/cpu_buffers.h"
#include "parallelprogram/program/cpu_dispatcher.h"
#include "parallelprogram/program/cpu_noises.h"
#include "parallelprogram/program/cpu_textures.h"
#include "parallelprogram/program/recorded_resources.h"

namespace ostra {

class CpuRecordings {
 public:
  // The parts of a program that replays work with.
  struct Program {
    const CpuBuffers& buffers;
    const CpuTextures& textures;
    const CpuNoises& noises;
    CpuDispatcher& dispatcher;
  };
  explicit CpuRecordings(const Program& program) : _program(program) {}

  // The methods of the interface.
  Result<void> Begin();
  Result<UInt64> End();
  Result<void> SetUniform(UInt64 number, const InternedId& kernelId, const InternedId& attr, ForwardingDataPtr&& data);
  Result<void> Replay(UInt64 number, Int times);
  Result<void> Release(UInt64 number);

  // While one is open the calls that it records go to the functions below and are not made. Errors: those that a call
  // would have had before it ran; illegal state for a dispatch of a kernel that was not updated yet; out of memory.
  Bool IsOpen() const { return _open.has_value(); }
  // Error: illegal state while one is open.
  Result<void> CheckNotOpen() const;
  // After the update of the kernel itself.
  Result<void> RecordUpdate(const ActiveKernel& active);
  Result<void> RecordDispatch(const ActiveKernel& active, const Vec3<UInt32>& invocations);
  Result<void> RecordIndirect(const ActiveKernel& active, const InternedId& buffer, UInt32 offset);
  // The counter lives as long as the program.
  Result<void> RecordCounter(AtomicUInt32& counter, UInt32 value);

  void Reset();

 private:
  // A recording makes its calls with kernel objects of its own: those of the program keep what they were given.
  struct RecordedKernel {
    InternedId id;
    CpuKernel kernel;
  };
  struct Step {
    enum class Kind { Update, Dispatch, DispatchIndirect, SetCounter } kind = Kind::Update;
    Int kernel = 0;  // index
    // Of an update: links and values as they were.
    DataDictionary bufferLinks, uniforms, atomicLinks, textureLinks;
    Vec3<UInt32> invocations;
    InternedId buffer;  // with counts of work groups
    UInt32 offset = 0;
    AtomicUInt32* counter = nullptr;
    UInt32 value = 0;
  };
  struct Recording {
    explicit Recording(UInt64 ownNumber) : number(ownNumber) {}
    UInt64 number;
    BaseArray<Owned<RecordedKernel>> kernels;
    BaseArray<Step> steps;
    RecordedResources resources;

    // The index of a kernel; the count of kernels when there is none.
    Int FindKernel(const InternedId& id) const;
  };

  Result<Recording&> Find(UInt64 number);
  // A step of the open recording with the index of the kernel. Errors: illegal state for a kernel that cannot run, was
  // not updated yet, or needs a parameter that is not set.
  Result<Step> MakeDispatch(const ActiveKernel& active) const;
  Result<void> RunStep(Recording& recording, const Step& step);

  const Program _program;
  std::optional<Recording> _open;  // that has begun
  BaseArray<Recording> _recordings;
  UInt64 _last = 0;
};

}  // namespace ostra
