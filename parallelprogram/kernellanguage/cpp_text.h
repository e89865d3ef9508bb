// What the printers of C++ have in common.
#pragma once

#include <string>

#include "parallelprogram/kernellanguage/source_map.h"
#include "parallelprogram/kernellanguage/types.h"

namespace ostra::kernellanguage {

// The C++ type of one scalar, vector or matrix; "" for other types.
std::string GetCppType(const Type& type);

// With this line compiler messages and debuggers show the place in the kernel file; "" where it has none.
std::string MakeLineDirective(const SourceLocation& location);

}  // namespace ostra::kernellanguage
