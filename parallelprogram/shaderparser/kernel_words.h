// The words at the start of a line that begin and end blocks, for the translator and for those who look at its sources.
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

// What begins the declarations of parameters: a define or a structure.
inline Bool IsInputDefine(std::string_view line) {
  return IsFirstWord(line, "#define") && SourceWords(line)[1] == "KERNELINPUTS";
}
inline Bool IsInputStruct(std::string_view line) {
  return IsFirstWord(line, "struct") && SourceWords(line)[1] == "KernelInput";
}

inline Bool IsGroupSize(std::string_view line) { return line.starts_with("GROUPSIZE"); }

// Lines that set something up for a whole kernel.
inline Bool IsDirective(std::string_view line) {
  return IsGroupSize(line) || line.starts_with("CPU_GRANULARITY") || line.starts_with("CPU_SINGLETHREADEDTHRESHOLD");
}

}  // namespace ostra
