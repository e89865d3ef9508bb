// The data that a command is asked for goes to standard output; everything else to standard error.
#pragma once

#include <string_view>

#include "ostra/core/result.h"

namespace ostra::tool {

// Error: illegal state when the text cannot be written, for example to a full disk.
Result<void> WriteOutput(std::string_view text);

// Writes what went wrong to standard error: "ostra: " and the message as one line. What stands before the message's
// last line end, such as a compiler's report, is written before it as it is.
void WriteError(const Error& error);
void WriteErrorLine(std::string_view line);

}  // namespace ostra::tool
