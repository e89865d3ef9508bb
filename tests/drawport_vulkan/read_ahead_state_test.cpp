// ReadAhead and FindNextRegion, without a device.
#include "ostra/drawport_vulkan/read_ahead.h"

#include <gtest/gtest.h>

#include "ostra/drawport/settings.h"

namespace ostra::test {
namespace {

using vulkan::DeviceRef;
using vulkan::DeviceResource;
using vulkan::FindNextRegion;
using vulkan::ReadAhead;
using vulkan::StagingMemory;

constexpr UInt64 kStamp = 7, kSubmitted = 20;

class ReadAheadStateTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& resource : {_resource, _other}) {
      resource->BeginUse(kStamp);
      resource->NoteSubmission(1, kSubmitted);
    }
    _memory.isMapped = true;
    _ahead.Note(*_resource, kRegion, _memory, {kStamp, kSubmitted, _resource->GetHostWrites()});
  }

  static constexpr DrawportRegion kRegion = {{16, 0, 0}, {16, 1, 1}};
  const StrongRef<DeviceResource> _resource = StrongRef<DeviceResource>::Adopt(NewObj<DeviceResource>(DeviceRef()));
  const StrongRef<DeviceResource> _other = StrongRef<DeviceResource>::Adopt(NewObj<DeviceResource>(DeviceRef()));
  StagingMemory _memory;
  ReadAhead _ahead;
};

TEST_F(ReadAheadStateTest, WhatWasCopiedIsTakenOnce) {
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), &_memory);
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), nullptr);
  _ahead.Drop();
  EXPECT_TRUE(_memory.isMapped) << "the caller of Take frees it";
}

TEST_F(ReadAheadStateTest, OtherRegionsAndResourcesAreNotTaken) {
  EXPECT_EQ(_ahead.Take(*_other, kRegion), nullptr);
  EXPECT_EQ(_ahead.Take(*_resource, {{16, 0, 0}, {15, 1, 1}}), nullptr);
  EXPECT_EQ(_ahead.Take(*_resource, {{16, 1, 0}, {16, 1, 1}}), nullptr);
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), &_memory);
}

TEST_F(ReadAheadStateTest, WhatMayHaveChangedIsNotTaken) {
  _resource->NoteHostWrite();
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), nullptr);
  _ahead.Note(*_resource, kRegion, _memory, {kStamp, kSubmitted, _resource->GetHostWrites()});
  _resource->NoteSubmission(2, kSubmitted + 1);
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), nullptr);
  _resource->NoteSubmission(1, kSubmitted);
  _resource->BeginUse(kStamp + 1);
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), nullptr) << "other work with it was recorded";
}

TEST_F(ReadAheadStateTest, RowsWithAnotherDistanceAreNotTaken) {
  SetDrawportRowAlignment(256);
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), nullptr);
  SetDrawportRowAlignment(1);
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), &_memory);
}

TEST_F(ReadAheadStateTest, DroppedMemoryIsFree) {
  _ahead.Drop();
  EXPECT_FALSE(_memory.isMapped);
  EXPECT_EQ(_ahead.Take(*_resource, kRegion), nullptr);
}

void ExpectNext(const DrawportExtent& whole, const DrawportRegion& region, const DrawportRegion& expected) {
  const DrawportRegion next = FindNextRegion(whole, region);
  const auto list = [](const DrawportRegion& r) {
    return std::vector<Int>{r.origin.x, r.origin.y, r.origin.z, r.extent.width, r.extent.height, r.extent.depth};
  };
  EXPECT_EQ(list(next), list(expected));
}
constexpr DrawportRegion kNone = {{}, {0, 0, 0}};

TEST(NextRegionTest, BytesFollowBytes) {
  ExpectNext({100, 1, 1}, {{0, 0, 0}, {40, 1, 1}}, {{40, 0, 0}, {40, 1, 1}});
  ExpectNext({100, 1, 1}, {{40, 0, 0}, {40, 1, 1}}, {{80, 0, 0}, {20, 1, 1}});
  ExpectNext({100, 1, 1}, {{80, 0, 0}, {20, 1, 1}}, kNone);
}

TEST(NextRegionTest, RowsFollowRowsAndSlicesSlices) {
  ExpectNext({8, 10, 1}, {{0, 0, 0}, {8, 4, 1}}, {{0, 4, 0}, {8, 4, 1}});
  ExpectNext({8, 10, 1}, {{0, 4, 0}, {8, 4, 1}}, {{0, 8, 0}, {8, 2, 1}});
  ExpectNext({8, 10, 1}, {{0, 8, 0}, {8, 2, 1}}, kNone);
  ExpectNext({8, 10, 5}, {{0, 0, 0}, {8, 10, 2}}, {{0, 0, 2}, {8, 10, 2}});
  ExpectNext({8, 10, 5}, {{0, 0, 2}, {8, 10, 2}}, {{0, 0, 4}, {8, 10, 1}});
  ExpectNext({8, 10, 5}, {{0, 0, 4}, {8, 10, 1}}, kNone);
}

TEST(NextRegionTest, PartsOfRowsAreNotFollowed) { ExpectNext({8, 10, 1}, {{0, 0, 0}, {4, 4, 1}}, kNone); }

}  // namespace
}  // namespace ostra::test
