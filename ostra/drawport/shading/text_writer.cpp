#include "ostra/drawport/shading/text_writer.h"

#include <algorithm>

#include "ostra/drawport/shading/sections.h"

namespace ostra::shading {

Result<void> TextWriter::AddLine(std::string_view line, const ShaderOrigin& origin) {
  const Int size = static_cast<Int>(line.size());
  const Int needed = _size + size + 1;
  if (needed > _text.GetCount()) OSTRA_RETURN_IF_ERROR(_text.Resize(std::max(needed, 2 * _text.GetCount())));
  OSTRA_RETURN_IF_ERROR(_origins.Append(origin));
  MemCopy(_text.GetFirst() + _size, line.data(), size);
  _text[needed - 1] = '\n';
  _size = needed;
  return OK;
}

Result<void> TextWriter::AddLines(std::string_view text) {
  while (!text.empty()) OSTRA_RETURN_IF_ERROR(AddLine(TakeLine(text), ShaderOrigin()));
  return OK;
}

Result<void> TextWriter::AddCode(const ShaderCode& code) {
  std::string_view rest = code.text;
  for (Int i = 0; !rest.empty(); ++i) {
    const std::string_view line = TakeLine(rest);
    OSTRA_RETURN_IF_ERROR(AddLine(line, i < code.origins.GetCount() ? code.origins[i] : ShaderOrigin()));
  }
  return OK;
}

Result<void> TextWriter::MoveTo(AssembledShader& shader) {
  OSTRA_ASSIGN_OR_RETURN(shader.text, String::Create({_text.GetFirst(), static_cast<std::size_t>(_size)}));
  shader.lines = std::move(_origins);
  return OK;
}

}  // namespace ostra::shading
