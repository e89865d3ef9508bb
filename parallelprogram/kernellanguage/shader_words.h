// Words of the shading languages that C++ takes for names.
#pragma once

#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

// Whether a variable, function or struct cannot have the name in every shading language: "sample", "input", "texture".
Bool IsShaderWord(std::string_view name);

}  // namespace ostra::kernellanguage
