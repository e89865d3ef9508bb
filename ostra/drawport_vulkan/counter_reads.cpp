#include "ostra/drawport_vulkan/counter_reads.h"

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kWord = sizeof(UInt32);

DrawportRegion MakeWord(Int index) { return {{index * kWord, 0, 0}, {kWord, 1, 1}}; }

}  // namespace

Result<UInt64> CounterReads::Record(CounterResource& counter) {
  BufferResource& buffer = counter.GetBuffer();
  OSTRA_RETURN_IF_ERROR(buffer.CheckIsOn(_recorder.GetDevice()));
  if (!_copies) {
    OSTRA_RETURN_IF_ERROR(_values.Resize(kCount));
    OSTRA_ASSIGN_OR_RETURN(_copies,
                           BufferResource::Create(_recorder.GetDevice(), kCount * kWord, MemoryUse::ReadBack, false));
  }
  const Int place = static_cast<Int>((_last + 1) % kCount);
  OSTRA_ASSIGN_OR_RETURN(const UInt64 serial, _recorder.BeginBatch());
  OSTRA_RETURN_IF_ERROR(_recorder.EnsureZeroed(buffer));
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(buffer));
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(*_copies));
  _recorder.PrepareCopy(buffer, MakeWord(0), *_copies, MakeWord(place));
  const VkBufferCopy copy = {0, static_cast<VkDeviceSize>(place * kWord), kWord};
  vkCmdCopyBuffer(_recorder.GetCommands(), buffer.GetHandle(), _copies->GetHandle(), 1, &copy);
  // Another list's number is never one of these.
  _values[place] = {DeviceResource::MakeStamp(_recorder.GetNumber(), ++_last), serial};
  return _values[place].number;
}

Result<UInt32> CounterReads::Take(UInt64 number) {
  const Int place = static_cast<Int>(number % kCount);
  if (number == 0 || !_copies || _values[place].number != number)
    return OSTRA_ILLEGAL_STATE("There is no value of the counter read @: it was taken, was dropped, or is too old.",
                               number);
  const UInt64 serial = _values[place].serial;
  OSTRA_RETURN_IF_ERROR(_recorder.WaitForBatch(serial));
  UInt32 value = 0;
  MemCopy(&value, _copies->GetMapped() + place * kWord, kWord);
  _values[place] = {};
  return value;
}

void CounterReads::NoteDroppedBatch(UInt64 serial) {
  for (Value& value : _values)
    if (value.serial == serial) value = {};
}

}  // namespace ostra::vulkan
