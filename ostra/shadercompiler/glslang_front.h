// The front end of the compiler: text to SPIR-V as it is written. Internal.
#pragma once

#include <vector>

#include "ostra/shadercompiler/shader_compiler.h"

namespace ostra::shadercompiler {

// Appends messages; returns no words when there are errors. Throws std::bad_alloc as the library does.
std::vector<UInt32> TranslateToSpirv(Bool isHlsl, DrawportStage stage, std::string_view text,
                                     const ShaderCompilerOptions& options, std::vector<ShaderMessage>& messages);

// Takes the messages out of a log of the library.
void ReadLog(std::string_view log, std::vector<ShaderMessage>& messages);

}  // namespace ostra::shadercompiler
