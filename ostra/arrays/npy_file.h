// Array files of numbers of one type. Throws std::bad_alloc. Thread-safe.
#pragma once

#include "ostra/arrays/npy.h"
#include "ostra/io/url.h"

namespace ostra {

struct NumberFile {
  BaseArray<Byte> bytes;  // of the whole file
  NumberArray numbers;    // inside of them
};

// Errors, all with the name of the file: file errors; illegal argument for files that are no arrays and for numbers of
// another type; out of memory.
OSTRA_API Result<NumberFile> ReadNumberFile(const Url& file, const NumberType& number);

}  // namespace ostra
