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
};

// The source of a plug-in module with the one kernel class. Errors: those of reading the file; illegal argument with
// "file:line: error: ..."; out of memory.
Result<KernelSource> ReadKernelSource(const KernelFile& kernel, const KernelReportSwitches& reports = {});

}  // namespace ostra::kernelruntime
