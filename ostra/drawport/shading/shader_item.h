// Items: what the declarations of a shader are made of. Each names the sections that write it and the values that stand
// in their placeholders.
#pragma once

#include "ostra/drawport/shader_assembly.h"
#include "ostra/drawport/shading/sections.h"

namespace ostra::shading {

// A value of a placeholder. Keys and most values are literals or lie in the support code or in the records.
struct Placeholder {
  std::string_view key;
  String value;
};

struct ShaderItem {
  // The sections "<name> declare", "<name> argument", ... of each of these names are used, in this order.
  std::string_view sections[2];
  BaseArray<Placeholder> placeholders;
  // Names of the lists "place" and "extent" of a texture.
  String place, extent;
  ShaderOrigin origin;

  // Error: out of memory.
  Result<void> Set(std::string_view key, const String& value);
  Result<void> Set(std::string_view key, Int number);
  // A text that outlives the item, such as one of the support code.
  Result<void> SetStatic(std::string_view key, std::string_view value);
  const String* Find(std::string_view key) const;
};

// A value of the uniform buffer with what its declaration needs.
struct UniformItem {
  ShaderUniform uniform;
  ShaderItem item;
};

struct ShaderItems {
  BaseArray<UniformItem> uniforms;
  Int uniformByteCount = 0;
  BaseArray<ShaderItem> items;  // in the order of declaration
};

// Errors: see AssembleShader.
Result<ShaderItems> MakeShaderItems(const ShaderRecords& records, const Sections& sections);

// What makes a value four components: nothing for colours, full opacity for alpha.
std::string_view GetFilling(Int channels, Bool isInteger);

// Adds the items of one texture. Errors: see AssembleShader.
Result<void> AddTextureItem(const ShaderTexture& texture, const Sections& sections, BaseArray<ShaderItem>& items);

}  // namespace ostra::shading
