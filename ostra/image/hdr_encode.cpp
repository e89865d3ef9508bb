#include <algorithm>
#include <cmath>
#include <cstdio>

#include "ostra/core/format.h"
#include "ostra/image/hdr.h"
#include "ostra/image/memory_sink.h"
#include "ostra/image/picture_settings.h"

OSTRA_UNIT("hdr");

namespace ostra {

namespace {

constexpr Float32 kMaxValue = 255 * 0x1p119f;
constexpr Int kMinRun = 4, kMaxRun = 127, kMaxCopy = 128;
constexpr Int kMinPackedLine = 8, kMaxPackedLine = 32767;

// Four bytes of a pixel.
void PackPixel(const Float32* rgb, Byte* target) {
  Float32 values[3];
  for (int c = 0; c < 3; ++c) values[c] = rgb[c] > 0 ? std::min(rgb[c], kMaxValue) : 0;
  const Float32 largest = std::max({values[0], values[1], values[2]});
  int exponent = 0;
  std::frexp(largest, &exponent);
  // What would become 256 needs the next exponent.
  if (std::nearbyint(std::ldexp(largest, 8 - exponent)) > 255) ++exponent;
  if (largest == 0 || exponent < -127) {
    std::fill(target, target + 4, Byte(0));
    return;
  }
  for (int c = 0; c < 3; ++c) target[c] = static_cast<Byte>(std::nearbyint(std::ldexp(values[c], 8 - exponent)));
  target[3] = static_cast<Byte>(exponent + 128);
}

// How many values from `x` on are equal, up to the longest run; values are 4 bytes apart.
Int CountEqual(const Byte* values, Int x, Int length) {
  const Int end = std::min(length, x + kMaxRun);
  Int i = x + 1;
  while (i < end && values[4 * i] == values[4 * x]) ++i;
  return i - x;
}

Bool WriteChannel(const Byte* values, Int length, MemorySink& sink) {
  for (Int x = 0; x < length;) {
    const Int run = CountEqual(values, x, length);
    if (run >= kMinRun) {
      const Byte pair[] = {static_cast<Byte>(128 + run), values[4 * x]};
      if (!sink.Write(pair, 2)) return false;
      x += run;
      continue;
    }
    Byte copy[1 + kMaxCopy];
    Int count = 0;
    while (x < length && count < kMaxCopy && CountEqual(values, x, length) < kMinRun)
      copy[1 + count++] = values[4 * x++];
    copy[0] = static_cast<Byte>(count);
    if (!sink.Write(copy, 1 + count)) return false;
  }
  return true;
}

Bool WriteLine(const Byte* line, Int length, MemorySink& sink) {
  // The largest byte of a pixel has its highest bit: no pixel is taken for a mark or a run.
  if (length < kMinPackedLine || length > kMaxPackedLine) return sink.Write(line, 4 * length);
  const Byte mark[] = {2, 2, static_cast<Byte>(length >> 8), static_cast<Byte>(length & 255)};
  if (!sink.Write(mark, 4)) return false;
  for (Int channel = 0; channel < 4; ++channel)
    if (!WriteChannel(line + channel, length, sink)) return false;
  return true;
}

}  // namespace

Result<BaseArray<Byte>> EncodeHdr(const ImageView& image, const PictureSettings& settings) {
  OSTRA_CHECK_ARGUMENT(image.width > 0 && image.height > 0 && image.rgba.GetCount() == 4 * image.width * image.height);
  OSTRA_RETURN_IF_ERROR(CheckPictureSettings(image, settings, {"Radiance HDR", {}, {}}));
  char header[96];
  const int size = std::snprintf(header, sizeof(header), "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y %lld +X %lld\n",
                                 static_cast<long long>(image.height), static_cast<long long>(image.width));
  BaseArray<Byte> line;
  OSTRA_RETURN_IF_ERROR(line.Resize(4 * image.width));
  MemorySink sink;
  Bool isWritten = sink.Write(header, size);
  for (Int y = 0; y < image.height && isWritten; ++y) {
    const Float32* const row = image.rgba.GetFirst() + 4 * y * image.width;
    for (Int x = 0; x < image.width; ++x) PackPixel(row + 4 * x, line.GetFirst() + 4 * x);
    isWritten = WriteLine(line.GetFirst(), image.width, sink);
  }
  if (!isWritten) return OSTRA_OUT_OF_MEMORY();
  return sink.Take();
}

}  // namespace ostra
