// Words of the shading languages that C++ takes for names.
#pragma once

#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

// Whether a variable, function or struct cannot have the name in every shading language: "sample", "input", "texture".
Bool IsShaderWord(std::string_view name);

// The same of a member of a struct: "length", too, is what GLSL asks of an array.
inline Bool IsShaderMemberWord(std::string_view name) { return IsShaderWord(name) || name == "length"; }

// Whether a member of this name has another one in the plain form for GPUs.
Bool NeedsAnotherMemberName(std::string_view name);

// In front of such a member in the plain form for GPUs; hosts know it without.
inline constexpr std::string_view kMemberPrefix = "ostra_member_";

}  // namespace ostra::kernellanguage
