// Arrays in files, as elements of a type known at run time. The suffix says what a file is:
//
//   .npy          arrays; the numbers must have the type of the elements, the fields of records those of the struct
//   .raw .bin     the bytes of the elements
//   .png .exr ... pictures (ostra/image/picture_format.h), for elements of 4 x float32
//
//   OSTRA_ASSIGN_OR_RETURN(ArrayContents contents, ReadArrayFile(file, GetDataType<Float32>()));
//   OSTRA_RETURN_IF_ERROR(WriteArrayFile(copy, contents.elements.GetElementType(), contents.elements.GetBlock(),
//                                        contents.extent));
//
// A picture of w x h pixels, and a .npy array of the shape (h, w) or, for vectors of 4 numbers, (h, w, 4), has the
// extent w, h, 1. All functions are thread-safe. A damaged file gives an error that says what is wrong.
#pragma once

#include "ostra/core/array.h"
#include "ostra/io/url.h"

namespace ostra {

enum class ArrayFileKind : Int32 { Unknown, Picture, Npy, Raw };

// As the suffix says.
OSTRA_API ArrayFileKind GetArrayFileKind(const Url& file);

// In elements.
struct ArrayExtent {
  Int width = 0;
  Int height = 1;
  Int depth = 1;

  // -1 for more than an Int counts.
  Int GetCount() const {
    Int count = 0;
    const Bool isTooLarge =
        __builtin_mul_overflow(width, height, &count) || __builtin_mul_overflow(count, depth, &count);
    return isTooLarge ? -1 : count;
  }
};

struct ArrayContents {
  GenericBaseArray elements;
  ArrayExtent extent;      // of a picture, or of an array with up to three axes; else the count alone
  Bool isPicture = false;  // from a picture file
};

// All elements of a file. Errors, all with the name of the file: file errors; illegal argument for an unknown suffix, a
// damaged or empty file, numbers of another type, a number of bytes that is no multiple of an element's; out of memory.
OSTRA_API Result<ArrayContents> ReadArrayFile(const Url& file, DataType elementType);

// Whether elements of the type can be written to such a file, into a folder that exists: to be asked before long work.
// Errors: those of WriteArrayFile that do not depend on the elements.
OSTRA_API Result<void> CheckArrayFile(const Url& file, DataType elementType);

// Writes elements, which lie without gaps, whole or not at all. `extent` gives pictures and arrays their sides; an
// array gets one axis when the extent does not have its count. Errors: illegal argument for an unknown suffix, a type
// that such files do not hold, an extent with sides below 0, a picture whose extent does not have the count of
// elements; file errors; out of memory.
OSTRA_API Result<void> WriteArrayFile(const Url& file, DataType elementType, Block<const Generic> elements,
                                      const ArrayExtent& extent = {});

}  // namespace ostra
