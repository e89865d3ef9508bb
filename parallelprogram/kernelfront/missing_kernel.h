// What is said of a file without a kernel: what to write, at the place where the kernel seems to begin.
#pragma once

#include "parallelprogram/kernelfront/edited_text.h"

namespace ostra::kernelfront {

// Ends in a Failure: at a misspelt word of a kernel's beginning, at a kernel in the form of another language, or at the
// end of the text.
[[noreturn]] void FailForMissingKernel(const EditedText& text);

// The same for a kernel that ends at the token and begins nowhere.
[[noreturn]] void FailForMissingStart(const EditedText& text, const Token& end);

}  // namespace ostra::kernelfront
