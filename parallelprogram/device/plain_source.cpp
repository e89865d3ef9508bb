#include "parallelprogram/device/plain_source.h"

#include "parallelprogram/device/kernel_headers.h"
#include "parallelprogram/kernelfront/plain_kernel.h"

namespace ostra {
namespace {

Result<void> CopyOrigins(const std::vector<PlainKernel::Origin>& from, ShaderTextOrigins& to) {
  OSTRA_RETURN_IF_ERROR(to.Reserve(static_cast<Int>(from.size())));
  for (const PlainKernel::Origin& origin : from)
    OSTRA_RETURN_IF_ERROR(to.Append(ShaderTextOrigin{origin.file, origin.line}));
  return OK;
}

Result<WrittenSource> MakeWritten(const PlainKernel& plain, const Url& file) {
  WrittenSource written;
  OSTRA_ASSIGN_OR_RETURN(written.header, String::Create(plain.header));
  OSTRA_ASSIGN_OR_RETURN(written.text, String::Create(plain.text));
  OSTRA_ASSIGN_OR_RETURN(written.reportTable, String::Create(plain.reportTable));
  OSTRA_RETURN_IF_ERROR(written.files.Append(file));
  for (std::size_t i = 1; i < plain.files.size(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(String name, String::Create(plain.files[i]));
    OSTRA_RETURN_IF_ERROR(written.files.Append(Url(std::move(name))));
  }
  for (const Int count : plain.lineCounts) OSTRA_RETURN_IF_ERROR(written.lineCounts.Append(count));
  OSTRA_RETURN_IF_ERROR(CopyOrigins(plain.headerLines, written.headerLines));
  OSTRA_RETURN_IF_ERROR(CopyOrigins(plain.textLines, written.textLines));
  return written;
}

}  // namespace

Result<std::optional<WrittenSource>> MakePlainSource(const Url& file, std::string_view templateArgument,
                                                     const KernelReportOptions& reports) {
  return ReadForFrontEnd(
      file, templateArgument,
      [&](const KernelSourceOptions& options, std::string_view text) -> Result<std::optional<WrittenSource>> {
        OSTRA_ASSIGN_OR_RETURN(const KernelReading kernel, KernelReading::Create(options, text));
        return MakePlainSource(
            file, kernel.WithReports(
                      {.isSilent = !reports.hasReports, .isChecked = reports.hasChecks, .isTraced = reports.isTraced}));
      });
}

Result<std::optional<WrittenSource>> MakePlainSource(const Url& file, const KernelReading& kernel) {
  OSTRA_ASSIGN_OR_RETURN(const auto plain, kernel.MakePlainKernel());
  if (!plain) return std::nullopt;
  OSTRA_ASSIGN_OR_RETURN(WrittenSource written, MakeWritten(*plain, file));
  return std::optional(std::move(written));
}

}  // namespace ostra
