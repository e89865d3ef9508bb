#include "apps/ostra/output/standard_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "apps/ostra/output/quiet.h"
#include "ostra/core/format.h"
#include "ostra/core/printable_text.h"

OSTRA_UNIT("standard_output");

namespace ostra::tool {

Result<void> WriteOutput(std::string_view text) {
  if (isatty(STDOUT_FILENO))
    WritePrintable(stdout, text);
  else
    std::fwrite(text.data(), 1, text.size(), stdout);
  const Bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return isWritten ? Result<void>(OK) : OSTRA_ILLEGAL_STATE("The output cannot be written: @.", std::strerror(errno));
}

Result<void> WriteReport(std::string_view text) { return IsQuiet() ? Result<void>(OK) : WriteOutput(text); }

void WriteNote(std::string_view text) {
  if (IsQuiet()) return;
  std::fputs("ostra: note: ", stderr);
  WriteReportLine(text);
}

void WriteError(const Error& error) {
  const std::string_view message = error.GetMessage().GetView();
  const std::size_t lineStart = message.rfind('\n') + 1;  // 0 when there is no line end
  // Behind the last line of a source and its caret nothing says yet what that means.
  const Bool endsWithCaret =
      lineStart > 0 && message.find_first_not_of(" \t", lineStart) == message.size() - 1 && message.ends_with('^');
  if (endsWithCaret) {
    WriteReportLine(message);
    return WriteErrorLine("the kernel does not compile");
  }
  WriteMessage(stderr, message.substr(0, lineStart));
  WriteErrorLine(message.substr(lineStart));
}

void WriteErrorLine(std::string_view line) {
  std::fputs("ostra: ", stderr);
  WriteReportLine(line);
}

void WriteReportLine(std::string_view line) {
  WriteMessage(stderr, line);
  std::fputc('\n', stderr);
}

}  // namespace ostra::tool
