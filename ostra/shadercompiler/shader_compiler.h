// CompileShader: from assembled text to SPIR-V.
//
//   OSTRA_ASSIGN_OR_RETURN(const AssembledShader shader, AssembleShader(records));
//   OSTRA_ASSIGN_OR_RETURN(CompiledShader compiled, CompileShader(records.language, records.stage, shader));
//   if (!compiled.IsCompiled()) ...          // compiled.messages say why
//   compiled.words;                          // the SPIR-V, entry point "main"
//
// May be called from any number of threads.
#pragma once

#include "ostra/core/source_message.h"
#include "ostra/drawport/shader_assembly.h"

namespace ostra {

// What a compiler says about a text.
struct ShaderMessage {
  Bool isError = true;
  Int line = 0;  // of the assembled text, from 1; 0 for a message about no line
  String text;
};

struct CompiledShader {
  BaseArray<UInt32> words;  // empty when there are errors
  BaseArray<ShaderMessage> messages;

  Bool IsCompiled() const { return words.IsPopulated(); }
};

struct ShaderCompilerOptions {
  // For devices. Not needed to find mistakes, and most of the time that compiling takes. Programs of more than 100,000
  // words of SPIR-V (some 100 KB of text) are not optimised anyway: time and memory grow with the text.
  Bool isOptimized = true;
  // Names of variables and functions, for debuggers and tests.
  Bool keepsNames = false;
};

// Compiles GLSL or HLSL, checks the result and optimises it. Arithmetic stays as written: nothing is contracted or
// reordered. Mistakes in the text are messages of the result, and so is a text that is nested too deeply or too long
// with what its macros stand for (text_limits.h). Errors: illegal argument for another language or for a stage that
// cannot be compiled; illegal state when no thread can be started; out of memory.
Result<CompiledShader> CompileShader(const Id& language, DrawportStage stage, const AssembledShader& shader,
                                     const ShaderCompilerOptions& options = {});

// The message with the file and line that the assembled line came from, in the words of kernel files. What a brace that
// stays open leads to gets the last line of the body. A message about support code or about no line is about
// `fallbackFile`. Error: out of memory.
Result<SourceMessage> PlaceShaderMessage(const AssembledShader& shader, const ShaderMessage& message,
                                         std::string_view fallbackFile);

// The error of a shader that could not be compiled: illegal argument with its errors, one per line.
Error MakeCompileError(const AssembledShader& shader, const CompiledShader& compiled, std::string_view fallbackFile);

}  // namespace ostra
