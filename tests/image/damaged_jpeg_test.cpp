// Damaged JPEG files: an error or a picture, never a crash or a leak.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "ostra/image/image.h"
#include "tests/image/decode_checks.h"
#include "tests/image/sample_files.h"
#include "tests/image/sample_jpeg.h"

namespace ostra {
namespace {

using testing::HasSubstr;

std::vector<std::string> MakeFiles() {
  std::mt19937 random(11);
  std::vector<unsigned char> bytes(3 * 21 * 18);
  for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
  return {MakeJpeg({}, 21, 18, bytes), MakeJpeg({.isProgressive = true, .exif = MakeExif(6, true)}, 21, 18, bytes),
          MakeJpeg({.channels = 1, .restartInterval = 1}, 21, 18, bytes)};
}

std::string GetMessage(const std::string& bytes) {
  const auto image = DecodeJpeg(BlockOf(bytes));
  return image.IsOk() ? "no error" : std::string(image.GetError().GetMessage().GetView());
}

TEST(DamagedJpegTest, AFileThatEndsAtAnyByteIsAnError) {
  for (const std::string& file : MakeFiles()) {
    ASSERT_TRUE(IsDecoded(DecodeJpeg, file));
    for (std::size_t size = 0; size < file.size(); ++size)
      ASSERT_FALSE(IsDecoded(DecodeJpeg, file.substr(0, size))) << size;
  }
}

TEST(DamagedJpegTest, RandomDamageNeverCrashes) {
  std::mt19937 random(3);
  Int failures = 0;
  for (const std::string& file : MakeFiles())
    for (int round = 0; round < 1000; ++round) {
      std::string damaged = file;
      for (int i = 0; i < 3; ++i) damaged[random() % damaged.size()] = static_cast<char>(random());
      failures += !IsDecoded(DecodeJpeg, damaged);
    }
  EXPECT_GT(failures, 1000);
}

// Where the sides stand: behind the start of the frame, its length and the bits of a value.
std::string ReplaceSides(std::string file, const std::string& sides) {
  return file.replace(file.find("\xFF\xC0") + 5, 4, sides);
}

TEST(DamagedJpegTest, SizesThatTheFileCannotHoldAreRefusedBeforeMemoryIsTaken) {
  const std::string file = MakeFiles().front();
  EXPECT_THAT(GetMessage(ReplaceSides(file, "\xEA\x60\xEA\x60")), HasSubstr("60000 x 60000 pixels is too large"));
  EXPECT_THAT(GetMessage(ReplaceSides(file, "\x2A\xF8\x2A\xF8")), HasSubstr("too few for 11000 x 11000 pixels"));
  EXPECT_NE(GetMessage(ReplaceSides(file, std::string("\0\x12\0\0", 4))), "no error");
  EXPECT_NE(GetMessage(ReplaceSides(file, std::string("\0\0\0\x12", 4))), "no error");
}

TEST(DamagedJpegTest, APictureInMoreThanAHundredScansIsRefused) {
  const std::vector<unsigned char> bytes(64, 100);
  EXPECT_EQ(GetMessage(MakeJpeg({.channels = 1, .extraScans = 90}, 8, 8, bytes)), "no error");
  EXPECT_THAT(GetMessage(MakeJpeg({.channels = 1, .extraScans = 120}, 8, 8, bytes)), HasSubstr("more than 100 scans"));
}

TEST(DamagedJpegTest, NotesOfACameraThatAreDamagedAreLeftOut) {
  const std::vector<unsigned char> bytes(64, 100);
  std::mt19937 random(4);
  const std::string exif = MakeExif(6, false, true);
  for (int round = 0; round < 500; ++round) {
    std::string damaged = exif.substr(0, random() % (exif.size() + 1));
    for (int i = 0; i < 3 && !damaged.empty(); ++i) damaged[random() % damaged.size()] = static_cast<char>(random());
    const auto image = DecodeJpeg(BlockOf(MakeJpeg({.channels = 1, .exif = damaged}, 8, 8, bytes)));
    ASSERT_TRUE(image.IsOk());
    ASSERT_GE(image->description.orientation, 1);
    ASSERT_LE(image->description.orientation, 8);
  }
}

TEST(DamagedJpegTest, EveryAllocationMayFail) {
  for (const std::string& file : MakeFiles())
    ExpectOutOfMemoryAtEveryAllocation([&] { return DecodeJpeg(BlockOf(file)); });
  const Image image = Image::Create(300, 200).GetValue();
  ExpectOutOfMemoryAtEveryAllocation([&] { return EncodeJpeg(image, {.quality = 100}); });
}

}  // namespace
}  // namespace ostra
