// OpenedKernel: a kernel file with the headers beside it, read and analyzed once for everything that is made of it.
//
//   OSTRA_ASSIGN_OR_RETURN(const OpenedKernel kernel, OpenedKernel::Open({kernelFile, templateArgument}));
//   OSTRA_RETURN_IF_ERROR(kernel.FindMistakes());
//   OSTRA_ASSIGN_OR_RETURN(const KernelSource source, kernel.MakeSource());
//
// Copies share what was read. For one thread at a time.
#pragma once

#include <memory>

#include "parallelprogram/device/kernel_headers.h"
#include "parallelprogram/device/plain_source.h"
#include "parallelprogram/kernelruntime/kernel_source.h"

namespace ostra::kernelruntime {

class OpenedKernel {
 public:
  // Errors: those of reading the file; illegal argument for a text that would take a compiler all memory; out of
  // memory.
  static Result<OpenedKernel> Open(const KernelFile& kernel);

  // The source of a plug-in module with the one kernel class. Errors, of all functions: illegal argument with
  // "file:line:column: error: ..." for what is wrong in the file; those of reading a header; out of memory.
  Result<KernelSource> MakeSource(const KernelReportSwitches& reports = {}) const;
  // ListKernelParameters (kernelfront/kernel_source.h).
  Result<std::vector<KernelParameterText>> ListParameters() const;
  // Why the kernel cannot have these reports from the front end: what is not of the language, and mistakes.
  Result<void> CheckLanguage(const KernelReportSwitches& reports) const;
  // What is wrong for the CPU and for GPUs.
  Result<void> FindMistakes() const;
  // Why the kernel has no wide form: "file:line:column: note: ...", and the line with a caret below unless a file is
  // encoded. Empty when it has one.
  Result<std::string> ExplainLanes() const;
  // CountKernelNoises (kernelfront/kernel_source.h).
  Result<std::optional<Int>> CountNoises() const;
  // MakePlainSource (device/plain_source.h).
  Result<std::optional<WrittenSource>> MakePlainSource() const;

 private:
  OpenedKernel() = default;
  template <class Made>
  Result<Made> Check(Result<Made> made) const;

  Url _file;
  Bool _isEncoded = false;
  std::shared_ptr<KernelHeaders> _headers;
  std::optional<KernelReading> _reading;
  // What was made last, and with which switches.
  mutable std::optional<KernelSource> _source;
  mutable KernelReportSwitches _reports;
};

}  // namespace ostra::kernelruntime
