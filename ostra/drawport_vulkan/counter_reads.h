// CounterReads: values of counters that were copied in the order of work, to be taken when the work is done. Reading
// many of them waits once.
#pragma once

#include "ostra/drawport_vulkan/recorder.h"

namespace ostra::vulkan {

class CounterReads {
 public:
  // Values that are kept: of more the oldest go.
  static constexpr Int kCount = 4096;

  explicit CounterReads(Recorder& recorder) : _recorder(recorder) {}
  CounterReads(const CounterReads&) = delete;

  // See DrawportCommandList.
  Result<UInt64> Record(CounterResource& counter);
  Result<UInt32> Take(UInt64 number);

  // The batch was not submitted: nothing was copied.
  void NoteDroppedBatch(UInt64 serial);

 private:
  struct Value {
    UInt64 number = 0;  // the list's and that of the read among its reads; 0: none
    UInt64 serial = 0;  // of the batch that copies it
  };

  Recorder& _recorder;
  BufferRef _copies;         // made for the first one; the n-th value at word n % kCount
  BaseArray<Value> _values;  // in the same places
  UInt64 _last = 0;          // count of reads
};

}  // namespace ostra::vulkan
