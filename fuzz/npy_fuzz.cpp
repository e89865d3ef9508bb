// Any bytes: reading an array file gives an error, or numbers that lie inside the file and match the shape.
#include <cstdlib>

#include "ostra/arrays/npy.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto array = ostra::DecodeNpy({data, static_cast<ostra::Int>(size)});
  if (!array.IsOk()) return 0;
  ostra::Int count = 1;
  for (const ostra::Int side : array->shape) count *= side;
  const std::uint8_t* first = array->numbers.GetFirst();
  if (count != array->GetCount() || first < data || first + array->numbers.GetCount() > data + size) std::abort();
  return 0;
}
