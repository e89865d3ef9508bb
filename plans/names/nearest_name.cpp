#include "plans/names/nearest_name.h"

#include "ostra/core/nearest_word.h"

namespace ostra::plans {

std::string_view FindNearestName(std::string_view name, std::span<const std::string> names) {
  // More than a third of the letters wrong is another word.
  NearestWord nearest(name, static_cast<Int>(name.size() + 2) / 3 + 1);
  for (const std::string& candidate : names) nearest.Try(candidate);
  return nearest.Get();
}

std::string SuggestName(std::string_view name, std::span<const std::string> names) {
  if (names.empty()) return "; there are none";
  const std::string_view nearest = FindNearestName(name, names);
  if (!nearest.empty()) return "; did you mean \"" + std::string(nearest) + "\"?";
  std::string text = "; there ";
  text += names.size() == 1 ? "is" : "are";
  for (std::size_t i = 0; i < names.size(); ++i)
    text += (i == 0 ? " \"" : i + 1 == names.size() ? " and \"" : ", \"") + names[i] + "\"";
  return text;
}

}  // namespace ostra::plans
