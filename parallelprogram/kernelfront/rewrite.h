// The changes that hold for all text, of kernel files and of their headers alike.
#pragma once

#include "parallelprogram/kernelfront/edited_text.h"

namespace ostra::kernelfront {

// - TYPE becomes `templateArgument`, inside longer words too, unless that is empty.
// - A floating literal without suffix becomes a Float32, as it is on the GPU; not between CPU_SCOPE_START and _END.
// - INOUT, inout and out in front of a function's parameter make it a reference; in is dropped.
void RewriteWords(EditedText& text, std::string_view templateArgument);

// `word` with every TYPE replaced.
std::string ReplaceType(std::string_view word, std::string_view templateArgument);

}  // namespace ostra::kernelfront
