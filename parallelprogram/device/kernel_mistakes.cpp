#include "parallelprogram/device/kernel_mistakes.h"

#include "parallelprogram/device/kernel_headers.h"

namespace ostra {
namespace {

// Messages about lines read "file:line: error: text".
Bool IsAboutSource(const Error& error) {
  return error.GetKind() == kIllegalArgumentError && error.GetMessage().Contains(": error: ");
}

}  // namespace

Result<void> CheckKernelMistakes(const Url& file, std::string_view templateArgument) {
  Result<void> found = ReadForFrontEnd(file, templateArgument, &FindKernelMistakes);
  if (!found && (IsAboutSource(found.GetError()) || found.GetError().GetKind() == kOutOfMemoryError)) return found;
  return OK;
}

Error ExplainCompileError(const Url& file, std::string_view templateArgument, const Error& error) {
  if (!IsAboutSource(error)) return error;
  Result<void> found = CheckKernelMistakes(file, templateArgument);
  return !found && IsAboutSource(found.GetError()) ? found.TakeError() : error;
}

}  // namespace ostra
