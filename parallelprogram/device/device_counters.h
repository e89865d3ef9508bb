// Atomic counters on the device, in tables of them.
#pragma once

#include "ostra/core/hash_map.h"
#include "parallelprogram/device/device_buffers.h"

namespace ostra {

// A counter, or a link to it.
struct GpuCounter {
  DrawportAtomicCounterItemRef item;
  DrawportAtomicCounter* counter = nullptr;  // of the item
};
using GpuCounterTable = HashMap<InternedId, GpuCounter>;

// Adds a counter that stands at 0. Errors: illegal state without a context; those of the cache.
Result<void> AddCounter(const DeviceOwner& owner, GpuCounterTable& table, const InternedId& attr);

// The rest knows the counters that were added. Error: illegal argument "atomic identifier not found".
Result<void> LinkCounter(const GpuCounterTable& table, const InternedId& attr, GpuCounterTable& links);
Result<void> SetCounterValue(const GpuContextData& data, const GpuCounterTable& table, const InternedId& attr,
                             UInt32 value);
Result<UInt32> GetCounterValue(const GpuContextData& data, const GpuCounterTable& table, const InternedId& attr);
// See DrawportCommandList::RecordCounterRead.
Result<UInt64> RecordCounterRead(const GpuContextData& data, const GpuCounterTable& table, const InternedId& attr);

}  // namespace ostra
