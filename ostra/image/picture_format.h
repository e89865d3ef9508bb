// The kinds of picture files: what their names end with, how they begin, and who reads and writes them.
//
//   if (IsPictureFile(url)) ...                               // by the suffix, in upper or lower case
//   const PictureFormat* format = FindPictureFormat(bytes);   // by the first bytes
//   PictureSource source = SplitPictureSource(url);           // "render.exr#diffuse": the file and its layer
//
// This is the one list of suffixes: what tells pictures from other files asks it. Thread-safe.
#pragma once

#include <span>
#include <string_view>

#include "ostra/image/image.h"

// All suffixes of the table, for messages and help texts; a test compares them.
#define OSTRA_PICTURE_SUFFIXES ".png, .exr, .jpg, .jpeg, .tif, .tiff, .hdr"

namespace ostra {

struct PictureFormat {
  const char* name;  // in messages
  std::string_view suffixes[2];
  std::string_view starts[4];  // of the bytes of a file
  Bool hasLayers;              // or pages
  Result<Image> (*decode)(Block<const Byte> bytes, std::string_view layer);
  Result<BaseArray<Byte>> (*encode)(const ImageView& image, const PictureSettings& settings);
};

OSTRA_API std::span<const PictureFormat> GetPictureFormats();

// Null for what is no picture that is known.
OSTRA_API const PictureFormat* FindPictureFormat(Block<const Byte> bytes);

// The format that the suffix names, in upper or lower case; else null.
OSTRA_API const PictureFormat* FindPictureFormat(const Url& url);

inline Bool IsPictureFile(const Url& url) { return FindPictureFormat(url) != nullptr; }

// A file, and which of its layers or pages is read; empty for the only one.
struct PictureSource {
  Url file;
  String layer;
};

// Behind the suffix of a picture "#" and a name stand for a layer. What is no such name is the file itself.
OSTRA_API PictureSource SplitPictureSource(const Url& url);

}  // namespace ostra
