#include "ostra/image/picture_channels.h"

#include <gmock/gmock.h>

#include <limits>
#include <vector>

#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

using testing::ElementsAre;

constexpr Float32 kNoNumber = std::numeric_limits<Float32>::quiet_NaN();
const std::vector<Float32> kPixels = {0.25f, 0.5f, 1, 0, 2, -1, 0.5f, kNoNumber};

ImageView MakeView(const std::vector<Float32>& pixels) {
  const Int count = static_cast<Int>(pixels.size());
  return {count / 4, 1, Block<const Float32>(pixels.data(), count)};
}

template <class T>
std::vector<T> Take(std::string_view channels, TexelNumber number) {
  const auto texels = TakeChannels(MakeView(kPixels), channels, number);
  EXPECT_THAT(texels, IsOk());
  const T* first = reinterpret_cast<const T*>(texels->GetFirst());
  return {first, first + texels->GetCount() / Int(sizeof(T))};
}

TEST(PictureChannelsTest, ChannelsComeInTheOrderOfTheirLetters) {
  EXPECT_THAT(Take<Float32>("r", TexelNumber::Float32), ElementsAre(0.25f, 2));
  EXPECT_THAT(Take<Float32>("bg", TexelNumber::Float32), ElementsAre(1, 0.5f, 0.5f, -1));
  EXPECT_THAT(Take<Float32>("rrgb", TexelNumber::Float32), ElementsAre(0.25f, 0.25f, 0.5f, 1, 2, 2, -1, 0.5f));
}

TEST(PictureChannelsTest, BytesAreClampedAndRounded) {
  EXPECT_THAT(Take<UInt8>("rgba", TexelNumber::UInt8), ElementsAre(64, 128, 255, 0, 255, 0, 128, 0));
}

TEST(PictureChannelsTest, OtherLettersAreRefused) {
  for (const char* channels : {"", "x", "rgbar", "R"})
    EXPECT_THAT(TakeChannels(MakeView(kPixels), channels, TexelNumber::UInt8), IsErrorOfKind(kIllegalArgumentError))
        << channels;
  EXPECT_THAT(TakeChannels(MakeView(kPixels), "xyz", TexelNumber::UInt8),
              IsErrorWith(kIllegalArgumentError,
                          "\"xyz\" does not name channels of a picture: one to four of r, g, b and a do."));
}

TEST(PictureChannelsTest, GrayPicturesHaveEqualColours) {
  EXPECT_TRUE(IsGray(MakeView({0.5f, 0.5f, 0.5f, 1, 0, 0, 0, 0.25f})));
  EXPECT_FALSE(IsGray(MakeView({0.5f, 0.5f, 0.5f, 1, 0, 0, 0.25f, 1})));
}

TEST(PictureChannelsTest, ExhaustedMemoryIsReported) {
  EXPECT_GT(ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
              OSTRA_RETURN_IF_ERROR(TakeChannels(MakeView(kPixels), "rgb", TexelNumber::Float32));
              return OK;
            }),
            0);
}

}  // namespace
}  // namespace ostra
