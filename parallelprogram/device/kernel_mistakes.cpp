#include "parallelprogram/device/kernel_mistakes.h"

#include "parallelprogram/device/kernel_headers.h"

namespace ostra {
namespace {

// Messages about lines read "file:line: error: text".
Bool IsAboutSource(const Error& error) {
  return error.GetKind() == kIllegalArgumentError && error.GetMessage().Contains(": error: ");
}

Result<void> FindMistakes(const Url& file, std::string_view templateArgument) {
  const auto read = [](const Url& source) { return ReadSourceFile(source, LineEnds::LineFeeds); };
  OSTRA_ASSIGN_OR_RETURN(const SourceFile source, read(file));
  KernelHeaders headers(read);
  KernelSourceOptions options;
  options.fileName = file.GetView();
  options.templateArgument = templateArgument;
  options.isHidden = source.isEncoded;
  options.readHeader = headers.GetReader();
  return FindKernelMistakes(options, source.text.GetView());
}

}  // namespace

Error ExplainCompileError(const Url& file, std::string_view templateArgument, const Error& error) {
  if (!IsAboutSource(error)) return error;
  Result<void> found = FindMistakes(file, templateArgument);
  return !found && IsAboutSource(found.GetError()) ? found.TakeError() : error;
}

}  // namespace ostra
