// A file in memory that picture libraries write into. Only for the files of this folder.
#pragma once

#include "ostra/core/base_array.h"

namespace ostra {

class MemorySink {
 public:
  // Writes at the current position and moves it; false when memory ran out.
  Bool Write(const void* source, Int size) {
    const Int end = _position + size;
    // Doubled, because libraries hand over small pieces.
    if (end > _bytes.GetCount() && !_bytes.Resize(2 * end).IsOk()) _isOutOfMemory = true;
    if (_isOutOfMemory) return false;
    if (size > 0) MemCopy(_bytes.GetFirst() + _position, source, size);
    _position = end;
    if (end > _size) _size = end;
    return true;
  }

  Int GetSize() const { return _size; }
  Int GetPosition() const { return _position; }
  void SetPosition(Int position) { _position = position; }
  Bool IsOutOfMemory() const { return _isOutOfMemory; }

  // Everything written. The sink is empty afterwards.
  Result<BaseArray<Byte>> Take() {
    OSTRA_RETURN_IF_ERROR(_bytes.Resize(_size));
    _size = _position = 0;
    return std::move(_bytes);
  }

 private:
  BaseArray<Byte> _bytes;  // longer than what was written
  Int _size = 0;
  Int _position = 0;
  Bool _isOutOfMemory = false;
};

}  // namespace ostra
