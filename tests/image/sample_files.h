// Pictures in all the forms that files have them, made by the picture libraries themselves.
#pragma once

#include <string>
#include <vector>

#include "ostra/image/image.h"

namespace ostra {

inline Block<const Byte> BlockOf(const std::string& bytes) {
  return {reinterpret_cast<const Byte*>(bytes.data()), static_cast<Int>(bytes.size())};
}

inline std::string StringOf(const BaseArray<Byte>& bytes) { return {bytes.begin(), bytes.end()}; }

// A stored sample at (x, y) of a channel that holds `bits` bits: any pattern that differs between places will do.
inline UInt32 SampleAt(Int x, Int y, Int channel, Int bits) {
  const auto value = static_cast<UInt32>(x * 37 + y * 101 + channel * 59 + x * y) * 2654435761u;
  return (value >> 8) & ((1u << bits) - 1);
}

struct PngKind {
  const char* name;
  int colorType;  // of libpng
  Int channels;
  Int bits;
  Bool isInterlaced;
};

// Every combination of colour type, bit depth and interlacing that the format allows.
std::vector<PngKind> GetPngKinds();

// A file of `kind` with SampleAt values; palette files have a palette of SampleAt(i, 0, channel, 8), half of it with
// an alpha of SampleAt(i, 1, 0, 8).
std::string MakePng(const PngKind& kind, Int width, Int height);

// Red, green, blue, alpha that reading MakePng has to give at (x, y).
std::vector<Float32> ExpectedPngPixel(const PngKind& kind, Int x, Int y);

}  // namespace ostra
