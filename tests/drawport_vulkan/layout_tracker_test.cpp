// Which images change their layout for transfers, and when they change back.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>

#include "ostra/drawport_vulkan/barrier_tracker.h"

namespace ostra::test {
namespace {

using vulkan::LayoutTracker;

constexpr VkImageLayout kSampled = VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;
constexpr VkImageLayout kWritten = VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
constexpr VkImageLayout kRead = VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL;

TEST(LayoutTrackerTest, TheGeneralLayoutServesTransfersToo) {
  LayoutTracker tracker;
  const Byte image{};
  EXPECT_FALSE(tracker.BeforeTransfer(&image, VK_IMAGE_LAYOUT_GENERAL, true));
  EXPECT_TRUE(tracker.IsEmpty());
  EXPECT_EQ(LayoutTracker::GetTransferLayout(VK_IMAGE_LAYOUT_GENERAL, false), VK_IMAGE_LAYOUT_GENERAL);
}

TEST(LayoutTrackerTest, SeveralTransfersInOneDirectionChangeTheLayoutOnce) {
  LayoutTracker tracker;
  const Byte image{};
  const auto first = tracker.BeforeTransfer(&image, kSampled, true);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->image, &image);
  EXPECT_EQ(first->from, kSampled);
  EXPECT_EQ(first->to, kWritten);
  EXPECT_FALSE(tracker.BeforeTransfer(&image, kSampled, true));
  const auto back = tracker.BeforeTransfer(&image, kSampled, false);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->from, kWritten);
  EXPECT_EQ(back->to, kRead);
  const LayoutTracker::Changes home = tracker.TakeHome();
  ASSERT_EQ(home.count, 1);
  EXPECT_EQ(home.items[0].from, kRead);
  EXPECT_EQ(home.items[0].to, kSampled);
  EXPECT_EQ(tracker.TakeHome().count, 0);
}

TEST(LayoutTrackerTest, ADroppedBatchHasChangedNothing) {
  LayoutTracker tracker;
  const Byte image{};
  EXPECT_TRUE(tracker.BeforeTransfer(&image, kSampled, true));
  tracker.Forget();
  EXPECT_TRUE(tracker.IsEmpty());
  EXPECT_TRUE(tracker.BeforeTransfer(&image, kSampled, true));
}

// Layouts that are changed as the tracker says, beside those that transfers need.
TEST(LayoutTrackerTest, RandomTransfersFindTheLayoutThatTheyNeed) {
  std::mt19937 random(7);
  LayoutTracker tracker;
  const std::array<Byte, 20> images{};
  std::map<const void*, VkImageLayout> layouts;
  for (const Byte& image : images) layouts[&image] = kSampled;
  const auto apply = [&](const LayoutTracker::Change& change) {
    EXPECT_EQ(layouts[change.image], change.from);
    layouts[change.image] = change.to;
  };
  for (int i = 0; i < 10000; ++i) {
    const Byte& image = images[random() % images.size()];
    const bool isWrite = random() % 2 == 0;
    if (tracker.IsFull() || random() % 50 == 0) {
      for (const LayoutTracker::Change& next : tracker.TakeHome()) apply(next);
      for (const auto& [key, layout] : layouts) ASSERT_EQ(layout, kSampled);
    }
    if (const auto next = tracker.BeforeTransfer(&image, kSampled, isWrite)) apply(*next);
    ASSERT_EQ(layouts[&image], isWrite ? kWritten : kRead);
  }
}

}  // namespace
}  // namespace ostra::test
