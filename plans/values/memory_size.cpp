#include "plans/values/memory_size.h"

#include <cstdio>

namespace ostra::plans {

std::string FormatMemorySize(Int bytes) {
  char text[40];
  if (bytes < Int(1) << 30)
    std::snprintf(text, sizeof(text), "%.1f MiB", static_cast<Float64>(bytes) / (1 << 20));
  else
    std::snprintf(text, sizeof(text), "%.1f GiB", static_cast<Float64>(bytes) / (1 << 30));
  return text;
}

}  // namespace ostra::plans
