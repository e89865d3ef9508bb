// The C++ source of a kernel file, with the headers beside it put in.
#pragma once

#include <optional>
#include <string>

#include "ostra/io/url.h"
#include "parallelprogram/kernelfront/kernel_source.h"

namespace ostra::kernelruntime {

struct KernelSource {
  String text;
  // The kernel file or a header is encoded, so that its lines cannot be shown from the file.
  Bool hasEncodedFiles = false;
  Bool isChecked = false;  // checks that were asked for are in the text
};

struct KernelFile {
  Url file;                           // what messages name; headers are looked for beside it
  std::string templateArgument = {};  // takes the place of TYPE
  std::string classId = {};           // empty: the name of the file
  // What stands in place of the file's contents, which is then not read.
  std::optional<std::string> text = {};
  Bool isSilent = false;   // PRINT and ASSERT are left out
  Bool isChecked = false;  // checks are put into a kernel that the front end understands
};

// The source of a plug-in module with the one kernel class. Errors: those of reading the file; illegal argument with
// "file:line: error: ..."; out of memory.
Result<KernelSource> ReadKernelSource(const KernelFile& kernel);
Result<KernelSource> ReadKernelSource(const Url& kernelFile, std::string_view templateArgument = {});

// ListKernelParameters (kernelfront/kernel_source.h) of a kernel. Errors: those of ReadKernelSource.
Result<std::vector<KernelParameterText>> ReadKernelParameters(const KernelFile& kernel);

// What is wrong with a kernel file for the CPU and for GPUs, in the words of ReadKernelSource. Errors: those of reading
// the file; illegal argument with "file:line:column: error: ..."; out of memory.
Result<void> CheckKernelSource(const Url& kernelFile, std::string_view templateArgument);

// Why a kernel has no wide form: "file:line:column: note: ...", and the line with a caret below unless a file is
// encoded. Empty when it has one. Errors: those of ReadKernelSource.
Result<std::string> ExplainKernelLanes(const Url& kernelFile, std::string_view templateArgument);

// CountKernelNoises (kernelfront/kernel_source.h) of a kernel file. Errors: those of ReadKernelSource.
Result<std::optional<Int>> CountKernelNoises(const Url& kernelFile, std::string_view templateArgument);

}  // namespace ostra::kernelruntime
