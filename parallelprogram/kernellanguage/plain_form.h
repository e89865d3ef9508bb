// The plain form of a kernel: the whole of it written again in the words that all shading languages and the line
// translator take. Swizzles become components, macros and headers what they stand for, functions get lines of their
// own.
//
//   PlainForm plain = PrintPlainForm(kernel, {.isForGpu = true});
//   if (!plain.refusal) ... plain.text
//
// Kernels that are plain already are left as they are (IsPlain), so nothing of this touches them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::kernellanguage {

struct PlainForm {
  // Structs first, then everything else. On the CPU it is a kernel file; for GPUs its first `headerSize` bytes stand in
  // for the kernel's headers and the rest for its file.
  std::string text;
  std::size_t headerSize = 0;
  std::vector<TextMark> marks;           // in the order of their positions; the first is at 0
  std::optional<NotUnderstood> refusal;  // something that has no plain form; then there is no text
  // What the kernel reports, for the host that reads its reports (parallelprogram/program/kernel_report.h); empty:
  // nothing.
  std::string reportTable;
};

struct PlainOptions {
  Bool isForGpu = false;
  Bool hasReports = true;  // PRINT and ASSERT are compiled in; otherwise they are left out with all that they compute
  // Indices of buffers and arrays, layers of textures, whole numbers that are divided by and steps of loops are
  // checked.
  Bool hasChecks = false;
  // PRINT and ASSERT give way to records of the values that are written (plain_traces.h); without checks.
  Bool isTraced = false;
};

// Whether other languages than C++ may compute something else of an understood kernel that is plain: a remainder of a
// negative number, an index that changes what is assigned, == of vectors. The plain form for GPUs says it in another
// way.
Bool IsOpenOnGpus(const AnalyzedKernel& kernel);

// The kernel must be understood. Pure; thread-safe; throws std::bad_alloc.
PlainForm PrintPlainForm(const AnalyzedKernel& kernel, const PlainOptions& options);

}  // namespace ostra::kernellanguage
