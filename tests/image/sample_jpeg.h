// JPEG pictures of the kinds that our encoder does not write, made by the library itself.
#pragma once

#include <string>
#include <vector>

namespace ostra {

struct JpegKind {
  int channels = 3;  // 1: gray, 3: colours, 4: CMYK, others: of no known meaning
  bool isProgressive = false;
  bool isArithmetic = false;
  int restartInterval = 0;   // in blocks; 0 for none
  std::string exif = {};     // after "Exif\0\0"; empty for none
  std::string profile = {};  // likewise of an ICC profile
  int extraScans = 0;        // of a gray picture that comes in pieces: at most 126 beside the first
};

// A file at full quality, with rows of `channels` bytes a pixel.
std::string MakeJpeg(const JpegKind& kind, int width, int height, const std::vector<unsigned char>& bytes);

// Notes of a camera with the orientation, in one or the other order of bytes; `isSrgb`: and with that colour space.
std::string MakeExif(int orientation, bool isBigEndian, bool isSrgb = false);

}  // namespace ostra
