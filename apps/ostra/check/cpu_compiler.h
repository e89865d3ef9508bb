// Compiles kernels for the CPU to find mistakes, without making anything of them.
#pragma once

#include <string>
#include <vector>

#include "parallelprogram/kernelruntime/kernel_source.h"
#include "plans/lints/findings.h"

namespace ostra::tool {

class CpuCompiler {
 public:
  // Error: illegal state when there is no C++ compiler, or the framework's headers are missing.
  static Result<CpuCompiler> Find();

  // Adds what the compiler says about the source of `file`, marked with "[CPU]"; a compiler that cannot be run is a
  // finding, too. Error: illegal state when it fails without a message, or no file can be made. Thread-safe.
  Result<void> Compile(const kernelruntime::KernelSource& source, const std::string& file,
                       plans::Findings& findings) const;

 private:
  std::vector<std::string> _command;  // reads the source from standard input
};

}  // namespace ostra::tool
