// The form of a kernel whose invocations exchange values in group memory: C++ that runs a whole work group. The body is
// cut at its barriers; a loop over the invocations of the group runs each piece, and variables that live across a
// barrier are kept for each invocation.
//
//   const GroupCode code = PrintGroupCode(kernel, {.className = "Sum", .parameters = "OstraKernelParameters"});
//   if (code.refusal) ...        // FormatNotUnderstood says what has no such form
//
// The text is the class of the kernel and its body, for kernel_groups.h. Pure and thread-safe.
#pragma once

#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::kernellanguage {

struct GroupCodeOptions {
  std::string_view className, parameters;
};

struct GroupCode {
  std::string text;
  // What has no such form, with its place; the text is empty then.
  std::optional<NotUnderstood> refusal;
};

// `kernel` is understood, and its groups.isNeeded.
GroupCode PrintGroupCode(const AnalyzedKernel& kernel, const GroupCodeOptions& options);

}  // namespace ostra::kernellanguage
