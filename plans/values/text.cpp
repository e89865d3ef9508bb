#include "plans/values/text.h"

#include "plans/usage_error.h"

OSTRA_UNIT("values");

namespace ostra::plans {

Result<std::pair<std::string_view, std::string_view>> SplitAssignment(std::string_view option, std::string_view text) {
  const std::size_t mark = text.find('=');
  if (mark == std::string_view::npos || mark == 0)
    return OSTRA_USAGE_ERROR("@ needs name=value, but got \"@\"", option, text);
  return std::pair(TrimText(text.substr(0, mark)), text.substr(mark + 1));
}

}  // namespace ostra::plans
