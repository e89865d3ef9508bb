// The data that a command is asked for goes to standard output; everything else to standard error.
#pragma once

#include <string_view>

#include "ostra/core/result.h"

namespace ostra::tool {

// As it is into files and pipes; a terminal is not sent control characters (ostra/core/printable_text.h). Error:
// illegal state when the text cannot be written, for example to a full disk.
Result<void> WriteOutput(std::string_view text);
// The same for what a command says of its work, which --quiet leaves out.
Result<void> WriteReport(std::string_view text);

// Writes what went wrong to standard error: "ostra: " and the message as one line. What stands before the message's
// last line end, such as a compiler's report, is written before it; a report that ends with a caret is written whole,
// and the line says that the kernel does not compile. Words that come from files stand in messages: all of them are
// written without control characters, and very long ones shortened.
void WriteError(const Error& error);
void WriteErrorLine(std::string_view line);
// What the user should know although nothing is wrong; --quiet leaves it out.
void WriteNote(std::string_view text);
// A line of a report, without "ostra: ".
void WriteReportLine(std::string_view line);

}  // namespace ostra::tool
