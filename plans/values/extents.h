// Sizes of dispatches, pictures and generated buffers: "1024", "640x480", "64x64x64".
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/result.h"

namespace ostra::plans {

struct Extents {
  Int width = 0;  // 0: not known
  Int height = 1;
  Int depth = 1;

  Bool IsKnown() const { return width > 0; }
  // Never overflows for parsed extents.
  Int GetCount() const { return width * height * depth; }
  // "640 x 480"; axes of one element at the end are left out.
  std::string ToText() const;
  friend bool operator==(const Extents&, const Extents&) = default;
};

// Error: usage error for anything but one to three numbers from 1 to 2^32 - 1 whose product is below 2^40.
Result<Extents> ParseExtents(std::string_view text);

}  // namespace ostra::plans
