// When a kernel file needs its plain form (kernellanguage/plain_form.h), and that form as the rest of the front step
// and the translation for GPUs read it.
#pragma once

#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/kernellanguage/plain_form.h"

namespace ostra {

// A kernel in the words and lines that the translation for GPUs takes.
struct PlainKernel {
  // A line of the plain text is about line `line` of the file number `file`; 0 where it is about none.
  struct Origin {
    Int32 file = 0, line = 0;
  };
  std::string header, text;        // what stands in for the headers, and for the kernel file
  std::vector<std::string> files;  // the kernel file first
  std::vector<Int> lineCounts;     // of the files
  std::vector<Origin> headerLines, textLines;
  std::string reportTable;  // what the kernel reports (parallelprogram/base/kernel_report.h); empty: nothing
};

// The plain form of the kernel file `text` for GPUs. Nothing for a file that needs none, or that the front end of the
// language does not understand or finds mistakes in: those go to the translation as they are. Errors: illegal argument
// with "file:line:column: error: ..." for what has no plain form; out of memory. Thread-safe.
Result<std::optional<PlainKernel>> MakePlainKernel(const KernelSourceOptions& options, std::string_view text);

namespace kernelfront {

// Whether the lines of the file are those that the translation for GPUs takes.
Bool KeepsLineRules(const KernelSourceOptions& options, std::string_view text);

PlainKernel SplitPlainForm(kernellanguage::PlainForm form, const kernellanguage::SourceMap& sources);

// Puts #line directives that name the kernel's own lines in the place of those that name lines of `plain`.
std::string MapLines(std::string_view source, const kernellanguage::SourceText& plain,
                     const kernellanguage::TextOrigin& origin);

}  // namespace kernelfront
}  // namespace ostra
