#include "parallelprogram/device/device_counters.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

Result<const GpuCounter&> FindCounter(const GpuCounterTable& table, const InternedId& attr) {
  const GpuCounter* counter = table.Find(attr);
  if (!counter) return OSTRA_ILLEGAL_ARGUMENT("atomic identifier not found");
  return *counter;
}

}  // namespace

// A counter of this name that is held already is the same one; it starts at 0 again.
Result<void> AddCounter(const DeviceOwner& owner, GpuCounterTable& table, const InternedId& attr) {
  const GpuContextData& data = owner.data;
  OSTRA_RETURN_IF_ERROR(CheckHasContext(data));
  GpuCounter added;
  DrawportCounterKey key;
  key.id = attr;
  key.program = owner.identity;
  OSTRA_ASSIGN_OR_RETURN(added.item, data.cache->GetAtomicCounter(key));
  OSTRA_ASSIGN_OR_RETURN(added.counter, added.item->MakeValid(*data.context));
  OSTRA_ASSIGN_OR_RETURN(const auto position, table.Insert(attr));
  *position.value = std::move(added);
  if (position.isNew) return OK;
  return data.GetCommandList().SetAtomicCounterValue(*position.value->counter, 0);
}

Result<void> LinkCounter(const GpuCounterTable& table, const InternedId& attr, GpuCounterTable& links) {
  OSTRA_ASSIGN_OR_RETURN(const GpuCounter& counter, FindCounter(table, attr));
  OSTRA_ASSIGN_OR_RETURN(const auto position, links.Insert(attr));
  *position.value = counter;
  return OK;
}

Result<void> SetCounterValue(const GpuContextData& data, const GpuCounterTable& table, const InternedId& attr,
                             UInt32 value) {
  OSTRA_ASSIGN_OR_RETURN(const GpuCounter& counter, FindCounter(table, attr));
  return data.GetCommandList().SetAtomicCounterValue(*counter.counter, value);
}

Result<UInt32> GetCounterValue(const GpuContextData& data, const GpuCounterTable& table, const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const GpuCounter& counter, FindCounter(table, attr));
  return data.GetCommandList().GetAtomicCounterValue(*counter.counter);
}

Result<UInt64> RecordCounterRead(const GpuContextData& data, const GpuCounterTable& table, const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const GpuCounter& counter, FindCounter(table, attr));
  return data.GetCommandList().RecordCounterRead(*counter.counter);
}

}  // namespace ostra
