// The first element in which CPU and GPU differ, and what the invocation that wrote it computed on both.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "plans/run/prepare_kernel.h"
#include "plans/run/program_run.h"

namespace ostra::tool {

// A value that was written on both sides, or on one.
struct TracedLine {
  std::string file;  // of the line: the kernel file or a header
  Int line = 0, column = 0;
  std::string name;          // "x", "Curve: return"; "a[1] (GPU: a[2])" for two elements
  std::string cpu, gpu;      // empty where it was not written
  Bool isElsewhere = false;  // two elements were written
  Bool IsDifferent() const { return isElsewhere || cpu != gpu; }
};

struct FirstDifference {
  std::string place, cpu, gpu;  // as in ElementDifference
  Int dispatch = 1;
  Bool isCounter = false;
  std::optional<std::vector<Int>> invocation;  // that stored the element; nothing when none is known
  std::vector<TracedLine> lines;               // in the order in which they were computed
  Int first = -1;                              // that differs; -1: none does
  Int lostCount = 0;                           // values that were not recorded, on one side
  std::vector<std::string> notes;              // what a reader must know to trust the rest
};

// Runs the kernel on both sides, dispatch by dispatch, until they differ by more than `bound`, then traced. `plan` must
// not be one that is run once; `traced` is the kernel's file as it is run for traces. Nothing: no difference. Errors:
// those of the programs.
Result<std::optional<FirstDifference>> FindFirstDifference(plans::RunPlan& plan, const plans::ProgramFile& file,
                                                           const plans::ProgramFile& traced, Int iterations,
                                                           Float64 bound);

// Which lines are shown: the first one that differs and some around it, so that a long loop does not hide it.
struct ShownLines {
  Int begin = 0, end = 0;  // from here to there; what is between two of them is left out
};
std::vector<ShownLines> ChooseLines(Int count, Int first, Int limit);

// For people: some lines and a table.
std::string FormatFirstDifference(const std::optional<FirstDifference>& difference, Float64 bound,
                                  const std::string& kernelFile);

}  // namespace ostra::tool
