// Damaged picture files: every prefix, every changed byte and every failing allocation must end in an error or in a
// picture, never in a crash or a leak.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "ostra/image/image.h"
#include "tests/image/decode_checks.h"
#include "tests/image/sample_files.h"

namespace ostra {
namespace {

std::vector<std::string> MakePngFiles() {
  std::vector<std::string> files;
  for (const PngKind& kind : GetPngKinds()) files.push_back(MakePng(kind, 9, 7));
  return files;
}

std::string MakeExrFile() {
  Image image = Image::Create(9, 40).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = static_cast<Float32>(i % 17);
  return StringOf(EncodeExr(image).GetValue());
}

TEST(DamagedFileTest, APngFileThatEndsAtAnyByteIsAnError) {
  for (const std::string& file : MakePngFiles()) {
    for (std::size_t size = 0; size < file.size(); ++size)
      ASSERT_FALSE(IsDecoded(DecodePng, file.substr(0, size))) << size;
    ASSERT_TRUE(IsDecoded(DecodePng, file));
  }
}

TEST(DamagedFileTest, AnExrFileThatEndsAtAnyByteIsAnError) {
  const std::string file = MakeExrFile();
  for (std::size_t size = 0; size < file.size(); ++size)
    ASSERT_FALSE(IsDecoded(DecodeExr, file.substr(0, size))) << size;
  ASSERT_TRUE(IsDecoded(DecodeExr, file));
}

TEST(DamagedFileTest, AChangedByteInAPngPictureIsNoticed) {
  for (std::string file : MakePngFiles())
    for (std::size_t i = 0; i < file.size(); ++i) {
      file[i] = static_cast<char>(file[i] ^ 0x21);
      // Behind the header chunk a change may fall into an optional chunk, which is then left out.
      const Bool isDecoded = IsDecoded(DecodePng, file);
      ASSERT_FALSE(isDecoded && i < 33) << i;
      file[i] = static_cast<char>(file[i] ^ 0x21);
    }
}

TEST(DamagedFileTest, RandomDamageInAnExrPictureNeverCrashes) {
  const std::string file = MakeExrFile();
  std::mt19937 random(3);
  Int failures = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string damaged = file;
    for (int i = 0; i < 3; ++i) damaged[random() % damaged.size()] = static_cast<char>(random());
    failures += !IsDecoded(DecodeExr, damaged);
  }
  EXPECT_GT(failures, 1000);
}

TEST(DamagedFileTest, SizesThatTheFileCannotHoldAreRefusedBeforeMemoryIsTaken) {
  PngKind kind = GetPngKinds().front();
  std::string file = MakePng(kind, 9, 7);
  // The header says 60000 x 60000, with a checksum that fits.
  const std::string start("\x00\x00\xEA\x60\x00\x00\xEA\x60", 8);
  file.replace(16, 8, start);
  const std::string header = file.substr(12, 17);
  UInt32 crc = 0xFFFFFFFF;
  for (const char byte : header) {
    crc ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0u);
  }
  for (int i = 0; i < 4; ++i) file[29 + static_cast<std::size_t>(i)] = static_cast<char>(~crc >> (24 - 8 * i));
  const auto image = DecodePng(BlockOf(file));
  ASSERT_FALSE(image.IsOk());
  EXPECT_THAT(std::string(image.GetError().GetMessage().GetView()), testing::HasSubstr("60000 x 60000"));
}

TEST(DamagedFileTest, EveryAllocationMayFail) {
  for (const PngKind& kind : {GetPngKinds().front(), GetPngKinds().back()}) {
    const std::string file = MakePng(kind, 9, 7);
    ExpectOutOfMemoryAtEveryAllocation([&] { return DecodePng(BlockOf(file)); });
  }
  const Image image = Image::Create(40, 30).GetValue();
  ExpectOutOfMemoryAtEveryAllocation([&] { return EncodePng(image); });
  ExpectOutOfMemoryAtEveryAllocation([&] { return EncodeExr(image); });
}

}  // namespace
}  // namespace ostra
