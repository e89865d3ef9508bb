#include "parallelprogram/program/cpu_reports.h"

#include <algorithm>

#include "parallelprogram/textures/texture_factory.h"

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

Result<void> CpuReports::Begin(CpuKernel& kernel, const Vec3<UInt32>& invocations) {
  const KernelReportTable& table = *kernel.reports;
  const Vec3<UInt32> extents = GetReportExtents(invocations, kernel.kernel->GetKernelWorkGroupSize());
  const auto getSize = [&kernel](std::string_view name) { return GetResourceSize(*kernel.kernel, name); };
  OSTRA_ASSIGN_OR_RETURN(
      const BaseArray<UInt32> head,
      table.MakeHead(_prints.GetRoomWords(), extents, _prints.GetStepLimit(), _prints.GetTrace(), getSize));
  OSTRA_RETURN_IF_ERROR(kernel.reportWords.Resize(table.GetHeadCount() + _prints.GetRoomWords()));
  std::copy(head.begin(), head.end(), kernel.reportWords.begin());
  const Block<UInt32> words(kernel.reportWords.GetFirst(), kernel.reportWords.GetCount());
  OSTRA_ASSIGN_OR_RETURN(const CString name, CString::Create(kReportBuffer));
  return kernel.kernel->Set(name, &words);
}

Result<void> CpuReports::End(CpuKernel& kernel, const InternedId& kernelId, const Vec3<UInt32>& invocations) {
  const KernelReportTable& table = *kernel.reports;
  const Int headCount = table.GetHeadCount();
  const UInt32* const first = kernel.reportWords.GetFirst();
  OSTRA_ASSIGN_OR_RETURN(
      KernelReportTable::Report report,
      table.Read({first, headCount}, {first + headCount, kernel.reportWords.GetCount() - headCount}, kernelId,
                 invocations, GetReportExtents(invocations, kernel.kernel->GetKernelWorkGroupSize())));
  return _prints.Add(std::move(report));
}

}  // namespace ostra
