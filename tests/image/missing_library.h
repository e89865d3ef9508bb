// What reading and writing give in a build without the library of a kind of picture.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/image/image.h"

namespace ostra {

inline void ExpectMissing(const std::string& package, const Result<Image>& read,
                          const Result<BaseArray<Byte>>& written) {
  ASSERT_FALSE(read.IsOk());
  ASSERT_FALSE(written.IsOk());
  for (const Error* error : {&read.GetError(), &written.GetError()})
    EXPECT_THAT(std::string(error->GetMessage().GetView()), testing::HasSubstr("install the package " + package));
}

}  // namespace ostra
