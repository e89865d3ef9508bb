// The diagnostic line of a job that failed, for listeners that say the job's error in another way.
#pragma once

#include <string_view>

namespace ostra {

// The error's message, unit and line take the places.
inline constexpr std::string_view kJobFailurePattern = "A job failed: @ [@:@]";

constexpr bool IsJobFailure(std::string_view text) {
  return text.starts_with(kJobFailurePattern.substr(0, kJobFailurePattern.find('@')));
}

}  // namespace ostra
