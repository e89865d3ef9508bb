// TextWriter: a text that grows line by line and remembers where each line came from.
#pragma once

#include "ostra/drawport/shader_assembly.h"

namespace ostra::shading {

class TextWriter {
 public:
  // Adds `line`, which has no line end, and a line end. Error: out of memory.
  Result<void> AddLine(std::string_view line, const ShaderOrigin& origin);
  // Adds all lines of a text that come from no file.
  Result<void> AddLines(std::string_view text);
  // Adds all lines of a piece of code with their origins.
  Result<void> AddCode(const ShaderCode& code);

  Int GetLineCount() const { return _origins.GetCount(); }
  // Hands the text and the origins over.
  Result<void> MoveTo(AssembledShader& shader);

 private:
  BaseArray<char> _text;  // with unused room at the end
  Int _size = 0;
  BaseArray<ShaderOrigin> _origins;
};

}  // namespace ostra::shading
