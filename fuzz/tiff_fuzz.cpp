// Any bytes: reading a picture gives an error or a sound picture. Where libtiff was not found, all inputs give an
// error.
#include <cstdlib>

#include "ostra/image/tiff.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto image = ostra::DecodeTiff({data, static_cast<ostra::Int>(size)});
  if (!image.IsOk()) return image.GetError().GetMessage().IsEmpty() ? std::abort(), 0 : 0;
  if (image->rgba.GetCount() != 4 * image->width * image->height) std::abort();
  return 0;
}
