#include "parallelprogram/shaderparser/line_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ostra/core/memory.h"

OSTRA_UNIT("shaderparser");

namespace ostra {

LineText::~LineText() { FreeMem(_memory); }

Result<void> LineText::Assign(std::string_view line) {
  const Int count = static_cast<Int>(line.size());
  if (count > _capacity) OSTRA_RETURN_IF_ERROR(WidenGap(count));
  _gap = 0;
  _gapEnd = _capacity - count;
  line.copy(_memory + _gapEnd, line.size());
  _work += count;
  return OK;
}

std::string_view LineText::ViewFrom(Int position) {
  if (_capacity == 0) return {};
  MoveGap(std::min(position, GetCount()));
  return {_memory + _gapEnd, static_cast<std::size_t>(_capacity - _gapEnd)};
}

Int LineText::Find(std::string_view part, Int start) {
  if (start > GetCount()) return NOT_FOUND;
  const std::string_view rest = ViewFrom(start);
  const std::size_t found = rest.find(part);
  _work += static_cast<Int>(std::min(found, rest.size()));
  return found == std::string_view::npos ? NOT_FOUND : start + static_cast<Int>(found);
}

Int LineText::FindLast(std::string_view part) {
  const std::string_view text = GetView();
  const std::size_t found = text.rfind(part);
  _work += static_cast<Int>(text.size() - std::min(found, text.size()));
  return found == std::string_view::npos ? NOT_FOUND : static_cast<Int>(found);
}

Result<void> LineText::Replace(Int position, Int count, std::string_view text) {
  const Int size = static_cast<Int>(text.size());
  position = std::min(position, GetCount());
  count = std::min(count, GetCount() - position);
  if (size > _gapEnd - _gap + count) OSTRA_RETURN_IF_ERROR(WidenGap(size));
  MoveGap(position);
  _gapEnd += count - size;
  text.copy(_memory + _gapEnd, text.size());
  return OK;
}

void LineText::MoveGap(Int position) {
  if (position == _gap) return;
  const Int distance = position - _gap;
  _work += std::abs(distance);
  if (distance > 0)
    std::memmove(_memory + _gap, _memory + _gapEnd, static_cast<std::size_t>(distance));
  else
    std::memmove(_memory + _gapEnd + distance, _memory + position, static_cast<std::size_t>(-distance));
  _gap = position;
  _gapEnd += distance;
}

// Makes room for at least `count` more bytes.
Result<void> LineText::WidenGap(Int count) {
  const Int capacity = std::max<Int>(256, 2 * GetCount() + 2 * count);
  auto* memory = static_cast<char*>(AllocMem(capacity));
  if (!memory) return OSTRA_OUT_OF_MEMORY();
  const Int tail = _capacity - _gapEnd;
  if (_gap > 0) MemCopy(memory, _memory, _gap);
  if (tail > 0) MemCopy(memory + capacity - tail, _memory + _gapEnd, tail);
  FreeMem(_memory);
  _memory = memory;
  _capacity = capacity;
  _gapEnd = capacity - tail;
  return OK;
}

}  // namespace ostra
