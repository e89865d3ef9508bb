// ostra encode: writes a source file as an encoded container.
#pragma once

#include "ostra/io/url.h"

namespace ostra::tool {

// `target` is written beside and renamed; it may be the source itself. Errors: those of reading, encoding and writing;
// illegal argument for a source that is a sound container already, because readers decode one level only.
Result<void> EncodeFile(const Url& source, const Url& target);

}  // namespace ostra::tool
