// A profile for people and for programs.
#pragma once

#include <nlohmann/json.hpp>

#include "plans/profile/profile.h"

namespace ostra::tool {

// Two tables, of the parts and of the kernels, behind an empty line.
std::string FormatProfile(const plans::ProfileReport& report);

// {"milliseconds": ..., "parts": [...], "kernels": [...], "notes": [...], "trace": "FILE"}, the last only where there
// is one.
nlohmann::ordered_json FormatProfileAsJson(const plans::ProfileReport& report);

}  // namespace ostra::tool
