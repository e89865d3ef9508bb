// Small operations on the texts of command lines and data files.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ostra/core/result.h"

namespace ostra::tool {

// For texts of the host, which become views by themselves.
inline std::string TextOf(std::string_view text) { return std::string(text); }

// Without blanks and tabs at both ends.
std::string_view TrimText(std::string_view text);

// The trimmed pieces between separators; one empty piece for an empty text.
std::vector<std::string_view> SplitText(std::string_view text, char separator);

// The two sides of "name=value". Error: usage error that names the option when there is no name or no equals sign.
Result<std::pair<std::string_view, std::string_view>> SplitAssignment(std::string_view option, std::string_view text);

}  // namespace ostra::tool
