// The number of invocations of a run that is not told it. docs/dispatch-size.md has the rule.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plans/values/extents.h"

namespace ostra::plans {

// What a run reads, as far as its size is concerned.
struct SizeSource {
  enum class Kind { Picture, Array, Texture };

  Kind kind = Kind::Array;
  std::string name;      // of the parameter
  std::string source;    // as the user gave it
  Extents size;          // of the elements of a buffer, or of one layer of a texture
  Bool hasRows = false;  // else it is a list
};

// What the sizes of the sources say, in the order in which they were given: that of the first picture, else of the
// first array or texture with rows. Unknown when nothing has rows.
Extents FindDomain(const std::vector<SizeSource>& sources);

// The size of a run that is not told it. `axisCount`: as of CountPositionAxes. Errors: usage errors, which ask for
// `option` (SettingNames::size), when there is nothing to go by, and whenever a part of what is read could be left out.
Result<Extents> ChooseDefaultSize(const std::vector<SizeSource>& sources, std::optional<Int> axisCount,
                                  std::string_view option);

}  // namespace ostra::plans
