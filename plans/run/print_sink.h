// PrintSink: takes what kernels print.
#pragma once

#include <string_view>

#include "ostra/core/result.h"
#include "parallelprogram/program/parallel_program.h"

namespace ostra::plans {

class PrintSink {
 public:
  virtual ~PrintSink() = default;
  // What the program has printed since the last call. `dispatch` counts from 1; 0 for the only one. `backend` is "CPU",
  // "GPU" or "" where it goes without saying. Errors: those of the program and of writing.
  virtual Result<void> Take(ParallelProgramInterface& program, std::string_view backend, Int dispatch) = 0;
  // Shows what was kept, where no report will hold it: the dispatch has failed.
  virtual void Flush() = 0;
};

}  // namespace ostra::plans
