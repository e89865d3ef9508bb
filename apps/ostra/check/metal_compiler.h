// Compiles Metal text as C++ for OpenCL, which has its address spaces and vectors, against a stand-in of the Metal
// standard library, to find mistakes.
#pragma once

#include <string>
#include <vector>

#include "ostra/shadercompiler/shader_compiler.h"

namespace ostra::tool {

class MetalCompiler {
 public:
  // Error: illegal state when there is no clang, or the stand-in is not beside the host's headers.
  static Result<MetalCompiler> Find();

  // What is wrong with the text; empty when it compiles. Errors: illegal state when clang cannot be run. Thread-safe.
  Result<std::vector<ShaderMessage>> Compile(std::string_view text) const;

 private:
  std::vector<std::string> _command;  // reads the text from standard input
};

// The messages in what clang prints: "file:12:5: error: text". Notes are left out.
std::vector<ShaderMessage> ReadClangReport(std::string_view report, std::string_view file);

}  // namespace ostra::tool
