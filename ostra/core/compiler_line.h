// Lines of compilers of other projects: GCC, Clang and glslang. This is the only reader of such lines; what this
// project says of sources is handed on as values (source_message.h).
#pragma once

#include <optional>
#include <string_view>

#include "ostra/core/source_message.h"

namespace ostra {

// Parts of the line that was read.
struct CompilerLine {
  SourceSeverity severity = SourceSeverity::kError;
  std::string_view file = {};  // of glslang: the number of the text
  Int line = 0, column = 0;    // 0: not named
  std::string_view text = {};
};

// A message of these forms; nothing for other lines. Thread-safe.
//   file:12:5: error: text      file:12: warning: text      program: fatal error: text
//   ERROR: 0:12: text           WARNING: text
//   (12): error at column 5, text
OSTRA_API std::optional<CompilerLine> ReadCompilerLine(std::string_view line);

}  // namespace ostra
