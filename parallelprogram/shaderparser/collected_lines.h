// Lines that become one text, and where each of them came from.
#pragma once

#include "parallelprogram/shaderparser/shader_records.h"
#include "parallelprogram/shaderparser/text_buffer.h"

namespace ostra {

class CollectedLines {
 public:
  // A line that was rewritten may have become several; all of them have its origin. Error: out of memory.
  Result<void> Append(std::string_view line, const ShaderTextOrigin& origin);
  void RemoveLast();
  void Clear();
  Bool IsEmpty() const { return _count == 0; }

  // The lines with line feeds between them, and `end` behind them. Error: out of memory.
  Result<CString> Join(std::string_view end = {});
  // The origins; this list is then to be cleared.
  ShaderTextOrigins TakeOrigins() { return std::move(_origins); }

 private:
  TextBuffer _text;
  ShaderTextOrigins _origins;
  Int _count = 0;
  // What there was before the last line.
  Int _lastStart = 0;
  Int _lastOrigins = 0;
};

}  // namespace ostra
