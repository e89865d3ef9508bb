// GpuBuffers: the buffers of a GPU program by name, and the kernel that copies between them on the device.
//
// What a program works on is given with each call, because its context may be replaced.
#pragma once

#include "parallelprogram/device/buffer_values.h"
#include "parallelprogram/device/device_buffers.h"
#include "parallelprogram/gpu/copy_kernel.h"
#include "parallelprogram/gpu/gpu_recordings.h"

namespace ostra {

class GpuBuffers {
 public:
  // Nothing is copied on the device while `recordings` has one open.
  explicit GpuBuffers(const GpuRecordings& recordings) : _recordings(recordings) {}

  // Builds the kernel that copies. Errors: those of DeviceCopy::Build.
  Result<void> BuildCopyKernel(const GpuContextData& data) { return _copyKernel.Build(data); }

  // Creates or replaces a buffer of zeros. Errors: those of CreateBuffer.
  Result<void> Create(const DeviceOwner& owner, const InternedId& attr, const DataType& dataType, Int count);
  // Keeps the elements. A smaller count changes nothing unless it is forced. Errors: illegal argument "buffer for
  // resize could not be found", "Empty buffers are not allowed to be added."; those of AllocateBuffer and of copying.
  Result<void> Resize(const DeviceOwner& owner, const InternedId& attr, Int count, Bool isForced);
  // Creates or replaces a buffer with elements. Errors: those of AllocateBuffer.
  Result<void> Store(const DeviceOwner& owner, const InternedId& attr, const UploadSource& source);
  // Data that is longer than the buffer replaces it; data that would end behind it does not fit. Errors: illegal
  // argument "buffer for update could not be found", "Data update does not fit into existing buffer"; those of
  // UploadSource::FromValue and of the upload.
  Result<void> Update(const DeviceOwner& owner, const InternedId& attr, Int offset, const ForwardingDataPtr& data);
  // Errors: illegal argument for an unknown name, a range outside of a buffer and other types; illegal state while
  // dispatches are recorded; those of DeviceCopy::Run.
  Result<void> Copy(const GpuContextData& data, const InternedId& sourceAttr, const InternedId& targetAttr, Int count,
                    Int sourceOffset, Int targetOffset);
  // Whole words are copied: up to three bytes at the end, and of each offset, are left out.
  Result<void> CopyBytes(const GpuContextData& data, const InternedId& sourceAttr, const InternedId& targetAttr,
                         Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset);
  // Of a buffer to which nothing links any more. Error: out of memory.
  Result<void> Erase(const InternedId& attr);
  void Reset();

  const DataBufferEntry* Find(const InternedId& attr) const { return FindBufferEntry(_names, attr); }
  // What a buffer was created or stored with: updates may bring its bytes as another type.
  DataType GetStoredType(const DataBufferEntry& entry) const;
  DataDictionary& GetNames() { return _names; }
  const DataDictionary& GetNames() const { return _names; }

 private:
  // The buffers that elements are copied between.
  struct Pair {
    const DataBufferEntry &source, &target;
  };

  // Writes `source` into the buffer of `entry`, or into a new one.
  Result<void> Upload(const DeviceOwner& owner, const InternedId& attr, const UploadSource& source,
                      DataBufferEntry& entry, Bool newBuffer, Int offset) const;
  // Notes the stored type of `before` for `after`, which an update or a resize has made of it. Error: out of memory.
  Result<void> KeepStoredType(const DataBufferEntry& before, const DataBufferEntry& after);
  Result<Pair> FindPair(const InternedId& sourceAttr, const InternedId& targetAttr) const;
  Result<void> CopyWords(const GpuContextData& data, const Pair& pair, const DeviceCopy::Range& range);

  const GpuRecordings& _recordings;
  DataDictionary _names;                                        // name -> DataBufferEntry
  HashMap<const DrawportDeviceBuffer*, DataType> _storedTypes;  // where an entry has another one
  DeviceCopy _copyKernel;
};

}  // namespace ostra
