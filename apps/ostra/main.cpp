// The ostra command-line tool.
#include <exception>

#include "apps/ostra/command_line.h"
#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/stop_signals.h"
#include "apps/ostra/tool_error.h"

int main(int argumentCount, char** arguments) {
  ostra::tool::InstallStopSignals();
  try {
    return ostra::tool::RunCommandLine({arguments, static_cast<std::size_t>(argumentCount)});
  } catch (const std::exception& exception) {
    // Only exhausted memory gets here: everything else is a Result.
    ostra::tool::WriteErrorLine(exception.what());
    return static_cast<int>(ostra::tool::ExitStatus::Failed);
  }
}
