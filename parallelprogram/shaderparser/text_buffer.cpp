#include "parallelprogram/shaderparser/text_buffer.h"

#include <algorithm>

OSTRA_UNIT("shaderparser");

namespace ostra {

Result<void> TextBuffer::Grow(Int more) {
  const Int capacity = std::max<Int>(std::max<Int>(256, _capacity * 2), _count + more);
  auto* text = static_cast<char*>(AllocMem(capacity));
  if (!text) return OSTRA_OUT_OF_MEMORY();
  GetView().copy(text, static_cast<std::size_t>(_count));
  FreeMem(_text);
  _text = text;
  _capacity = capacity;
  return OK;
}

}  // namespace ostra
