#include "parallelprogram/kernelruntime/opened_kernel.h"

#include <algorithm>
#include <charconv>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "ostra/io/file.h"
#include "ostra/shadercompiler/text_limits.h"
#include "parallelprogram/kernelruntime/source_text.h"

OSTRA_UNIT("kernel_source");

namespace ostra::kernelruntime {

namespace {

Result<SourceFile> ReadHeader(const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(SourceText source, ReadSourceText(file));
  return SourceFile{{}, std::move(source.text), source.isEncoded};
}

// Error: illegal argument "file:line: error: ..." for a text that would take a compiler all memory.
Result<void> CheckLimits(const Url& kernelFile, std::string_view text) {
  const auto found = shadercompiler::FindTextLimitError(text);
  if (!found) return OK;
  // The place that the last #line above gives to the line.
  std::string file(kernelFile.GetView());
  Int line = found->line, number = 1;
  for (std::string_view rest = text; !rest.empty() && number < found->line; ++number) {
    const std::string_view current = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(current.size() + 1, rest.size()));
    constexpr std::string_view kMark = "#line ";
    if (!current.starts_with(kMark)) continue;
    Int marked = 0;
    std::from_chars(current.data() + kMark.size(), current.data() + current.size(), marked);
    line = marked + found->line - number - 1;
    const std::size_t quote = current.find('"');
    if (quote != std::string_view::npos) file = current.substr(quote + 1, current.rfind('"') - quote - 1);
  }
  return MakeSourceError(file, line, found->text, kOstraUnit, __LINE__);
}

// The text of a kernel in UTF-8, its lines ended by line feeds alone.
Result<SourceText> ReadText(const KernelFile& kernel) {
  if (!kernel.text) return ReadSourceText(kernel.file);
  OSTRA_RETURN_IF_ERROR(CheckSourceName(kernel.file));
  const auto bytes = Block<const Byte>(reinterpret_cast<const Byte*>(kernel.text->data()), Int(kernel.text->size()));
  auto text = DecodeText(bytes);
  if (!text)
    return MakeSourceError(kernel.file.GetView(), 0, text.GetError().GetMessage().GetView(), kOstraUnit, __LINE__);
  OSTRA_ASSIGN_OR_RETURN(String lines, NormalizeLineEnds(std::move(*text)));
  return SourceText{std::move(lines), false};
}

}  // namespace

Result<OpenedKernel> OpenedKernel::Open(const KernelFile& kernel) {
  OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadText(kernel));
  // Before the front end, which walks expressions as well; what macros of headers stand for is known behind it.
  OSTRA_RETURN_IF_ERROR(CheckLimits(kernel.file, source.text.GetView()));
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<OpenedKernel> {
    OpenedKernel opened;
    opened._file = kernel.file;
    opened._isEncoded = source.isEncoded;
    opened._headers = std::make_shared<KernelHeaders>(ReadHeader);
    const String fileName = kernel.file.GetName();
    KernelSourceOptions options;
    options.fileName = kernel.file.GetView();
    options.classId = kernel.classId.empty() ? fileName.GetView() : std::string_view(kernel.classId);
    options.templateArgument = kernel.templateArgument;
    options.isModule = true;
    options.isHidden = source.isEncoded;
    options.readHeader = opened._headers->GetReader();
    OSTRA_ASSIGN_OR_RETURN(KernelReading reading, KernelReading::Create(options, source.text.GetView()));
    opened._reading.emplace(std::move(reading));
    return opened;
  });
}

// What a step gives, or why a header could not be read.
template <class Made>
Result<Made> OpenedKernel::Check(Result<Made> made) const {
  if (!_headers->GetFailure()) return _headers->GetFailure().GetError();
  return made;
}

Result<KernelSource> OpenedKernel::MakeSource(const KernelReportSwitches& reports) const {
  if (_source && _reports == reports) return *_source;
  KernelSource source;
  auto made = _reading->WithReports(reports).GenerateSource();
  source.isChecked = reports.isChecked && made && _reading->CheckLanguage();
  // Without them the compiler's checks are left (kernel_cache.cpp).
  if (!made && reports.isChecked) made = _reading->WithReports({.isSilent = reports.isSilent}).GenerateSource();
  OSTRA_ASSIGN_OR_RETURN(source.text, Check(std::move(made)));
  OSTRA_RETURN_IF_ERROR(CheckLimits(_file, source.text.GetView()));
  source.hasEncodedFiles = _isEncoded || _headers->HasEncodedFiles();
  _source = source;
  _reports = reports;
  return source;
}

Result<std::vector<KernelParameterText>> OpenedKernel::ListParameters() const {
  return Check(_reading->ListParameters());
}

Result<void> OpenedKernel::CheckLanguage(const KernelReportSwitches& reports) const {
  OSTRA_RETURN_IF_ERROR(_reading->CheckLanguage());
  OSTRA_RETURN_IF_ERROR(Check(_reading->WithReports(reports).GenerateSource()));
  return OK;
}

Result<void> OpenedKernel::FindMistakes() const { return Check(_reading->FindMistakes()); }

Result<std::string> OpenedKernel::ExplainLanes() const {
  OSTRA_ASSIGN_OR_RETURN(const String explained, Check(_reading->ExplainLanes()));
  return std::string(explained.GetView());
}

Result<std::optional<Int>> OpenedKernel::CountNoises() const { return Check(_reading->CountNoises()); }

Result<std::optional<WrittenSource>> OpenedKernel::MakePlainSource() const {
  return ostra::MakePlainSource(_file, *_reading);
}

Result<KernelSource> ReadKernelSource(const KernelFile& kernel, const KernelReportSwitches& reports) {
  OSTRA_ASSIGN_OR_RETURN(const OpenedKernel opened, OpenedKernel::Open(kernel));
  return opened.MakeSource(reports);
}

}  // namespace ostra::kernelruntime
