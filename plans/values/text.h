// Small operations on the texts of command lines and data files.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "ostra/core/result.h"
#include "ostra/core/split_text.h"

namespace ostra::plans {

// For texts of the host, which become views by themselves.
inline std::string TextOf(std::string_view text) { return std::string(text); }

// The two sides of "name=value". Error: usage error that names the option when there is no name or no equals sign.
Result<std::pair<std::string_view, std::string_view>> SplitAssignment(std::string_view option, std::string_view text);

}  // namespace ostra::plans
