// What kernels print, as lines of the tool.
#pragma once

#include <string>
#include <vector>

#include "ostra/core/result.h"
#include "parallelprogram/program/kernel_report_interface.h"
#include "plans/run/print_sink.h"

namespace ostra::tool {

struct PrintedLine {
  std::string file, backend, text;
  Int line = 0, column = 0, dispatch = 0;  // 0: the first and only one
  std::vector<Int> invocation;
};

// Takes prints of programs, and shows or keeps them.
class ShownPrints final : public plans::PrintSink {
 public:
  // `isKept`: for a report in JSON; otherwise they are written at once.
  explicit ShownPrints(Bool isKept) : _isKept(isKept) {}

  Result<void> Take(ParallelProgramInterface& program, std::string_view backend, Int dispatch) override;

  const std::vector<PrintedLine>& GetKept() const { return _kept; }
  Int GetLostCount() const { return _lostCount; }
  void Flush() override;

 private:
  const Bool _isKept;
  Int _lostCount = 0;
  std::vector<PrintedLine> _kept;
};

// "5", "(1, 2)".
std::string FormatInvocation(const std::vector<Int>& numbers);

// "file:12: invocation 5: x = 1"
std::string FormatPrintedLine(const PrintedLine& line);

}  // namespace ostra::tool
