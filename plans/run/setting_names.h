// What messages call the settings of a run: in the words of its caller.
#pragma once

#include <string_view>

namespace ostra::plans {

// Options of a command, or keys of a file.
struct SettingNames {
  std::string_view input = "input";
  std::string_view output = "output";  // empty: outputs cannot be given
  std::string_view value = "value";    // of a uniform, or the start of a counter
  std::string_view swap = "swap";
  std::string_view texture = "texture";  // how one is read
  std::string_view size = "size";
  std::string_view backend = {};  // empty: it cannot be chosen
};

}  // namespace ostra::plans
