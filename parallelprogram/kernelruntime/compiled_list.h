// The list beside a file of the cache: what it was compiled from, and how to see that it is whole.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/result.h"

namespace ostra::kernelruntime {

struct CompiledList {
  std::string file;  // its name in the same folder
  Int size = 0;      // bytes
  std::string checksum;
  std::vector<std::string> headers;  // those that the compiler has read

  std::string ToText() const;
  // Nothing for a text of another form.
  static std::optional<CompiledList> Parse(std::string_view text);
};

// A checksum of bytes as hexadecimal digits. It finds damage, and no intent.
std::string MakeChecksum(std::string_view bytes);

}  // namespace ostra::kernelruntime
