#include "tests/image/sample_tiff.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>

#include "ostra/math/half_float.h"
#include "tests/image/sample_files.h"

namespace ostra {

namespace {

constexpr Int kTileSide = 16;

struct Target {
  std::string bytes;
  std::size_t position = 0;
};

// The library reads where it has put the last page, to add the next one.
tmsize_t Read(thandle_t handle, void* destination, tmsize_t size) {
  auto& target = *static_cast<Target*>(handle);
  const std::size_t left = target.bytes.size() - std::min(target.position, target.bytes.size());
  const std::size_t count = std::min(left, static_cast<std::size_t>(size));
  std::memcpy(destination, target.bytes.data() + target.position, count);
  target.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t Write(thandle_t handle, void* source, tmsize_t size) {
  auto& target = *static_cast<Target*>(handle);
  const std::size_t end = target.position + static_cast<std::size_t>(size);
  if (target.bytes.size() < end) target.bytes.resize(end);
  std::memcpy(target.bytes.data() + target.position, source, static_cast<std::size_t>(size));
  target.position = end;
  return size;
}

toff_t Seek(thandle_t handle, toff_t offset, int origin) {
  auto& target = *static_cast<Target*>(handle);
  const std::size_t start = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? target.position : target.bytes.size();
  return target.position = start + offset;
}

toff_t GetSize(thandle_t handle) { return static_cast<Target*>(handle)->bytes.size(); }

UInt32 StoredAt(const TiffKind& kind, Int x, Int y, Int sample) {
  return SampleAt(x, y, sample, std::min<Int>(kind.bits, 24));
}

// Exact as a half, too.
Float32 FloatAt(Int x, Int y, Int sample) { return static_cast<Float32>(SampleAt(x, y, sample, 9)) / 4 - 30; }

void Append(const TiffKind& kind, Int x, Int y, Int sample, std::string& row) {
  const auto append = [&row](auto value) { row.append(reinterpret_cast<const char*>(&value), sizeof(value)); };
  const UInt32 stored = StoredAt(kind, x, y, sample);
  const Float32 number = FloatAt(x, y, sample);
  if (kind.sampleFormat == 3 && kind.bits == 16) return append(HalfFloat(number).GetBits());
  if (kind.sampleFormat == 3 && kind.bits == 32) return append(number);
  if (kind.sampleFormat == 3) return append(static_cast<Float64>(number));
  if (kind.bits == 32) return append(stored);
  if (kind.bits == 16) return append(static_cast<UInt16>(stored));
  append(static_cast<Byte>(stored));
}

// Samples of less than a byte, from the highest bit down.
std::string PackBits(const std::string& row, Int bits) {
  std::string packed((row.size() * static_cast<std::size_t>(bits) + 7) / 8, '\0');
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::size_t position = i * static_cast<std::size_t>(bits);
    packed[position / 8] =
        static_cast<char>(packed[position / 8] | static_cast<unsigned char>(row[i])
                                                     << (8 - static_cast<std::size_t>(bits) - position % 8));
  }
  return packed;
}

// A strip or a tile from (x0, y0); samples behind the edge are those of what would be there.
std::string MakeBlock(const TiffKind& kind, Int x0, Int y0, Int width, Int height, Int plane) {
  std::string block;
  for (Int y = y0; y < y0 + height; ++y) {
    std::string row;
    for (Int x = x0; x < x0 + width; ++x)
      for (Int s = 0; s < kind.samples; ++s)
        if (!kind.isSeparate || s == plane) Append(kind, x, y, s, row);
    block += kind.bits < 8 ? PackBits(row, kind.bits) : row;
  }
  return block;
}

void SetFields(TIFF* tiff, const TiffKind& kind, Int width, Int height) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(height));
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(kind.bits));
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(kind.samples));
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, kind.sampleFormat);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, kind.isSeparate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, kind.compression);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, kind.orientation);
  if (kind.predictor != 1) TIFFSetField(tiff, TIFFTAG_PREDICTOR, kind.predictor);
  if (kind.compression == COMPRESSION_JPEG && kind.photometric == PHOTOMETRIC_YCBCR)
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  const uint16_t alpha[] = {EXTRASAMPLE_UNASSALPHA};
  const Int colors = kind.photometric == 2 || kind.photometric == 6 ? 3 : kind.photometric == 5 ? 4 : 1;
  if (kind.samples > colors) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha);
  if (kind.hasProfile) TIFFSetField(tiff, TIFFTAG_ICCPROFILE, 9, "a profile");
  if (kind.photometric != PHOTOMETRIC_PALETTE) return;
  std::vector<uint16_t> maps[3];
  for (Int c = 0; c < 3; ++c)
    for (Int i = 0; i < Int(1) << kind.bits; ++i) maps[c].push_back(static_cast<uint16_t>(SampleAt(i, 0, c, 16)));
  TIFFSetField(tiff, TIFFTAG_COLORMAP, maps[0].data(), maps[1].data(), maps[2].data());
}

void WritePage(TIFF* tiff, const TiffKind& kind, Int width, Int height) {
  SetFields(tiff, kind, width, height);
  const Int planes = kind.isSeparate ? kind.samples : 1;
  const Int blockWidth = kind.isTiled ? kTileSide : width, blockHeight = kind.isTiled ? kTileSide : 3;
  if (kind.isTiled) {
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kTileSide);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, kTileSide);
  } else {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(blockHeight));
  }
  uint32_t index = 0;
  for (Int plane = 0; plane < planes; ++plane)
    for (Int y = 0; y < height; y += blockHeight)
      for (Int x = 0; x < width; x += blockWidth, ++index) {
        const Int rows = kind.isTiled ? blockHeight : std::min(blockHeight, height - y);
        std::string block = MakeBlock(kind, x, y, blockWidth, rows, plane);
        const auto size = static_cast<tmsize_t>(block.size());
        if (kind.isTiled)
          TIFFWriteEncodedTile(tiff, index, block.data(), size);
        else
          TIFFWriteEncodedStrip(tiff, index, block.data(), size);
      }
}

}  // namespace

std::string MakeTiff(const TiffKind& kind, Int width, Int height) {
  Target target;
  TIFF* tiff = TIFFClientOpen(
      "sample", kind.mode, &target, Read, Write, Seek, [](thandle_t) { return 0; }, GetSize, nullptr, nullptr);
  for (int page = 0; page < kind.pages; ++page) {
    WritePage(tiff, kind, width + page, height + page);
    TIFFWriteDirectory(tiff);
    if (page > 0 || !kind.hasThumbnail) continue;
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
    WritePage(tiff, kind, 2, 2);
    TIFFWriteDirectory(tiff);
  }
  TIFFClose(tiff);
  return target.bytes;
}

std::vector<Float32> ExpectedTiffPixel(const TiffKind& kind, Int x, Int y) {
  const auto value = [&](Int sample) {
    if (kind.sampleFormat == 3) return FloatAt(x, y, sample);
    const Float64 largest = static_cast<Float64>((UInt64(1) << kind.bits) - 1);
    return static_cast<Float32>(StoredAt(kind, x, y, sample) / largest);
  };
  if (kind.photometric == PHOTOMETRIC_PALETTE) {
    const auto color = [&](Int c) {
      return static_cast<Float32>(SampleAt(StoredAt(kind, x, y, 0), 0, c, 16)) / 65535.0f;
    };
    return {color(0), color(1), color(2), 1};
  }
  if (kind.photometric == PHOTOMETRIC_RGB) return {value(0), value(1), value(2), kind.samples > 3 ? value(3) : 1};
  const Float32 gray = kind.photometric == PHOTOMETRIC_MINISWHITE ? 1 - value(0) : value(0);
  return {gray, gray, gray, kind.samples > 1 ? value(1) : 1};
}

std::vector<TiffKind> GetTiffKinds() {
  struct Numbers {
    int photometric;
    Int samples, bits;
    int sampleFormat;
  };
  std::vector<Numbers> numbers = {{0, 1, 1, 1}, {0, 1, 8, 1}, {3, 1, 2, 1}, {3, 1, 8, 1}, {1, 2, 8, 1}, {2, 3, 4, 1}};
  for (const Int bits : {1, 2, 4, 8, 16, 32}) numbers.push_back({1, 1, bits, 1});
  for (const Int samples : {3, 4}) {
    for (const Int bits : {8, 16, 32}) numbers.push_back({2, samples, bits, 1});
    for (const Int bits : {16, 32, 64}) numbers.push_back({2, samples, bits, 3});
  }
  for (const Int bits : {16, 32, 64}) numbers.push_back({1, 2, bits, 3});
  std::vector<TiffKind> kinds;
  for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS,
                                COMPRESSION_LZMA, COMPRESSION_ZSTD})
    for (const Numbers& each : numbers)
      for (const Bool isSeparate : {false, true})
        for (const Bool isTiled : {false, true}) {
          // Setting these two up takes long.
          const Bool isSlow = compression == COMPRESSION_LZMA || compression == COMPRESSION_ZSTD;
          if (isSlow && (each.samples != 4 || each.bits != 16)) continue;
          if (!TIFFIsCODECConfigured(static_cast<uint16_t>(compression)) || (isSeparate && each.samples == 1)) continue;
          TiffKind kind{each.photometric, each.samples, each.bits, each.sampleFormat, compression};
          kind.isSeparate = isSeparate;
          kind.isTiled = isTiled;
          constexpr const char* kModes[] = {"w", "wb", "w8", "wb8"};
          kind.mode = kModes[kinds.size() % 7 % 4];
          const Bool canPredict =
              each.bits >= 8 && compression != COMPRESSION_NONE && compression != COMPRESSION_PACKBITS;
          if (canPredict && kinds.size() % 2 == 0) kind.predictor = each.sampleFormat == 3 ? 3 : 2;
          // The library writes such files with the bytes of each number turned around, and reads others right.
          if (kind.predictor == 3 && std::string_view(kind.mode).starts_with("wb")) kind.predictor = 1;
          kinds.push_back(kind);
        }
  return kinds;
}

std::string Describe(const TiffKind& kind) {
  return "photometric " + std::to_string(kind.photometric) + ", " + std::to_string(kind.samples) + " x " +
         std::to_string(kind.bits) + " bits, format " + std::to_string(kind.sampleFormat) + ", compression " +
         std::to_string(kind.compression) + ", predictor " + std::to_string(kind.predictor) +
         (kind.isSeparate ? ", separate" : "") + (kind.isTiled ? ", tiled" : "") + ", mode " + kind.mode;
}

}  // namespace ostra
