#include "parallelprogram/gpu/gpu_reports.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/device/buffer_transfer.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

// Each kernel has words of its own: those of another one may be as many when it was updated, and fewer now.
Result<void> GpuReports::LinkBuffer(const DeviceOwner& owner, GpuKernel& kernel, Bool isSameContext) const {
  OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(kReportBuffer));
  if (!kernel.reports) return kernel.buffers.Contains(name) ? kernel.buffers.EraseData(name) : Result<void>(OK);
  const Int count = kernel.reports->GetHeadCount() + _prints.GetRoomWords();
  const DataBufferEntry* known = FindBufferEntry(kernel.buffers, name);
  if (known && known->_count >= count && isSameContext) return OK;
  OSTRA_ASSIGN_OR_RETURN(const String text, Format("@.@", kernel.id, name));
  OSTRA_ASSIGN_OR_RETURN(const InternedId own, InternedId::Create(text.GetView()));
  DataBufferEntry entry;
  entry._elementType = GetDataType<UInt32>();
  OSTRA_RETURN_IF_ERROR(AllocateBuffer(owner, own, count, nullptr, entry));
  return kernel.buffers.Set(name, std::move(entry));
}

Result<void> GpuReports::Begin(const GpuContextData& data, const GpuKernel& kernel, const Vec3<UInt32>& extents) const {
  OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(kReportBuffer));
  const DataBufferEntry* entry = FindBufferEntry(kernel.buffers, name);
  if (!entry)
    return OSTRA_ILLEGAL_STATE("The uniforms of the kernel \"@\" have not been updated since it was compiled.",
                               kernel.id);
  const Int room = entry->_count - kernel.reports->GetHeadCount();
  // Textures of GPU programs have one layer.
  const auto getSize = [&kernel](std::string_view parameter) -> Int {
    const auto id = InternedId::Create(parameter);
    if (!id) return 0;
    const DataBufferEntry* const buffer = FindBufferEntry(kernel.buffers, *id);
    if (buffer) return buffer->_count;
    return kernel.textures.Contains(*id) ? 1 : 0;
  };
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<UInt32> head,
                         kernel.reports->MakeHead(room, extents, _prints.GetStepLimit(), _prints.GetTrace(), getSize));
  return UploadBytes(data, entry->_deviceBuffer, 0, reinterpret_cast<const Byte*>(head.GetFirst()),
                     head.GetCount() * Int{sizeof(UInt32)}, sizeof(UInt32));
}

Result<void> GpuReports::End(const GpuContextData& data, const GpuKernel& kernel, const Vec3<UInt32>& invocations,
                             const Vec3<UInt32>& extents) {
  OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(kReportBuffer));
  const DataBufferEntry* entry = FindBufferEntry(kernel.buffers, name);
  const auto read = [&](Int first, Int count) -> Result<BaseArray<UInt32>> {
    BaseArray<UInt32> words;
    OSTRA_RETURN_IF_ERROR(words.Resize(count));
    if (count > 0)
      OSTRA_RETURN_IF_ERROR(DownloadBytes(data, BufferReader::GpuProgram, entry->_deviceBuffer,
                                          first * Int{sizeof(UInt32)}, reinterpret_cast<Byte*>(words.GetFirst()),
                                          count * Int{sizeof(UInt32)}, sizeof(UInt32)));
    return words;
  };
  const KernelReportTable& table = *kernel.reports;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<UInt32> head, read(0, table.GetHeadCount()));
  const Block<const UInt32> headWords(head.GetFirst(), head.GetCount());
  const Int room = entry->_count - table.GetHeadCount();
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<UInt32> records,
                         read(table.GetHeadCount(), std::min(KernelReportTable::CountRecordWords(headWords), room)));
  OSTRA_ASSIGN_OR_RETURN(
      KernelReportTable::Report report,
      table.Read(headWords, {records.GetFirst(), records.GetCount()}, kernel.id, invocations, extents));
  return _prints.Add(std::move(report));
}

}  // namespace ostra
