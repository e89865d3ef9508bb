// Atomic counters and uniforms of the CPU program.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

AtomicUInt32* FindCounter(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  AtomicUInt32* const* counter = data ? data->GetIf<AtomicUInt32*>() : nullptr;
  return counter ? *counter : nullptr;
}

}  // namespace

Result<void> ParallelProgramCPUImpl::AddAtomicCounter(const InternedId& attr, ForwardingDataPtr&&) {
  CounterNode* node = NewObj<CounterNode>();
  if (!node) return OSTRA_OUT_OF_MEMORY();
  _counterStorage.Append(node);
  if (auto set = _counters.Set(attr, &node->counter); !set) {
    _counterStorage.Free(node);
    return set;
  }
  return OK;
}

Result<void> ParallelProgramCPUImpl::SetAtomicCounterToActiveKernel(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, _counters.GetData(attr));
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  OSTRA_RETURN_IF_ERROR(data.Get<AtomicUInt32*>());
  return entry.atomicLinks.SetData(attr, data);
}

Result<void> ParallelProgramCPUImpl::SetAtomicCounter(const InternedId& attr, UInt32 value) {
  AtomicUInt32* counter = FindCounter(_counters, attr);
  if (!counter) return OSTRA_ILLEGAL_ARGUMENT("atomic identifier not found");
  if (_openRecording) {
    RecordedStep step;
    step.kind = RecordedStep::Kind::SetCounter;
    step.counter = counter;
    step.value = value;
    OSTRA_RETURN_IF_ERROR(_openRecording->steps.Append(std::move(step)));
    return OK;
  }
  counter->Exchange(value);
  return OK;
}

Result<UInt32> ParallelProgramCPUImpl::GetAtomicCounter(const InternedId& attr) const {
  const AtomicUInt32* counter = FindCounter(_counters, attr);
  if (!counter) return OSTRA_ILLEGAL_ARGUMENT("atomic identifier not found");
  return counter->LoadRelaxed();
}

Result<void> ParallelProgramCPUImpl::SetUniform(const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  if (data.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" was given no value.", attr);
  return entry.uniforms.SetValue(attr, std::move(data));
}

}  // namespace ostra
