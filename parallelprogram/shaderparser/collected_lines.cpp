#include "parallelprogram/shaderparser/collected_lines.h"

namespace ostra {

Result<void> CollectedLines::Append(std::string_view line, const ShaderTextOrigin& origin) {
  _lastStart = _text.GetCount();
  _lastOrigins = _origins.GetCount();
  if (_count > 0) OSTRA_RETURN_IF_ERROR(_text.Append("\n"));
  OSTRA_RETURN_IF_ERROR(_text.Append(line));
  OSTRA_RETURN_IF_ERROR(_origins.Append(origin));
  for (std::size_t end = line.find('\n'); end != std::string_view::npos; end = line.find('\n', end + 1))
    OSTRA_RETURN_IF_ERROR(_origins.Append(origin));
  ++_count;
  return OK;
}

void CollectedLines::RemoveLast() {
  if (_count == 0) return;
  _text.Cut(_lastStart);
  _origins.Shorten(_lastOrigins);
  --_count;
}

void CollectedLines::Clear() {
  _text.Clear();
  _origins.Clear();
  _count = 0;
}

Result<CString> CollectedLines::Join(std::string_view end) {
  OSTRA_RETURN_IF_ERROR(_text.Append(end));
  return CString::Create(_text.GetView());
}

}  // namespace ostra
