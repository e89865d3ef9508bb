// Any bytes: reading a model gives an error of one line, or triangles with as many numbers for every attribute.
#include <cstdlib>

#include "plans/scene/obj_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto model = ostra::plans::DecodeObj({reinterpret_cast<const char*>(data), size});
  if (!model) return 0;
  const std::size_t count = static_cast<std::size_t>(model->GetCount());
  if (count == 0 || count % 3 != 0 || model->positions.size() != 3 * count || model->normals.size() != 3 * count)
    std::abort();
  return 0;
}
