// The ostra command-line tool.
#include <exception>
#include <new>

#include "apps/ostra/command_line.h"
#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/stop_signals.h"
#include "apps/ostra/tool_error.h"
#include "apps/ostra/tool_memory.h"

int main(int argumentCount, char** arguments) {
  ostra::tool::InstallStopSignals();
  try {
    return ostra::tool::RunCommandLine({arguments, static_cast<std::size_t>(argumentCount)});
  } catch (const std::bad_alloc&) {
    ostra::tool::WriteErrorLine(ostra::tool::DescribeExhaustedMemory());
    return static_cast<int>(ostra::tool::ExitStatus::Failed);
  } catch (const std::exception& exception) {
    // Standard containers that were asked for too much; everything else is a Result.
    ostra::tool::WriteErrorLine(exception.what());
    return static_cast<int>(ostra::tool::ExitStatus::Failed);
  }
}
