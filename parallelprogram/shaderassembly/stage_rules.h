// Which parameters a stage of a graphics program can have: what the shader loader refuses, and what is said beforehand.
#pragma once

#include <optional>

#include "ostra/drawport/shader_assembly.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra {

struct StageMistake {
  ShaderTextOrigin origin;  // line 0: about the whole file
  String text;
};

// The first thing that keeps the loader from drawing with the stage; nothing for a stage that can be drawn with.
// Error: out of memory. Thread-safe.
Result<std::optional<StageMistake>> FindStageMistake(const ShaderParser& parser, DrawportStage stage);

// What the name of an output of a fragment stage says.
enum class StageOutput : Int32 { Color, Transparency, Depth, Ambiguous, Unknown };
StageOutput GetStageOutput(const String& name);

// The type of a parameter that a stage receives from another one or hands on; nothing for types that stay within a
// stage, and for vertices of halves: they would be read as floats.
std::optional<DrawportShaderValueType> GetStageVariableType(const ShaderInputEntry& variable);

}  // namespace ostra
