// The form of a kernel whose invocations exchange values in group memory: C++ that runs a whole work group. The body is
// cut at its barriers; a loop over the invocations of the group runs each piece, and variables that live across a
// barrier are kept for each invocation.
//
//   const GroupCode code = PrintGroupCode(kernel, {.className = "Sum", .parameters = "OstraKernelParameters"});
//   if (code.refusal) ...        // FormatNotUnderstood says what has no such form
//
// The text is the class of the kernel and its body, for kernel_groups.h. `lanes` is a struct that runs the pieces in
// lanes along x of the group, for kernel_lane_groups.inl; a piece that has no wide form runs one invocation after the
// other there, too. Pure and thread-safe.
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
  std::string lanes = {};  // empty if no piece has a wide form
  // Why pieces have none, in the order of the text, and how many pieces there are.
  std::vector<NotUnderstood> laneRefusals = {};
  int pieceCount = 0;
};

// `kernel` is understood, and its groups.isNeeded.
// Of an understood kernel whose groups are needed (GroupPlan::isNeeded).
GroupCode PrintGroupCode(const AnalyzedKernel& kernel, const GroupCodeOptions& options);

}  // namespace ostra::kernellanguage
