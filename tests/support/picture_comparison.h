// Pictures that tests have drawn, compared with stored ones.
//
//   EXPECT_TRUE(IsPictureAsBefore(image, OSTRA_TEST_PICTURES "/torus.png", {.steps = 6}));
//
// Drivers round differently at edges, so every channel of a pixel may differ by some steps of 8 bits, and a few pixels
// by more. Of a picture that differs more, what was drawn, what was expected and where they differ is left in the
// current folder as NAME.actual.png, NAME.expected.png and NAME.difference.png. With OSTRA_UPDATE_GOLDEN set in the
// environment the stored pictures are written instead; look at them before committing.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "ostra/image/image.h"

namespace ostra {

struct PictureTolerance {
  Int steps = 4;               // of 255, in each of red, green, blue and alpha
  Float64 pixelShare = 0.002;  // of the pixels that may differ by more
};

struct PictureDifference {
  Int largest = 0;     // steps
  Int pixelCount = 0;  // that differ by more than the tolerance
  Image picture;       // how far each channel is off, eight times as bright
};

// Of pictures of one size. Values are rounded to steps and clamped to 0 ... 255 first, as files hold them.
Result<PictureDifference> ComparePictures(const Image& actual, const Image& expected, Int steps);

// `leaveIn` is where the three pictures are left.
testing::AssertionResult IsPictureAsBefore(const Image& actual, const std::string& stored,
                                           const PictureTolerance& tolerance = {}, const std::string& leaveIn = ".");

}  // namespace ostra
