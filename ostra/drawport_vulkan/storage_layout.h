// Storage layout: whether the elements of a program's buffers lie as every device takes them.
//
// Buffers are packed tightly, as on the CPU (scalar layout). A device without scalar block layout takes what lies the
// same by the rules of GLSL as well: numbers, vectors of two and four components, structs and arrays of them without
// gaps between elements that those rules would fill.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"

namespace ostra::vulkan {

// The type in a storage buffer that needs scalar block layout, as "vec3", "mat3x3" or "struct"; empty when nothing
// does. Words that are no SPIR-V need nothing. Error: out of memory.
Result<String> FindPackedElement(Block<const UInt32> spirv);

}  // namespace ostra::vulkan
