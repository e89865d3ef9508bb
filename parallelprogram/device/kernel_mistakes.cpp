#include "parallelprogram/device/kernel_mistakes.h"

#include "parallelprogram/device/kernel_headers.h"

namespace ostra {
namespace {

// Messages about lines read "file:line: error: text".
Bool IsAboutSource(const Error& error) {
  return error.GetKind() == kIllegalArgumentError && error.GetMessage().Contains(": error: ");
}

}  // namespace

Error ExplainCompileError(const Url& file, std::string_view templateArgument, const Error& error) {
  if (!IsAboutSource(error)) return error;
  Result<void> found = ReadForFrontEnd(file, templateArgument, &FindKernelMistakes);
  return !found && IsAboutSource(found.GetError()) ? found.TakeError() : error;
}

}  // namespace ostra
