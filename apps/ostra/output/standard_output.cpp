#include "apps/ostra/output/standard_output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ostra/core/format.h"

OSTRA_UNIT("standard_output");

namespace ostra::tool {

Result<void> WriteOutput(std::string_view text) {
  const Bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  return isWritten ? Result<void>(OK) : OSTRA_ILLEGAL_STATE("The output cannot be written: @.", std::strerror(errno));
}

void WriteError(const Error& error) {
  const std::string_view message = error.GetMessage().GetView();
  const std::size_t lineStart = message.rfind('\n') + 1;  // 0 when there is no line end
  std::fwrite(message.data(), 1, lineStart, stderr);
  WriteErrorLine(message.substr(lineStart));
}

void WriteErrorLine(std::string_view line) {
  std::fprintf(stderr, "ostra: %.*s\n", static_cast<int>(line.size()), line.data());
}

}  // namespace ostra::tool
