// CounterReadsInterface: an optional interface of program objects whose counters can be read without waiting for each.
// The GPU program has it; the CPU program has nothing to wait for.
//
//   CounterReadsInterface& reads = *FindInterface<CounterReadsInterface>(*program);
//   for (...) {
//     ... UpdateUniforms, DispatchKernel ...
//     OSTRA_ASSIGN_OR_RETURN(numbers[i], reads.RecordCounterRead("hits"_iid));
//   }
//   OSTRA_ASSIGN_OR_RETURN(const UInt32 first, reads.TakeCounterRead(numbers[0]));  // waits, once
#pragma once

#include "ostra/core/interned_id.h"
#include "ostra/object/interface.h"

namespace ostra {

class CounterReadsInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.counterreadsinterface"_id;

  // Copies the counter's value behind the dispatches that were made so far; returns the number to ask with. Errors:
  // illegal argument "atomic identifier not found"; those of recording.
  virtual Result<UInt64> RecordCounterRead(const InternedId& attr) = 0;
  // The value, once for each number, from the context that it was recorded in; waits until it is there. The last 4096
  // values are kept. Errors: illegal state for a number that was taken or is too old; those of submitting.
  virtual Result<UInt32> TakeCounterRead(UInt64 number) = 0;
};

}  // namespace ostra
