// Function definitions: the text that a target language needs for an inline function.
//
//   OSTRA_ASSIGN_OR_RETURN(FunctionDeclaration declaration, ParseFunctionDeclaration(line));
//   OSTRA_ASSIGN_OR_RETURN(String text, BuildFunctionDefinition("METAL"_iid, declaration, body));
//
//   float Mean(inout float sum, int n)     in METAL:    float Mean(thread float& sum, int n)
//                                                       <body>
#pragma once

#include "ostra/core/interned_id.h"
#include "parallelprogram/shaderparser/function_declaration.h"

namespace ostra {

// Return type, name and parameters as `language` writes them, a line feed, `body` and a line feed. Languages are HLSL,
// GLSL, METAL and GLSLES; any other gets types and names without further words.
//
//                          HLSL, GLSL, GLSLES     METAL
//   inout T x              inout T x              thread T& x, or constant T& x with __CONSTANT
//   out T x                out T x                the same
//   T x                    T x                    T x, or constant T& x with __CONSTANT
//   sampler2dTypedef x     SAMPLER2D_TYPEDEF(x)   the same; so for every type of the samplers and framebuffer layers
//
// In METAL there is no "&" before brackets. Error: out of memory. Thread-safe.
Result<String> BuildFunctionDefinition(InternedId language, const FunctionDeclaration& declaration,
                                       std::string_view body);

}  // namespace ostra
