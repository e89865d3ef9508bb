// TIFF pictures of the kinds that our encoder does not write, made by the library itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ostra/core/types.h"

namespace ostra {

struct TiffKind {
  int photometric = 2;  // as the format counts: 0 and 1 gray, 2 RGB, 3 palette, 5 CMYK
  Int samples = 3;
  Int bits = 8;
  int sampleFormat = 1;  // 1: unsigned, 2: signed, 3: floats
  int compression = 1;   // 1: none
  int predictor = 1;     // 1: none
  Bool isSeparate = false;
  Bool isTiled = false;
  const char* mode = "w";  // of the library: "wb" is big-endian, "w8" for files above 4 GiB
  int orientation = 1;
  int pages = 1;              // of equal pixels, the sides one larger each
  Bool hasThumbnail = false;  // behind the first page
  Bool hasProfile = false;
};

std::string MakeTiff(const TiffKind& kind, Int width, Int height);

// Red, green, blue, alpha that reading MakeTiff has to give at (x, y).
std::vector<Float32> ExpectedTiffPixel(const TiffKind& kind, Int x, Int y);

// Every sensible combination of meaning, type, order, compression and tiling.
std::vector<TiffKind> GetTiffKinds();

std::string Describe(const TiffKind& kind);

}  // namespace ostra
