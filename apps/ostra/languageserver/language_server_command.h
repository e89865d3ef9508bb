// ostra language-server: answers an editor over standard input and output.
#pragma once

#include "ostra/core/result.h"

namespace ostra::tool {

// Reads messages until "exit" or the end of the input. Errors: illegal argument for bytes that are no messages; illegal
// state when the input ends without "shutdown", or the output cannot be written.
Result<void> RunLanguageServer();

}  // namespace ostra::tool
