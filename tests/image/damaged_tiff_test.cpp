// Damaged TIFF files: an error or a picture, never a crash or a leak.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include <random>

#include "ostra/image/tiff.h"
#include "tests/image/decode_checks.h"
#include "tests/image/sample_files.h"
#include "tests/image/sample_tiff.h"

namespace ostra {
namespace {

using testing::HasSubstr;

Result<Image> Decode(Block<const Byte> bytes) { return DecodeTiff(bytes); }

std::vector<std::string> MakeFiles() {
  TiffKind tiled{.bits = 16, .compression = COMPRESSION_LZW, .predictor = 2};
  tiled.isTiled = tiled.isSeparate = true;
  return {MakeTiff({.compression = COMPRESSION_ADOBE_DEFLATE}, 21, 18), MakeTiff(tiled, 21, 18),
          MakeTiff({.photometric = 3, .samples = 1, .bits = 4, .compression = COMPRESSION_PACKBITS}, 21, 18),
          MakeTiff({.mode = "wb8", .pages = 2}, 9, 8)};
}

std::string GetMessage(const std::string& bytes) {
  const auto image = DecodeTiff(BlockOf(bytes));
  return image.IsOk() ? "no error" : std::string(image.GetError().GetMessage().GetView());
}

TEST(DamagedTiffTest, AFileThatEndsAtAnyByteIsAnError) {
  // Of the last page only the numbers of its tags stand behind the pixels.
  const std::string file = MakeFiles().front();
  ASSERT_TRUE(IsDecoded(Decode, file));
  for (std::size_t size = 0; size < file.size() - 8; ++size) {
    const std::string start = file.substr(0, size);
    if (IsDecoded(Decode, start)) {
      // What is cut off was not needed for the pixels, which are those of the whole file.
      const Image whole = DecodeTiff(BlockOf(file)).GetValue(), part = DecodeTiff(BlockOf(start)).GetValue();
      ASSERT_EQ(part.rgba.GetCount(), whole.rgba.GetCount()) << size;
      for (Int i = 0; i < whole.rgba.GetCount(); ++i) ASSERT_EQ(part.rgba[i], whole.rgba[i]) << size;
    }
  }
}

TEST(DamagedTiffTest, RandomDamageNeverCrashes) {
  std::mt19937 random(3);
  Int failures = 0;
  for (const std::string& file : MakeFiles())
    for (int round = 0; round < 1500; ++round) {
      std::string damaged = file;
      // Half of it at the end, where the tags are.
      const std::size_t start = round % 2 == 0 ? 0 : damaged.size() - std::min<std::size_t>(damaged.size(), 250);
      for (int i = 0; i < 3; ++i) damaged[start + random() % (damaged.size() - start)] = static_cast<char>(random());
      failures += !IsDecoded(Decode, damaged);
    }
  EXPECT_GT(failures, 1000);
}

// A little-endian file of one page, whose tags stand at the end.
std::string ReplaceTag(std::string file, UInt16 tag, UInt32 value) {
  std::size_t position = 0;
  for (int i = 3; i >= 0; --i)
    position = position << 8 | static_cast<unsigned char>(file[4 + static_cast<std::size_t>(i)]);
  const auto count = static_cast<unsigned char>(file[position]);
  for (std::size_t i = 0; i < count; ++i) {
    char* const entry = file.data() + position + 2 + 12 * i;
    if (static_cast<unsigned char>(entry[0]) != (tag & 0xFF) || static_cast<unsigned char>(entry[1]) != tag >> 8)
      continue;
    entry[2] = 4;  // 32 bits
    for (int b = 0; b < 4; ++b) entry[8 + b] = static_cast<char>(value >> 8 * b);
  }
  return file;
}

TEST(DamagedTiffTest, SizesThatTheFileCannotHoldAreRefusedBeforeMemoryIsTaken) {
  const std::string file = MakeTiff({.compression = COMPRESSION_ADOBE_DEFLATE}, 20, 3);
  ASSERT_EQ(GetMessage(ReplaceTag(file, TIFFTAG_IMAGEWIDTH, 20)), "no error");
  const std::string wide = ReplaceTag(file, TIFFTAG_IMAGEWIDTH, 60000);
  EXPECT_THAT(GetMessage(ReplaceTag(wide, TIFFTAG_IMAGELENGTH, 60000)), HasSubstr("60000 x 60000 pixels is too large"));
  EXPECT_THAT(GetMessage(ReplaceTag(wide, TIFFTAG_IMAGELENGTH, 2000)), HasSubstr("too few for 60000 x 2000 pixels"));
  EXPECT_NE(GetMessage(ReplaceTag(file, TIFFTAG_IMAGEWIDTH, 0)), "no error");
  EXPECT_NE(GetMessage(ReplaceTag(file, TIFFTAG_IMAGELENGTH, 0)), "no error");
  EXPECT_NE(GetMessage(ReplaceTag(file, TIFFTAG_IMAGEWIDTH, 0xFFFFFFFF)), "no error");
  TiffKind tiled{.compression = COMPRESSION_ADOBE_DEFLATE};
  tiled.isTiled = true;
  const std::string tiles = ReplaceTag(MakeTiff(tiled, 20, 3), TIFFTAG_TILEWIDTH, 16384);
  EXPECT_THAT(GetMessage(ReplaceTag(tiles, TIFFTAG_TILELENGTH, 4096)), HasSubstr("too few for 20 x 3 pixels"));
}

TEST(DamagedTiffTest, EveryAllocationMayFail) {
  for (const std::string& file : {MakeFiles()[0], MakeFiles()[1]})
    ExpectOutOfMemoryAtEveryAllocation([&] { return DecodeTiff(BlockOf(file)); });
  const Image image = Image::Create(300, 200).GetValue();
  ExpectOutOfMemoryAtEveryAllocation([&] { return EncodeTiff(image); });
}

}  // namespace
}  // namespace ostra
