#include "tests/support/picture_comparison.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace ostra {

namespace {

Int ToStep(Float32 value) {
  return std::isnan(value) ? 0 : static_cast<Int>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
}

std::string DescribeSize(const Image& image) {
  return std::to_string(image.width) + " x " + std::to_string(image.height);
}

Result<void> Write(const std::string& file, const Image& image) {
  OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(file));
  return WriteImage(url, image);
}

testing::AssertionResult Fail(const Result<void>& result) {
  return testing::AssertionFailure() << result.GetError().GetMessage().GetView();
}

}  // namespace

Result<PictureDifference> ComparePictures(const Image& actual, const Image& expected, Int steps) {
  PictureDifference difference;
  OSTRA_ASSIGN_OR_RETURN(difference.picture, Image::Create(expected.width, expected.height));
  for (Int pixel = 0; pixel < expected.width * expected.height; ++pixel) {
    Int largest = 0;
    for (Int i = 4 * pixel; i < 4 * pixel + 4; ++i) {
      const Int away = std::abs(ToStep(actual.rgba[i]) - ToStep(expected.rgba[i]));
      largest = std::max(largest, away);
      // A difference in alpha shows in all colours: the picture itself is opaque.
      const Float32 shown = std::min(1.0f, static_cast<Float32>(8 * away) / 255.0f);
      if (i < 4 * pixel + 3)
        difference.picture.rgba[i] = shown;
      else
        for (Int k = 4 * pixel; k < i; ++k) difference.picture.rgba[k] = std::max(difference.picture.rgba[k], shown);
    }
    difference.picture.rgba[4 * pixel + 3] = 1;
    difference.largest = std::max(difference.largest, largest);
    if (largest > steps) ++difference.pixelCount;
  }
  return difference;
}

testing::AssertionResult IsPictureAsBefore(const Image& actual, const std::string& stored,
                                           const PictureTolerance& tolerance, const std::string& leaveIn) {
  if (std::getenv("OSTRA_UPDATE_GOLDEN")) {
    const auto written = Write(stored, actual);
    return written ? testing::AssertionSuccess() : Fail(written);
  }
  const std::string left = leaveIn + "/" + std::filesystem::path(stored).stem().string();
  const std::string actualFile = left + ".actual.png";
  const auto expected = ReadImage(Url::Create(stored).GetValue());
  if (!expected || expected->width != actual.width || expected->height != actual.height) {
    const auto written = Write(actualFile, actual);
    if (!written) return Fail(written);
    const std::string reason =
        expected ? "it has " + DescribeSize(*expected) + " pixels, and what was drawn " + DescribeSize(actual)
                 : std::string(expected.GetError().GetMessage().GetView());
    return testing::AssertionFailure() << stored << ": " << reason << "; see " << actualFile;
  }
  const auto difference = ComparePictures(actual, *expected, tolerance.steps);
  if (!difference) return testing::AssertionFailure() << difference.GetError().GetMessage().GetView();
  const Float64 share =
      static_cast<Float64>(difference->pixelCount) / static_cast<Float64>(actual.width * actual.height);
  if (share <= tolerance.pixelShare) return testing::AssertionSuccess();
  for (const auto& [file, image] : {std::pair(actualFile, &actual), std::pair(left + ".expected.png", &*expected),
                                    std::pair(left + ".difference.png", &difference->picture)})
    if (const auto written = Write(file, *image); !written) return Fail(written);
  return testing::AssertionFailure() << stored << ": " << difference->pixelCount << " pixels (" << 100 * share
                                     << " %) differ by more than " << tolerance.steps << " steps, at most by "
                                     << difference->largest << "; see " << left << ".difference.png";
}

}  // namespace ostra
