// Any bytes: reading a Radiance HDR picture gives an error or a sound picture.
#include <cstdlib>

#include "ostra/image/hdr.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto image = ostra::DecodeHdr({data, static_cast<ostra::Int>(size)});
  if (!image.IsOk()) return image.GetError().GetMessage().IsEmpty() ? std::abort(), 0 : 0;
  if (image->rgba.GetCount() != 4 * image->width * image->height) std::abort();
  return 0;
}
