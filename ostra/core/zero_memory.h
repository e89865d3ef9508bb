// Zeros for memory that was just allocated. Internal to this folder.
#pragma once

#include "ostra/core/types.h"

namespace ostra {

// Makes all bytes of newly allocated memory read as zero. Large areas are left to the operating system, which hands out
// zeros page by page when they are first touched, by whichever thread that is: no pass over them is needed here.
void ZeroNewMemory(void* memory, Int bytes);

}  // namespace ostra
