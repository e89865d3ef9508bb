// The elements that a client hands over to be stored in a buffer, whatever container they come in.
#pragma once

#include "ostra/core/array.h"
#include "ostra/core/data.h"

namespace ostra {

struct BufferSource {
  DataType elementType;
  Block<const Generic> elements;

  // The elements of a base array, block or array value. They stay where they are. Errors: illegal argument "data is
  // not an base array or block", "only arrays with one continuous memory block are supported".
  static Result<BufferSource> FromValue(const ForwardingDataPtr& data);
};

// The elements of `data` as a new array; those of a base array that may be moved from are taken over, all others are
// copied. Errors: those of FromValue; out of memory; illegal argument when there are no elements.
Result<Array<Generic>> MakeBufferArray(ForwardingDataPtr&& data);

// Illegal argument when `elements` is empty.
Result<void> CheckNotEmpty(Int count);

}  // namespace ostra
