// Reports of kernels on the CPU: the words that a kernel with PRINT or ASSERT writes, before and after its dispatch.
#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

namespace {

Int CountLayers(const SamplingData& data) {
  const Int layerSize = Int{data._dimensions.x} * data._dimensions.y * data._dimensions.z * data._numChannels *
                        GetElementSize(data._format);
  return layerSize > 0 ? data._dataSize / layerSize : 0;
}

// Elements of a buffer that the kernel was given, or layers of a texture.
Int GetResourceSize(const KernelInterface& kernel, std::string_view name) {
  const auto key = CString::Create(name);
  const KernelParameter* const parameter = key ? kernel.GetKernelParameterMap().Find(*key) : nullptr;
  if (!parameter) return 0;
  if (parameter->type.IsMadeWith(kBlockParametricType))
    return static_cast<const Block<Generic>*>(parameter->address)->GetCount();
  if (!parameter->type.IsPointer() || !IsSamplerType(parameter->type.GetInnerType())) return 0;
  const auto* const sampler = *static_cast<const TextureSamplerDataHelper* const*>(parameter->address);
  return sampler ? CountLayers(sampler->_samplingData) : 0;
}

}  // namespace

Result<void> ParallelProgramCPUImpl::SetReportOptions(const KernelReportOptions& options) {
  if (options == KernelReportOptions()) return OK;
  return MakeError(kNotImplementedError, kOstraUnit, __LINE__,
                   "Kernels of the CPU program report what they were built with.");
}

Result<void> ParallelProgramCPUImpl::SetPrintRoom(Int bytes) { return _prints.SetRoom(bytes); }
Result<KernelPrints> ParallelProgramCPUImpl::TakePrints() { return _prints.Take(); }

Result<void> ParallelProgramCPUImpl::RunReported(KernelEntry& entry, const Vec3<UInt32>& invocations) {
  const KernelReportTable& table = *entry.reports;
  const Vec3<UInt32> extents = GetReportExtents(invocations, entry.kernel->GetKernelWorkGroupSize());
  const auto getSize = [&entry](std::string_view name) { return GetResourceSize(*entry.kernel, name); };
  const Int headCount = table.GetHeadCount();
  OSTRA_ASSIGN_OR_RETURN(
      const BaseArray<UInt32> head,
      table.MakeHead(_prints.GetRoomWords(), extents, _prints.GetStepLimit(), _prints.GetTrace(), getSize));
  OSTRA_RETURN_IF_ERROR(entry.reportWords.Resize(headCount + _prints.GetRoomWords()));
  std::copy(head.begin(), head.end(), entry.reportWords.begin());
  const Block<UInt32> words(entry.reportWords.GetFirst(), entry.reportWords.GetCount());
  OSTRA_ASSIGN_OR_RETURN(const CString name, CString::Create(kReportBuffer));
  OSTRA_RETURN_IF_ERROR(entry.kernel->Set(name, &words));
  Result<void> done = RunUnreported(invocations.x, invocations.y, invocations.z);
  const UInt32* const first = entry.reportWords.GetFirst();
  OSTRA_ASSIGN_OR_RETURN(KernelReportTable::Report report,
                         table.Read({first, headCount}, {first + headCount, _prints.GetRoomWords()}, _activeKernelId,
                                    invocations, extents));
  OSTRA_RETURN_IF_ERROR(_prints.Add(std::move(report)));
  return done;
}

}  // namespace ostra
