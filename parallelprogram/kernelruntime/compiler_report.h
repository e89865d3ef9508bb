// What the C++ compiler says about a kernel, in the words of kernel files.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernelruntime {

// A report without the lines that tell of the generated class around the kernel and of the files that include each
// other, and without the names that the class gives to parameters and to namespaces. Messages, their places, notes and
// lines of sources stay.
std::string CleanCompilerReport(std::string_view report);

}  // namespace ostra::kernelruntime
