// A text that grows at its end and keeps its memory when it is emptied: what lines are collected in.
#pragma once

#include <string_view>

#include "ostra/core/memory.h"
#include "ostra/core/result.h"

namespace ostra {

class TextBuffer {
 public:
  TextBuffer() = default;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  ~TextBuffer() { FreeMem(_text); }

  // `text` must not be a part of this. Error: out of memory; nothing has changed then.
  Result<void> Append(std::string_view text) {
    const Int count = static_cast<Int>(text.size());
    if (count > _capacity - _count) OSTRA_RETURN_IF_ERROR(Grow(count));
    text.copy(_text + _count, text.size());
    _count += count;
    return OK;
  }
  // Takes off everything from byte `count` on.
  void Cut(Int count) { _count = count; }
  void Clear() { _count = 0; }

  Int GetCount() const { return _count; }
  // Valid until the text grows.
  std::string_view GetView() const { return {_text, static_cast<std::size_t>(_count)}; }

 private:
  Result<void> Grow(Int more);

  char* _text = nullptr;
  Int _count = 0;
  Int _capacity = 0;
};

}  // namespace ostra
