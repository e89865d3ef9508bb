// The wide form of a kernel: C++ that runs its body for as many invocations along x as there are lanes
// (ostra/math/lanes). Control flow that differs between lanes becomes masks; what is the same in all lanes stays
// scalar.
//
//   const LaneCode code = PrintLaneCode(kernel, {.className = "Blur5", .parameters = "OstraKernelParameters"});
//   if (code.refusal) ...        // the kernel runs one invocation at a time: FormatNotUnderstood says why
//
// The text is a struct named "Ostra" + className + "Lanes", derived from the parameters, with
//
//   static Mask ostraMakeActive(UInt32 count);      // the first lanes
//   void Run(UInt32 x, UInt32 y, UInt32 z, UInt32 linear, Mask active) const;
//
// for the invocations x, x + 1, ... of the row (y, z) that are in the mask; `linear` is the number of the first one. It
// stands between level_begin.inl and level_end.inl, where a namespace for the level is open (kernel_lanes.inl). Each
// lane gets the bits that the scalar form gives. Pure and thread-safe.
#pragma once

#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::kernellanguage {

struct LaneCodeOptions {
  std::string_view className, parameters;
};

// How many numbers that differ between lanes two vectors at a time (ostra/math/lanes/pairs.inl) have to hold twice: all
// of the kernel, and those that its loops use but do not declare.
struct PairedNumbers {
  UInt32 all = 0, kept = 0;
};

struct LaneCode {
  std::string text;
  // What has no wide form, with its place; the text is empty then.
  std::optional<NotUnderstood> refusal;
  // Of a text that is faster with two vectors at a time if its numbers fit into the registers.
  std::optional<PairedNumbers> pairedNumbers{};
};

// `kernel` is understood and analyzed.
LaneCode PrintLaneCode(const AnalyzedKernel& kernel, const LaneCodeOptions& options);

}  // namespace ostra::kernellanguage
