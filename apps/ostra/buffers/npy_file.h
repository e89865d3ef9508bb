// Array files of numbers of one type.
#pragma once

#include "apps/ostra/buffers/npy.h"
#include "ostra/io/url.h"

namespace ostra::tool {

struct NumberFile {
  BaseArray<Byte> bytes;  // of the whole file
  NumberArray numbers;    // inside of them
};

// Errors, all with the name of the file: file errors; illegal argument for files that are no arrays and for numbers of
// another type; out of memory.
Result<NumberFile> ReadNumberFile(const Url& file, const ScalarType& scalar);

}  // namespace ostra::tool
