// Misspelt types of parameters, found before the compiler meets them in the middle of macros.
#pragma once

#include "parallelprogram/kernelfront/edited_text.h"

namespace ostra::kernelfront {

// Ends in a Failure that names the type which is meant when the word at `index` is almost the name of a type for
// parameters and nothing that the file could know. Everything else is left to the compiler: names that are no type at
// all, and every name in files that declare it or include headers.
void CheckTypeName(const EditedText& text, std::size_t index);

}  // namespace ostra::kernelfront
