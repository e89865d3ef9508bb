#include "apps/ostra/run/show_prints.h"

#include "apps/ostra/output/standard_output.h"

namespace ostra::tool {

namespace {

std::vector<Int> ListInvocation(const KernelPrint& print) {
  std::vector<Int> numbers{Int{print.invocation.x}};
  if (print.dimensions > 1) numbers.push_back(Int{print.invocation.y});
  if (print.dimensions > 2) numbers.push_back(Int{print.invocation.z});
  return numbers;
}

}  // namespace

std::string FormatInvocation(const std::vector<Int>& numbers) {
  std::string text;
  for (const Int number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
  return numbers.size() == 1 ? text : "(" + text + ")";
}

std::string FormatPrintedLine(const PrintedLine& line) {
  std::string text = line.file + ":" + std::to_string(line.line) + ": ";
  if (line.dispatch != 0) text += "dispatch " + std::to_string(line.dispatch) + ", ";
  text += "invocation " + FormatInvocation(line.invocation) + ": " + line.text;
  return line.backend.empty() ? text : text + " [" + line.backend + "]";
}

Result<void> ShownPrints::Take(ParallelProgramInterface& program, std::string_view backend, Int dispatch) {
  auto* const reports = FindInterface<KernelReportInterface>(program);
  if (!reports) return OK;
  OSTRA_ASSIGN_OR_RETURN(const KernelPrints taken, reports->TakePrints());
  _lostCount += taken.lostCount;
  std::string lines;
  for (const KernelPrint& print : taken.prints) {
    PrintedLine line;
    line.file = print.file.GetView();
    line.backend = backend;
    line.text = print.text.GetView();
    line.line = print.line;
    line.column = print.column;
    line.dispatch = dispatch;
    line.invocation = ListInvocation(print);
    if (_isKept)
      _kept.push_back(std::move(line));
    else
      lines += FormatPrintedLine(line) + "\n";
  }
  if (taken.lostCount > 0)
    WriteNote(std::to_string(taken.lostCount) + (taken.lostCount == 1 ? " print did not fit" : " prints did not fit") +
              "; --print-room gives them more than it had");
  return lines.empty() ? Result<void>(OK) : WriteReport(lines);
}

void ShownPrints::Flush() {
  for (const PrintedLine& line : _kept) WriteReportLine(FormatPrintedLine(line));
  _kept.clear();
}

}  // namespace ostra::tool
