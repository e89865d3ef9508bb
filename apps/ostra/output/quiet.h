// Whether a command says nothing but errors and what it was asked to write: its option --quiet.
#pragma once

#include "ostra/core/types.h"

namespace ostra::tool {

void SetQuiet(Bool isQuiet);
Bool IsQuiet();

}  // namespace ostra::tool
