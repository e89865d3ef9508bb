#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ostra/image/image.h"
#include "tests/image/sample_files.h"

namespace ostra {
namespace {

TEST(PngTest, EveryKindOfFileGivesTheStoredValuesDividedByTheLargest) {
  for (const PngKind& kind : GetPngKinds()) {
    SCOPED_TRACE(testing::Message() << kind.name << " " << kind.bits << (kind.isInterlaced ? " interlaced" : ""));
    for (const Int size : {1, 5, 19}) {
      const auto image = DecodePng(BlockOf(MakePng(kind, size, size + 2)));
      ASSERT_TRUE(image.IsOk()) << image.GetError().GetMessage().GetView();
      ASSERT_EQ(image->width, size);
      ASSERT_EQ(image->height, size + 2);
      for (Int y = 0; y < image->height; ++y)
        for (Int x = 0; x < image->width; ++x) {
          const Float32* pixel = image->rgba.GetFirst() + 4 * (y * image->width + x);
          ASSERT_THAT(std::vector<Float32>(pixel, pixel + 4),
                      testing::Pointwise(testing::FloatEq(), ExpectedPngPixel(kind, x, y)))
              << x << ", " << y;
        }
    }
  }
}

TEST(PngTest, WritingAndReadingKeepsEveryEightBitValue) {
  Image image = Image::Create(64, 16).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i)
    image.rgba[i] = static_cast<Float32>((i * 7 + i / 256) % 256) / 255.0f;
  const auto bytes = EncodePng(image);
  ASSERT_TRUE(bytes.IsOk());
  const auto copy = DecodePng(static_cast<const BaseArray<Byte>&>(*bytes).GetBlock());
  ASSERT_TRUE(copy.IsOk());
  ASSERT_EQ(copy->width, 64);
  ASSERT_EQ(copy->height, 16);
  for (Int i = 0; i < image.rgba.GetCount(); ++i) ASSERT_EQ(copy->rgba[i], image.rgba[i]) << i;
}

TEST(PngTest, WrittenValuesAreClampedAndRounded) {
  const Float32 infinity = std::numeric_limits<Float32>::infinity();
  const Float32 values[] = {-1, -infinity, std::nanf(""), 1.5f, infinity, 0.49f / 255, 0.51f / 255, 254.6f / 255};
  const Float32 expected[] = {0, 0, 0, 1, 1, 0, 1.0f / 255, 1};
  Image image = Image::Create(2, 1).GetValue();
  for (Int i = 0; i < 8; ++i) image.rgba[i] = values[i];
  const BaseArray<Byte> bytes = EncodePng(image).GetValue();
  const Image copy = DecodePng(bytes.GetBlock()).GetValue();
  for (Int i = 0; i < 8; ++i) EXPECT_EQ(copy.rgba[i], expected[i]) << values[i];
}

TEST(PngTest, APictureWhoseValuesDoNotFitItsSizeIsNotWritten) {
  Image image = Image::Create(4, 4).GetValue();
  image.width = 5;
  EXPECT_EQ(EncodePng(image).GetError().GetKind(), kIllegalArgumentError);
  EXPECT_EQ(EncodePng(Image()).GetError().GetKind(), kIllegalArgumentError);
  EXPECT_EQ(EncodeExr(image).GetError().GetKind(), kIllegalArgumentError);
}

}  // namespace
}  // namespace ostra
