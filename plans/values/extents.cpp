#include "plans/values/extents.h"

#include <charconv>
#include <vector>

#include "plans/usage_error.h"
#include "plans/values/text.h"

OSTRA_UNIT("values");

namespace ostra::plans {

namespace {
constexpr Int kMaxCount = Int(1) << 40;
constexpr Int kMaxSide = 0xFFFFFFFF;
}  // namespace

std::string Extents::ToText() const {
  std::string text = std::to_string(width);
  if (height > 1 || depth > 1) text += " x " + std::to_string(height);
  if (depth > 1) text += " x " + std::to_string(depth);
  return text;
}

Result<Extents> ParseExtents(std::string_view text) {
  const std::vector<std::string_view> parts = SplitText(text, 'x');
  Extents extents{1, 1, 1};
  Int* const sides[] = {&extents.width, &extents.height, &extents.depth};
  if (parts.size() > std::size(sides))
    return OSTRA_USAGE_ERROR("the size \"@\" has @ sides, at most 3 are possible", text, parts.size());
  Int count = 1;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    Int& side = *sides[i];
    const auto [end, code] = std::from_chars(parts[i].data(), parts[i].data() + parts[i].size(), side);
    if (code != std::errc() || end != parts[i].data() + parts[i].size() || side < 1 || side > kMaxSide)
      return OSTRA_USAGE_ERROR(
          "the size \"@\" is not of the form WIDTH, WIDTHxHEIGHT or WIDTHxHEIGHTxDEPTH with numbers from 1 to @", text,
          kMaxSide);
    if (side > kMaxCount / count)
      return OSTRA_USAGE_ERROR("the size \"@\" is too large, the limit is @ elements", text, kMaxCount);
    count *= side;
  }
  return extents;
}

}  // namespace ostra::plans
