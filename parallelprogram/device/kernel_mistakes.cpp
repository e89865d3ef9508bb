#include "parallelprogram/device/kernel_mistakes.h"

#include "parallelprogram/device/kernel_headers.h"

namespace ostra {
namespace {

Bool IsAboutSource(const Error& error) {
  return error.GetKind() == kIllegalArgumentError && !GetSourceMessages(error).empty();
}

}  // namespace

Result<void> CheckKernelMistakes(const Url& file, std::string_view templateArgument) {
  Result<void> found = ReadForFrontEnd(file, templateArgument, &FindKernelMistakes);
  if (!found && (IsAboutSource(found.GetError()) || found.GetError().GetKind() == kOutOfMemoryError)) return found;
  return OK;
}

Result<std::optional<SourceMessage>> ExplainLineRules(const Url& file, std::string_view templateArgument) {
  using Explain = Result<std::optional<SourceMessage>> (*)(const KernelSourceOptions&, std::string_view);
  auto note = ReadForFrontEnd(file, templateArgument, Explain{&ExplainLineRules});
  if (!note && note.GetError().GetKind() != kOutOfMemoryError) return std::optional<SourceMessage>();
  return note;
}

Error ExplainCompileError(const Url& file, std::string_view templateArgument, const Error& error) {
  if (!IsAboutSource(error)) return error;
  Result<void> found = CheckKernelMistakes(file, templateArgument);
  return !found && IsAboutSource(found.GetError()) ? found.TakeError() : error;
}

}  // namespace ostra
