// ResourceUses: how the code of a parsed file uses its textures and noises, which declarations alone do not tell.
//
//   OSTRA_ASSIGN_OR_RETURN(const ResourceUses uses, ResourceUses::Find(*parser));
//   texture.hasLayers = uses.IsReadWithLayer(texture.name);
//
// Code is read as tokens: comments and literals say nothing, nor do longer names. Refers to the texts of the parser,
// which must outlive it.
#pragma once

#include <string_view>
#include <vector>

#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra {

class ResourceUses {
 public:
  // Looks at the kernel, its functions and defines. Error: out of memory. Thread-safe.
  static Result<ResourceUses> Find(const ShaderParser& parser);

  // Whether a texture is an argument of SampleTextureLayer or FetchTextureLayer.
  Bool IsReadWithLayer(std::string_view texture) const;
  // Whether a texture is read as "GetFramebufferTexel(PassTexture(name), at, InSampleID)", which is what the
  // multisampling option makes of the reads of a stage, or passed by PassMultisampledTexture.
  Bool IsReadBySample(std::string_view texture) const;
  // As many as there are lines with ADDNOISECALL, and at least those that RenderNoise names by number; at most
  // kMaxNoiseTables. 0 without such a line.
  Int GetNoiseTableCount() const { return _noiseTableCount; }

 private:
  void Read(std::string_view text, Bool isFunction);

  std::vector<std::string_view> _layered, _bySample;
  Int _noiseTableCount = 0;
};

}  // namespace ostra
