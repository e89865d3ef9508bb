// What a data file is, as its suffix says: those of ostra/arrays/array_file.h, and texts of numbers.
#pragma once

#include "ostra/core/types.h"
#include "ostra/image/picture_format.h"

namespace ostra::plans {

enum class FileKind : Int32 { Unknown, Picture, Npy, Csv, Raw };

FileKind GetFileKind(const Url& file);

// For error lines: the suffixes that are known.
inline constexpr const char* kKnownSuffixes = OSTRA_PICTURE_SUFFIXES ", .npy, .csv and .raw";

}  // namespace ostra::plans
