// Types that kernels have on the CPU and not on a GPU, or not in every language.
#pragma once

#include <string_view>

#include "ostra/core/id.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra {

// Why no kernel in `language` has elements of the type, as the end of a sentence: "GPU kernels have no 64-bit
// integers". Empty for types that it has, and for unknown ones.
std::string_view FindElementTypeObstacle(std::string_view type, const Id& language);

// Whether a define or a struct of the program's headers gives the name a meaning of its own.
Bool IsDefinedElementType(const ShaderParser& parser, std::string_view type);

// The same for values, in any language.
std::string_view FindValueTypeObstacle(std::string_view type);

}  // namespace ostra
