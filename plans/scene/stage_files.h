// The stage files of a draw, and what they declare.
#pragma once

#include <vector>

#include "ostra/drawport/enumerations.h"
#include "ostra/io/url.h"
#include "parallelprogram/shaderparser/shader_parser.h"
#include "plans/scene/scene.h"

namespace ostra::plans {

struct StageFile {
  Url file;
  DrawportStage stage = DrawportStage::Vertex;
  StrongRef<ShaderParser> parser;  // has parsed the file
  // Textures of which it reads single samples.
  std::vector<std::string> multisampledTextures;
};

// Where a file of a scene is: beside the scene file unless its name begins at the root. Error: out of memory.
Result<Url> FindSceneFile(const Url& folder, const std::string& name);

// Reads the files in the order of the draw, translated for a pass with so many samples. Errors: illegal argument "FILE:
// PATH: ..." for files that are not there or no stages, a stage that stands twice and a program without one that it
// needs; "file:line: error: ..." for what is wrong in a file.
Result<std::vector<StageFile>> ReadStageFiles(const Scene& scene, const SceneDraw& draw, Int sampleCount,
                                              const Url& folder);

// The names of what all stages together declare, for suggestions.
std::vector<std::string> ListInputs(const std::vector<StageFile>& stages, Bool (*isMeant)(const ShaderInputEntry&));
std::vector<std::string> ListTextures(const std::vector<StageFile>& stages);

// What is wrong with a declaration of `name` that makes no parameter, as "file:line: error: ..."; empty when there is
// none.
std::string FindLostDeclaration(const std::vector<StageFile>& stages, std::string_view name);

// What an entry of the inputs is.
Bool IsUniform(const ShaderInputEntry& input);
Bool IsBuffer(const ShaderInputEntry& input);
Bool IsAttribute(const ShaderInputEntry& input);
Bool IsCounter(const ShaderInputEntry& input);

}  // namespace ostra::plans
