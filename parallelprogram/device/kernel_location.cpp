#include "parallelprogram/device/kernel_location.h"

#include "ostra/io/file.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr std::string_view kTemplateMark = "_T_";
constexpr std::string_view kGpuMark = "_gpu";

// Takes the mark and the argument off the name of `location`, whose suffix is off already.
Result<void> SplitTemplateArgument(KernelLocation& location) {
  const String name = location.file.GetName();
  if (!name.EndsWith(kTemplateMark)) return OK;
  const String rest = name.SubString(0, name.GetCount() - static_cast<Int>(kTemplateMark.size()));
  const Int separator = rest.FindLast("_");
  if (separator < 1) return OK;  // no base name, or no argument
  location.templateArgument = rest.SubString(separator + 1);
  return location.file.SetName(rest.SubString(0, separator));
}

}  // namespace

Result<KernelLocation> LocateKernel(const Url& resourcePath, const Url& file) {
  if (!(file.GetScheme() == kRelativeScheme)) return KernelLocation{file, String()};
  KernelLocation location;
  OSTRA_ASSIGN_OR_RETURN(location.file, ResolveUrl(resourcePath, file));
  const String suffix = location.file.GetSuffix();
  location.file.ClearSuffix();
  OSTRA_RETURN_IF_ERROR(SplitTemplateArgument(location));

  const Url plain = location.file;
  OSTRA_ASSIGN_OR_RETURN(const String gpuName, String::Concatenate(plain.GetName(), kGpuMark));
  Url gpu = plain;
  OSTRA_RETURN_IF_ERROR(gpu.SetName(gpuName));
  Url gpuWithSuffix = gpu;
  OSTRA_RETURN_IF_ERROR(gpuWithSuffix.SetSuffix(suffix));
  for (const Url* candidate : std::initializer_list<const Url*>{&gpuWithSuffix, &gpu, &plain}) {
    if (IoDetect(*candidate) != IODETECT::FILE) continue;
    location.file = *candidate;
    return location;
  }
  OSTRA_RETURN_IF_ERROR(location.file.SetSuffix(suffix));
  return location;
}

}  // namespace ostra
