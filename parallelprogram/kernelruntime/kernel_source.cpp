#include "parallelprogram/kernelruntime/kernel_source.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>

#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "ostra/shadercompiler/text_limits.h"
#include "parallelprogram/device/kernel_headers.h"
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
  return OSTRA_ILLEGAL_ARGUMENT("@:@: error: @", std::string_view(file), line, std::string_view(found->text));
}

// The text of a kernel in UTF-8, its lines ended by line feeds alone.
Result<SourceText> ReadText(const KernelFile& kernel) {
  if (!kernel.text) return ReadSourceText(kernel.file);
  OSTRA_RETURN_IF_ERROR(CheckSourceName(kernel.file));
  const auto bytes = Block<const Byte>(reinterpret_cast<const Byte*>(kernel.text->data()), Int(kernel.text->size()));
  auto text = DecodeText(bytes);
  if (!text) return OSTRA_ILLEGAL_ARGUMENT("@: error: @", kernel.file, text.GetError());
  OSTRA_ASSIGN_OR_RETURN(String lines, NormalizeLineEnds(std::move(*text)));
  return SourceText{std::move(lines), false};
}

// Runs a step of the front end, `step(options, text)`, on a kernel and the headers beside it.
template <class Step>
auto ReadFor(const KernelFile& kernel, Step&& step, Bool* hasEncodedFiles = nullptr)
    -> decltype(step(KernelSourceOptions(), std::string_view())) {
  const Url& kernelFile = kernel.file;
  OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadText(kernel));
  const String fileName = kernelFile.GetName();
  KernelHeaders headers(ReadHeader);
  KernelSourceOptions options;
  options.fileName = kernelFile.GetView();
  options.classId = kernel.classId.empty() ? fileName.GetView() : std::string_view(kernel.classId);
  options.templateArgument = kernel.templateArgument;
  options.isModule = true;
  options.isHidden = source.isEncoded;
  options.readHeader = headers.GetReader();
  // Before the front end, which walks expressions as well; what macros of headers stand for is known behind it.
  OSTRA_RETURN_IF_ERROR(CheckLimits(kernelFile, source.text.GetView()));
  auto result = step(options, source.text.GetView());
  if (!headers.GetFailure()) return headers.GetFailure().GetError();
  if (hasEncodedFiles) *hasEncodedFiles = source.isEncoded || headers.HasEncodedFiles();
  return result;
}

}  // namespace

Result<KernelSource> ReadKernelSource(const KernelFile& kernel) {
  KernelSource source;
  const auto generate = [&](KernelSourceOptions options, std::string_view text) {
    options.isSilent = kernel.isSilent;
    options.isChecked = kernel.isChecked;
    auto made = GenerateKernelSource(options, text);
    source.isChecked = kernel.isChecked && made;
    if (made || !kernel.isChecked) return made;
    // The compiler's checks are left (kernel_cache.cpp).
    options.isChecked = false;
    return GenerateKernelSource(options, text);
  };
  OSTRA_ASSIGN_OR_RETURN(source.text, ReadFor(kernel, generate, &source.hasEncodedFiles));
  OSTRA_RETURN_IF_ERROR(CheckLimits(kernel.file, source.text.GetView()));
  return source;
}

Result<KernelSource> ReadKernelSource(const Url& kernelFile, std::string_view templateArgument) {
  return ReadKernelSource({kernelFile, std::string(templateArgument)});
}

Result<std::vector<KernelParameterText>> ReadKernelParameters(const KernelFile& kernel) {
  return ReadFor(kernel, ListKernelParameters);
}

Result<void> CheckKernelSource(const Url& kernelFile, std::string_view templateArgument) {
  const auto find = [](const KernelSourceOptions& options, std::string_view text) -> Result<String> {
    OSTRA_RETURN_IF_ERROR(FindKernelMistakes(options, text));
    return String();
  };
  OSTRA_RETURN_IF_ERROR(ReadFor({kernelFile, std::string(templateArgument)}, find));
  return OK;
}

Result<std::string> ExplainKernelLanes(const Url& kernelFile, std::string_view templateArgument) {
  const auto explain = [](const KernelSourceOptions& options, std::string_view text) {
    return ostra::ExplainKernelLanes(options, text);
  };
  OSTRA_ASSIGN_OR_RETURN(const String explained, ReadFor({kernelFile, std::string(templateArgument)}, explain));
  return std::string(explained.GetView());
}

Result<std::optional<Int>> CountKernelNoises(const Url& kernelFile, std::string_view templateArgument) {
  const auto count = [](const KernelSourceOptions& options, std::string_view text) {
    return ostra::CountKernelNoises(options, text);
  };
  return ReadFor({kernelFile, std::string(templateArgument)}, count);
}

}  // namespace ostra::kernelruntime
