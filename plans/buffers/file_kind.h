// What a data file is, as its suffix says: those of ostra/arrays/array_file.h, and texts of numbers.
#pragma once

#include "ostra/core/types.h"
#include "ostra/io/url.h"

namespace ostra::plans {

enum class FileKind : Int32 { Unknown, Picture, Npy, Csv, Raw };

FileKind GetFileKind(const Url& file);

// For error lines: the suffixes that are known.
inline constexpr const char* kKnownSuffixes = ".png, .exr, .npy, .csv and .raw";

}  // namespace ostra::plans
