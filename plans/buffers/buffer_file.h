// Buffers of a kernel from files, and back. The suffix says what a file is:
//
//   .png .exr ... pictures (ostra/image/picture_format.h), for elements of 4 x float32
//   .npy          arrays; the numbers must have the type of the elements, the fields of records those of the struct
//   .csv .txt     texts with one element per line
//   .raw .bin     the bytes of the elements
//   zeros:SIZE    SIZE elements (such as 1024 or 640x480) whose numbers are all zero; ones:SIZE likewise
#pragma once

#include <string_view>

#include "ostra/core/array.h"
#include "ostra/io/url.h"
#include "plans/values/extents.h"

namespace ostra::plans {

struct BufferContents {
  GenericBaseArray elements;
  Extents size;  // of a picture, a two- or three-dimensional array, or generated elements; else the count alone
  Bool isPicture = false;  // from a picture file
};

// The elements that `source` names. Errors name the source and the reason: usage errors for what is wrong with the text
// itself, others for what is wrong with the file; out of memory.
Result<BufferContents> LoadBuffer(std::string_view source, DataType elementType);

// Whether elements of the type can be written to such a file, into a folder that exists. Called before long work, so
// that it is not lost.
Result<void> CheckBufferTarget(const Url& file, DataType elementType);

// Writes the elements whole or not at all. `size` gives pictures and arrays their sides when it fits the count.
// Errors: as of CheckBufferTarget; illegal argument when the count is not that of a picture; file errors.
Result<void> SaveBuffer(const Url& file, DataType elementType, Block<const Generic> elements, const Extents& size);

}  // namespace ostra::plans
