// A source file in memory: deciphered and decoded.
#pragma once

#include "ostra/io/file.h"

namespace ostra {

struct SourceFile {
  BaseArray<Byte> bytes;  // deciphered
  String text;            // the same without a byte order mark
};

// Errors: those of reading, of the container and of decoding; out of memory. Thread-safe.
Result<SourceFile> ReadSourceFile(const Url& file);

}  // namespace ostra
