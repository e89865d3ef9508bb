// Buffers on the device, in tables of them: entries by name, and links to them. Programs and shader loaders keep their
// buffers this way.
//
//   const DeviceOwner owner{context, identity};
//   OSTRA_RETURN_IF_ERROR(CreateBuffer(owner, buffers, "values"_iid, GetDataType<Float32>(), 1024));
//   OSTRA_RETURN_IF_ERROR(SetBufferLink(kernel.buffers, "values"_iid, *buffers.FindData("values"_iid)));
#pragma once

#include "ostra/core/data_dictionary.h"
#include "parallelprogram/device/buffer_transfer.h"
#include "parallelprogram/device/gpu_context.h"
#include "parallelprogram/program/shader_data_entries.h"

namespace ostra {

// Who keeps things on the device: what it works on, and a number that is unique in the process.
struct DeviceOwner {
  const GpuContextData& data;
  UInt64 identity = 0;
};

// Null when there is no entry of this name.
const DataBufferEntry* FindBufferEntry(const DataDictionary& table, const InternedId& attr);

// Bytes of an element; 0 for an entry without a type, which clients may make.
Int GetElementSize(const DataBufferEntry& entry);

// Gives `entry` device memory of `count` elements of its type, with the packed `bytes` in it, or zeros when there are
// none. Memory that `keep` names is left as it is. Returns the vertex buffer that the memory is part of; it lives as
// long as the entry's item. Errors: illegal argument "DataType not specified or 0 size"; illegal state without a
// context; those of the cache and of the upload.
Result<DrawportVertexBuffer*> AllocateBuffer(const DeviceOwner& owner, const InternedId& attr, Int count,
                                             const Byte* bytes, DataBufferEntry& entry,
                                             const DrawportDeviceBuffer* keep = nullptr);

// Creates or replaces a buffer of zeros in `table`. Errors: illegal argument "Empty buffers are not allowed to be
// added.", "DataType not specified or 0 size", or for a type that is more than its bytes.
Result<void> CreateBuffer(const DeviceOwner& owner, DataDictionary& table, const InternedId& attr,
                          const DataType& dataType, Int count);

// Elements of another size count the same bytes.
void ChangeElementType(DataBufferEntry& entry, const DataType& type);

// Elements of a buffer as an array, all of them when `count` is -1; no value for an empty buffer. Error: illegal
// argument "Requested data range is out of bounds"; those of DownloadBytes.
Result<Data> DownloadBuffer(const GpuContextData& data, const DataBufferEntry& entry, Int offset, Int count,
                            BufferReader reader);

// Sets the link to the entry in `data`. Error: illegal argument when it is none.
Result<void> SetBufferLink(DataDictionary& table, const InternedId& attr, const Data& data);
// Error: illegal argument "buffer identifier not found".
Result<Data> GetBufferLink(const DataDictionary& table, const InternedId& attr);
// Errors: illegal argument "buffer one (two) could not be found".
Result<void> SwapBufferLinks(DataDictionary& table, const InternedId& one, const InternedId& two);
// Erases every link to the buffer `attr`, whatever the names of the links; of one that is on no device only that of its
// own name. The second leaves empty entries under the names.
Result<void> EraseBufferLinks(DataDictionary& table, const InternedId& attr, const DataBufferEntry& entry);
Result<void> ClearBufferLinks(DataDictionary& table, const InternedId& attr, const DataBufferEntry& entry);

}  // namespace ostra
