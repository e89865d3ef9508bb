// The words at the start of a line that begin and end kernels.
#pragma once

#include "parallelprogram/shaderparser/source_lines.h"

namespace ostra {

// End macros begin with the same words, so they are kernel starts, too.
inline Bool IsKernelStart(std::string_view line) {
  return line.starts_with("OSTRA_PARALLEL_KERNEL") || line.starts_with("FP_KERNEL");
}

inline Bool IsKernelEnd(std::string_view line) {
  return line.starts_with("OSTRA_PARALLEL_KERNEL_END") || line.starts_with("FP_KERNEL_END");
}

// `OSTRA_METHOD Result<void> Kernel...`: a kernel written as a method, without macros.
inline Bool IsKernelMethod(std::string_view line) {
  if (!IsFirstWord(line, "OSTRA_METHOD")) return false;
  const SourceWords words(line);
  return words[1] == "Result<void>" && words[2].starts_with("Kernel");
}

}  // namespace ostra
