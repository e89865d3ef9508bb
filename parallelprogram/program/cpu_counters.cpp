#include "parallelprogram/program/cpu_counters.h"

#include "ostra/core/format.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

Result<void> CpuCounters::Add(const InternedId& attr) {
  Node* node = NewObj<Node>();
  if (!node) return OSTRA_OUT_OF_MEMORY();
  _storage.Append(node);
  if (auto set = _names.Set(attr, &node->counter); !set) {
    _storage.Free(node);
    return set;
  }
  return OK;
}

Result<AtomicUInt32&> CpuCounters::Get(const InternedId& attr) const {
  const Data* data = _names.FindData(attr);
  AtomicUInt32* const* counter = data ? data->GetIf<AtomicUInt32*>() : nullptr;
  if (!counter || !*counter) return OSTRA_ILLEGAL_ARGUMENT("atomic identifier not found");
  return **counter;
}

}  // namespace ostra
