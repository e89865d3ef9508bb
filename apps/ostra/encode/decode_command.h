// ostra decode: writes the text of an encoded container.
#pragma once

#include "ostra/io/url.h"

namespace ostra::tool {

// `target` is written beside and renamed; it may be the source itself. Errors: those of reading and writing; illegal
// argument for a source that is not encoded, and with the reason for a container that cannot be decoded.
Result<void> DecodeFile(const Url& source, const Url& target);

}  // namespace ostra::tool
