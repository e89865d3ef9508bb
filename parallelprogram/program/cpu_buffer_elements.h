// The elements of a buffer of the CPU program, and how they are read and written.
#pragma once

#include "ostra/core/array.h"
#include "ostra/core/data.h"
#include "parallelprogram/program/buffer_source.h"

namespace ostra {

// The slot of a buffer's array. Tables and links hold its address, so a buffer that is resized stays linked.
using BufferSlot = Array<Generic>;

// The elements of a buffer that methods and kernels reach: those in its first piece of memory. The program's own arrays
// have no other. One that a client links may be in pieces or have gaps; what lies behind them is out of range.
struct BufferElements {
  explicit BufferElements(const BufferSlot& slot);
  Byte* At(Int index) const { return first + index * type.GetSize(); }
  Int GetByteSize() const { return count * type.GetSize(); }

  DataType type;
  Byte* first = nullptr;
  Int count = 0;
};

// Writes plain bytes, whatever the target's type is. Values that own something must have the target's type; they are
// copied before the first is assigned, so that a copy that fails changes nothing. The source may be part of the target.
// The caller has checked that it fits. Errors: illegal argument for other types; out of memory.
Result<void> WriteElements(const BufferElements& target, Int offset, const BufferSource& source);

// An array of `count` elements from `offset` on; the buffer's own array, shared, when `count` is -1. Errors: illegal
// argument "Requested data range is out of bounds"; out of memory.
Result<Data> ReadElements(const BufferSlot& slot, Int offset, Int count);

// A shared array stays where it is until its resized copy is there: on error the buffer shares what it shared, and
// blocks that kernels hold stay valid.
Result<void> ResizeArray(BufferSlot& slot, Int count);

}  // namespace ostra
