// Rules about the lines of kernel files and stage files: what C++ accepts, but the translation for the GPU, which reads
// line by line, takes for something else. The CPU's front end, GPU programs and `ostra check` report the same
// mistakes in the same words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/types.h"

namespace ostra {

// For files without a kernel.
inline constexpr std::string_view kHowToWriteAKernel =
    "write OSTRA_PARALLEL_KERNEL(Name, KERNELINPUTS), its body in braces on the lines below, and "
    "OSTRA_PARALLEL_KERNEL_END";

struct SourceMistake {
  std::size_t position = 0;  // the byte of the text that the mistake is about
  std::string text;
  // About how lines are written, which files that the front end of the language understands are free in; false for
  // braces that do not match.
  Bool isLineRule = true;
};

// The mistakes in a kernel file or stage file, in the order of their positions; empty for a file that keeps the rules.
// Throws std::bad_alloc. Thread-safe.
std::vector<SourceMistake> FindSourceMistakes(std::string_view source);

// The same for the header of a kernel file, from which functions are taken one by one.
std::vector<SourceMistake> FindHeaderMistakes(std::string_view source);

}  // namespace ostra
