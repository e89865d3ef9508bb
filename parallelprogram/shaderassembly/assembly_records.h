// From the pieces of a parsed kernel file or stage file to the records that a shader is assembled from.
//
//   OSTRA_RETURN_IF_ERROR(parser->Init(file, options));
//   OSTRA_ASSIGN_OR_RETURN(const ShaderRecords records, MakeShaderRecords(*parser, GetStageOfFile(file)));
//   OSTRA_ASSIGN_OR_RETURN(const AssembledShader shader, AssembleShader(records));
//
// Every line keeps the file and line it came from. Thread-safe.
#pragma once

#include "ostra/drawport/shader_assembly.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra {

// By suffix: vert, frag, tsc and tse are stages of graphics programs, everything else is a kernel.
DrawportStage GetStageOfFile(const Url& file);

// The records of a parsed file, in the parser's target language, with all bindings assigned. Buffers and counters get
// bindings in the order of their declaration, then textures; the uniform buffer has binding 0. A file that calls noises
// has as many noise tables as it has lines with ADDNOISECALL, and at least those that it names by number. A texture
// that is read with a layer is an array, and one whose samples are read by number is multisampled (resource_uses.h).
// Errors: illegal
// argument, worded "file:line: error: ...", for a function whose declaration cannot be taken apart and for a work group
// without invocations; out of memory.
Result<ShaderRecords> MakeShaderRecords(const ShaderParser& parser, DrawportStage stage);

// A function of a parsed file as the parser's target language needs it. Errors: illegal argument for a declaration that
// cannot be taken apart; out of memory.
Result<String> MakeFunctionDefinition(const ShaderParser& parser, const ShaderFunctionDefinition& function);

// How a value of a kernel reaches a shader.
struct ShaderValueForm {
  enum class Kind { Uniform, Counter, ValueBuffer };
  Kind kind = Kind::Uniform;
  DrawportShaderValueType type = DrawportShaderValueType::Float;  // of uniforms
};

// Half floats are widened to floats. Types without a code of their own are buffers of one element.
ShaderValueForm GetShaderValueForm(DataType type);

// The same, with the types that only the front end of the kernel language declares (DataTypeFromWrittenName).
ShaderValueForm GetDeclaredValueForm(DataType type);

}  // namespace ostra
