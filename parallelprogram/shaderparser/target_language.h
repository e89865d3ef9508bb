// What is written differently for each target language: one record, in a file of its own, for each.
#pragma once

#include "parallelprogram/shaderparser/line_text.h"
#include "parallelprogram/shaderparser/type_names.h"

namespace ostra {

struct TargetLanguage {
  // Stands for ATOMIC and the blank after it.
  std::string_view atomicPrefix;
  // The type of atomic counters in generated declarations.
  CString atomicCounterType;
  // File-scope code in front of a file of the PNanoVDB library.
  std::string_view nanoVdbPreamble;
  // Rewrites the `Block<T>` whose keyword stands at `position` and whose ">" stands at `close`.
  Result<void> (*writeBlockType)(LineText& line, Int position, Int close);
};

extern const TargetLanguage g_hlsl;
extern const TargetLanguage g_glsl;
extern const TargetLanguage g_metal;

// The record of a language. One that is not known gets the block types of GLSL and no preamble.
const TargetLanguage& FindTargetLanguage(const Id& language);

// "Block<", which the declarations of functions are searched for.
inline constexpr std::string_view kBlockKeyword = "Block<";

}  // namespace ostra
