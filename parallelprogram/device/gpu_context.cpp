#include "parallelprogram/device/gpu_context.h"

#include <atomic>

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

UInt64 TakeDeviceOwnerIdentity() {
  static constinit std::atomic<UInt64> counter{1};
  return counter.fetch_add(1, std::memory_order_relaxed);
}

Result<void> CheckHasContext(const GpuContextData& data) {
  if (data.context && data.cache && data.drawport) return OK;
  return OSTRA_ILLEGAL_STATE("There is no drawport context.");
}

Result<void> SubmitRecordedWork(const GpuContextData& data) {
  if (!data.context) return OK;
  Result<void> executed = data.GetCommandList().Execute(false);
  if (executed || executed.GetError().GetKind() == kIllegalStateError) return OK;
  return executed;
}

Result<StagingBuffer> StagingBuffer::Create(const GpuContextData& data, Int bytes, DrawportStagingUse use) {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(data));
  DrawportStagingOptions options;
  options.bytes = bytes;
  options.use = use;
  OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * buffer, data.cache->AllocStagingBuffer(*data.context, options));
  return StagingBuffer(&data.GetCommandList(), buffer);
}

}  // namespace ostra
