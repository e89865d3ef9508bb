// What holds for the readers of all kinds of pictures.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "ostra/core/memory.h"
#include "ostra/image/image.h"
#include "tests/image/sample_files.h"

namespace ostra {

// Decodes and checks that a success has a sound picture and a failure a message.
template <class Decode>
Bool IsDecoded(const Decode& decode, const std::string& bytes) {
  const auto image = decode(BlockOf(bytes));
  if (!image.IsOk()) {
    EXPECT_TRUE(image.GetError().GetMessage().IsPopulated());
    return false;
  }
  EXPECT_EQ(image->rgba.GetCount(), 4 * image->width * image->height);
  return true;
}

template <class Work>
void ExpectOutOfMemoryAtEveryAllocation(const Work& work) {
  for (Int n = 1;; ++n) {
    const Int live = AllocationFaults::GetLiveCount();
    AllocationFaults::FailNth(n);
    Bool isOk = false;
    {
      const auto result = work();
      isOk = result.IsOk();
      const Bool hasFired = AllocationFaults::HasFired();
      AllocationFaults::Disable();
      if (!hasFired) {
        EXPECT_TRUE(isOk);
        EXPECT_GT(n, 2);
        return;
      }
      if (!isOk) {
        EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError)
            << n << ": " << result.GetError().GetMessage().GetView();
      }
    }
    EXPECT_FALSE(isOk) << n;
    EXPECT_EQ(AllocationFaults::GetLiveCount(), live) << n;
  }
}

}  // namespace ostra
