// The comparison of pictures that other tests rely on: it must see what differs.
#include "tests/support/picture_comparison.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::HasSubstr;

// One colour, but for the first pixels.
Image MakePicture(Float32 value, Int count = 0, Float32 other = 0) {
  Image image = Image::Create(10, 10).GetValue();
  for (Int i = 0; i < 400; ++i) image.rgba[i] = i < 4 * count ? other : value;
  return image;
}

class PictureComparisonTest : public testing::Test {
 protected:
  void SetUp() override { unsetenv("OSTRA_UPDATE_GOLDEN"); }

  testing::AssertionResult Compare(const Image& actual, const PictureTolerance& tolerance) {
    return IsPictureAsBefore(actual, _folder / "stored.png", tolerance, _folder.GetPath().string());
  }
  Bool IsLeft(const char* name) const { return std::filesystem::exists(_folder / name); }
  void Store(const Image& image) { ASSERT_THAT(WriteImage(_folder.MakeUrl("stored.png"), image), IsOk()); }

  const TemporaryFolder _folder;
};

TEST_F(PictureComparisonTest, TheSamePictureIsAsBeforeAndLeavesNothing) {
  Store(MakePicture(0.5f));
  EXPECT_TRUE(Compare(MakePicture(0.5f), {.steps = 0, .pixelShare = 0}));
  EXPECT_FALSE(IsLeft("stored.actual.png"));
}

TEST_F(PictureComparisonTest, StepsWithinTheToleranceAreNoDifference) {
  Store(MakePicture(100.0f / 255.0f));
  EXPECT_TRUE(Compare(MakePicture(104.0f / 255.0f), {.steps = 4, .pixelShare = 0}));
  EXPECT_FALSE(Compare(MakePicture(105.0f / 255.0f), {.steps = 4, .pixelShare = 0}));
}

TEST_F(PictureComparisonTest, AFewPixelsMayDiffer) {
  Store(MakePicture(0.5f));
  EXPECT_TRUE(Compare(MakePicture(0.5f, 2, 1.0f), {.steps = 4, .pixelShare = 0.02}));
  EXPECT_FALSE(Compare(MakePicture(0.5f, 3, 1.0f), {.steps = 4, .pixelShare = 0.02}));
}

TEST_F(PictureComparisonTest, AFailureLeavesWhatWasDrawnWhatWasExpectedAndWhereTheyDiffer) {
  Store(MakePicture(0.5f));
  Image actual = MakePicture(0.5f);
  actual.rgba[4 * 55 + 1] = 1;
  const testing::AssertionResult result = Compare(actual, {.steps = 4, .pixelShare = 0});
  EXPECT_FALSE(result);
  EXPECT_THAT(result.message(), HasSubstr("1 pixels (1 %) differ by more than 4 steps, at most by 127"));
  const Image left = ReadImage(_folder.MakeUrl("stored.actual.png")).GetValue();
  EXPECT_EQ(left.rgba[4 * 55 + 1], 1);
  EXPECT_NEAR(ReadImage(_folder.MakeUrl("stored.expected.png")).GetValue().rgba[4 * 55 + 1], 0.5, 0.01);
  const Image difference = ReadImage(_folder.MakeUrl("stored.difference.png")).GetValue();
  for (Int i = 0; i < 400; ++i) EXPECT_EQ(difference.rgba[i], i == 4 * 55 + 1 || i % 4 == 3 ? 1 : 0) << i;
}

TEST_F(PictureComparisonTest, AlphaCounts) {
  Store(MakePicture(1));
  Image actual = MakePicture(1);
  actual.rgba[3] = 0;
  EXPECT_FALSE(Compare(actual, {.steps = 4, .pixelShare = 0}));
  EXPECT_EQ(ReadImage(_folder.MakeUrl("stored.difference.png")).GetValue().rgba[0], 1);
}

TEST_F(PictureComparisonTest, AnotherSizeAndAMissingPictureFail) {
  EXPECT_THAT(Compare(MakePicture(1), {}).message(), HasSubstr("No such file"));
  EXPECT_TRUE(IsLeft("stored.actual.png"));
  Store(Image::Create(4, 3).GetValue());
  EXPECT_THAT(Compare(MakePicture(1), {}).message(), HasSubstr("it has 4 x 3 pixels, and what was drawn 10 x 10"));
}

TEST_F(PictureComparisonTest, PicturesAreRenewedOnDemand) {
  setenv("OSTRA_UPDATE_GOLDEN", "1", 1);
  EXPECT_TRUE(Compare(MakePicture(1), {}));
  unsetenv("OSTRA_UPDATE_GOLDEN");
  EXPECT_TRUE(Compare(MakePicture(1), {.steps = 0, .pixelShare = 0}));
}

}  // namespace
}  // namespace ostra
