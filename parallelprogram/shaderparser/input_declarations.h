// What a kernel declares that it reads and writes, in both forms:
//
//   #define KERNELINPUTS \                          struct KernelInput
//   (Float32) scale, \                              {
//   (const Block<Vector32>) points, \                 Float32 scale;
//   (TextureSampler_2D_RGBA_F32_LINEAR) image         const Block<Vector32> points;
//                                                   };
//
// A line of an unknown type declares nothing, and that is no error.
#pragma once

#include "parallelprogram/shaderparser/parse_state.h"

namespace ostra {

// The entries of an open block.
struct InputLists {
  BaseArray<ShaderInputEntry> inputs;
  BaseArray<ShaderTextureEntry> textures;

  void Clear() {
    inputs.Clear();
    textures.Clear();
  }
};

// Read one line of a block. Buffers and writable textures are counted in `state.pieces`; one too many for a Metal
// kernel is a diagnostic. Errors: illegal argument for a line that is no declaration or a texture of an unknown format;
// those of rules; out of memory.
Result<void> ParseInputDefineLine(ParseState& state, const SourceWords& words, InputLists& lists);
Result<void> ParseInputStructLine(ParseState& state, const SourceWords& words, InputLists& lists);

// A texture type such as "TextureSampler_2D_RGBA_F32_LINEAR"; the parts of `entry` that it speaks of are set. False
// for a type of another form. Error: illegal argument for channels or components that no pixel format has.
Result<Bool> ReadTextureType(std::string_view type, ShaderTextureEntry& entry);

}  // namespace ostra
