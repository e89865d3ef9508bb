// Small programs put together and compiled, for tests.
#pragma once

#include <string>
#include <vector>

#include "apps/ostra/check/metal_compiler.h"
#include "ostra/shadercompiler/shader_compiler.h"

namespace ostra::test {

inline const Id* const kLanguages[] = {&kShadingLanguageGlsl, &kShadingLanguageHlsl, &kShadingLanguageMetal};

String MakeText(std::string_view text);

// Pieces of a compute program with the body "{ <code> }".
ShaderRecords MakeRecords(const Id& language, std::string_view code);

void AddParameter(ShaderRecords& records, ShaderParameter parameter);
void AddValue(ShaderRecords& records, const char* name, DrawportShaderValueType type);
void AddBuffer(ShaderRecords& records, const char* name, const char* elementType,
               DrawportBufferAccess access = DrawportBufferAccess::ReadWrite);
void AddCounter(ShaderRecords& records, const char* name);
void AddTexture(ShaderRecords& records, const char* name, DrawportTextureType type, const Id& format,
                Bool isImage = false, Bool hasLayers = false);
void AddFunction(ShaderRecords& records, std::string_view text);

// The assembled text; bindings are assigned before. Expects success.
AssembledShader Assemble(ShaderRecords& records);

// What a compiler says about the program, "line: text" for each error; empty when it compiles. Metal text is only
// compiled where clang is installed; where it is not, that is printed once.
std::string Compile(ShaderRecords& records);

// Which program is missing to compile texts of the language, and the package that installs it; empty when none is. The
// reason of tests that are skipped.
std::string FindMissingCompiler(const Id& language);

// The lines of a text.
std::vector<std::string> GetLines(std::string_view text);

}  // namespace ostra::test
