// Names that C++ may know in a kernel although no file of the kernel declares them.
#pragma once

#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

// Functions, types and constants of the C library and of the headers of the CPU form, and everything that looks like a
// macro or constant of the host. A name for which this is false and that no file declares does not compile.
Bool MayBeHostName(std::string_view name);

}  // namespace ostra::kernellanguage
