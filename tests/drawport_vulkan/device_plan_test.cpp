// Looks inside the backend: decisions that need no device.
#include "ostra/drawport_vulkan/device_plan.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/result_matchers.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

DeviceSnapshot MakeDevice(std::string_view name, DeviceKind kind) {
  DeviceSnapshot device;
  device.name = *String::Create(name);
  device.kind = kind;
  device.majorVersion = 1;
  device.minorVersion = 3;
  device.hasTimelineSemaphores = true;
  EXPECT_THAT(device.queueFamilies.Append(QueueFamilySnapshot{.hasGraphics = true, .hasCompute = true}), IsOk());
  return device;
}

class PlanTest : public testing::Test {
 protected:
  void Add(std::string_view name, DeviceKind kind) { _devices.push_back(MakeDevice(name, kind)); }
  Result<BaseArray<Int>> TryPlan(std::string_view wanted = "") {
    return PlanDevices(Block<const DeviceSnapshot>(_devices.data(), static_cast<Int>(_devices.size())), wanted);
  }
  std::vector<Int> Plan(std::string_view wanted = "") {
    auto order = TryPlan(wanted);
    EXPECT_THAT(order, IsOk());
    return order ? std::vector<Int>(order->begin(), order->end()) : std::vector<Int>();
  }
  std::vector<DeviceSnapshot> _devices;
};

TEST_F(PlanTest, NoDevicesGiveAnEmptyPlan) { EXPECT_THAT(Plan(), IsEmpty()); }

TEST_F(PlanTest, TakesSoftwareLastAndDiscreteDevicesFirst) {
  Add("software", DeviceKind::Software);
  Add("other", DeviceKind::Other);
  Add("virtual", DeviceKind::Virtual);
  Add("integrated", DeviceKind::Integrated);
  Add("discrete", DeviceKind::Discrete);
  Add("second discrete", DeviceKind::Discrete);
  EXPECT_THAT(Plan(), ElementsAre(4, 5, 3, 2, 1, 0));
}

TEST_F(PlanTest, LeavesOutDevicesThatLackWhatIsNeeded) {
  for (int i = 0; i < 6; ++i) Add("device", DeviceKind::Discrete);
  _devices[0].minorVersion = 1;
  _devices[1].hasTimelineSemaphores = false;
  _devices[2].queueFamilies[0].hasCompute = false;
  _devices[3].queueFamilies.Clear();
  _devices[4].majorVersion = 2;
  _devices[4].minorVersion = 0;
  EXPECT_THAT(Plan(), ElementsAre(4, 5));
}

TEST_F(PlanTest, MovesAWantedDeviceToTheFront) {
  Add("Big Device", DeviceKind::Discrete);
  Add("Small Device", DeviceKind::Integrated);
  Add("pipe", DeviceKind::Software);
  EXPECT_THAT(Plan("2"), ElementsAre(2, 0, 1));
  EXPECT_THAT(Plan("PIPE"), ElementsAre(2, 0, 1));
  EXPECT_THAT(Plan("small"), ElementsAre(1, 0, 2));
  EXPECT_THAT(Plan("device"), ElementsAre(0, 1, 2));
}

TEST_F(PlanTest, SaysWhichDevicesThereAreWhenTheWantedOneIsNot) {
  Add("Big Device", DeviceKind::Discrete);
  Add("pipe", DeviceKind::Software);
  EXPECT_THAT(TryPlan("huge"), IsErrorWith(kIllegalArgumentError,
                                           "No usable GPU device is \"huge\". There are: Big Device (0), pipe (1)."));
  EXPECT_THAT(TryPlan("2"), IsErrorOfKind(kIllegalArgumentError));
  _devices.clear();
  EXPECT_THAT(TryPlan("0"), IsErrorWith(kIllegalArgumentError, "No usable GPU device is \"0\". There are: none."));
}

TEST_F(PlanTest, SaysWhatADeviceLacks) {
  for (int i = 0; i < 5; ++i) Add(std::string(1, static_cast<char>('A' + i)), DeviceKind::Discrete);
  _devices[0].minorVersion = 1;
  _devices[1].hasTimelineSemaphores = false;
  _devices[2].queueFamilies[0].hasCompute = false;
  _devices[3].queueFamilies.Clear();
  EXPECT_EQ(FindObstacle(_devices[0]), "older than Vulkan 1.2");
  EXPECT_EQ(FindObstacle(_devices[4]), "");
  EXPECT_EQ(*ListUnusable(Block<const DeviceSnapshot>(_devices.data(), 5)),
            "A (older than Vulkan 1.2), B (no timeline semaphores), C (no queue that computes), "
            "D (no queue that computes)"_s);
  EXPECT_THAT(TryPlan("C"), IsErrorWith(kIllegalArgumentError,
                                        "No usable GPU device is \"C\". There are: A (0, not usable: older than Vulkan "
                                        "1.2), B (1, not usable: no timeline semaphores), C (2, not usable: no queue "
                                        "that computes), D (3, not usable: no queue that computes), E (4)."));
}

TEST_F(PlanTest, PrefersAQueueThatAlsoDraws) {
  DeviceSnapshot device = MakeDevice("d", DeviceKind::Discrete);
  device.queueFamilies.Clear();
  EXPECT_EQ(PlanQueueFamily(device), -1);
  EXPECT_THAT(device.queueFamilies.Append(QueueFamilySnapshot{true, false}), IsOk());
  EXPECT_THAT(device.queueFamilies.Append(QueueFamilySnapshot{false, true}), IsOk());
  EXPECT_EQ(PlanQueueFamily(device), 1);
  EXPECT_THAT(device.queueFamilies.Append(QueueFamilySnapshot{true, true}), IsOk());
  EXPECT_EQ(PlanQueueFamily(device), 2);
}

TEST_F(PlanTest, ADeviceDrawsWithAQueueForItAndPassesThatBegin) {
  DeviceSnapshot device = MakeDevice("d", DeviceKind::Discrete);
  EXPECT_FALSE(CanDraw(device));
  for (const RenderingSupport rendering : {RenderingSupport::Extension, RenderingSupport::Core}) {
    device.rendering = rendering;
    EXPECT_TRUE(CanDraw(device));
  }
  device.queueFamilies.Clear();
  EXPECT_FALSE(CanDraw(device));
  EXPECT_THAT(device.queueFamilies.Append(QueueFamilySnapshot{true, false}), IsOk());
  EXPECT_THAT(device.queueFamilies.Append(QueueFamilySnapshot{false, true}), IsOk());
  EXPECT_FALSE(CanDraw(device));  // one family draws, another one computes
}

// Memory as a discrete device has it: its own, the host's, and a window into its own of the given size.
DeviceSnapshot MakeMemory(Int windowSize) {
  constexpr Int kGiB = Int(1) << 30;
  DeviceSnapshot device = MakeDevice("d", DeviceKind::Discrete);
  for (const auto& heap : {MemoryHeapSnapshot{8 * kGiB, true}, {16 * kGiB, false}, {windowSize, true}})
    EXPECT_THAT(device.heaps.Append(heap), IsOk());
  for (const auto& type : {MemoryTypeSnapshot{0, true, false, false},
                           {1, false, true, false},
                           {1, false, true, true},
                           {2, true, true, false}})
    EXPECT_THAT(device.memoryTypes.Append(type), IsOk());
  return device;
}

TEST(MemoryPlan, KeepsBuffersOffASmallWindow) {
  const DeviceSnapshot device = MakeMemory(Int(256) << 20);
  EXPECT_EQ(PlanMemoryType(device, MemoryUse::Device, 15), 0);
  EXPECT_EQ(PlanMemoryType(device, MemoryUse::Device, 14), 3);
  EXPECT_EQ(PlanMemoryType(device, MemoryUse::Device, 6), 1);
  EXPECT_EQ(PlanBudgetHeap(device), 0);
}

TEST(MemoryPlan, UsesMemoryThatTheHostSeesWhereItIsAsLargeAsTheRest) {
  EXPECT_EQ(PlanMemoryType(MakeMemory(Int(8) << 30), MemoryUse::Device, 15), 3);
}

TEST(MemoryPlan, NeverTakesMemoryWithPropertiesThatNobodyAskedFor) {
  DeviceSnapshot device = MakeMemory(Int(256) << 20);
  for (MemoryTypeSnapshot type : {MemoryTypeSnapshot{0, true, false, false}, {1, false, true, true}}) {
    type.isSpecial = true;
    EXPECT_THAT(device.memoryTypes.Append(type), IsOk());
  }
  for (const MemoryUse use : {MemoryUse::Device, MemoryUse::Upload, MemoryUse::ReadBack})
    EXPECT_EQ(PlanMemoryType(device, use, 0b110000), -1);
  EXPECT_EQ(PlanMemoryType(device, MemoryUse::Device, 0b110010), 1);
}

TEST(MemoryPlan, OnlyTheHostsMemoryIsSlowForADeviceAndUncachedMemoryForReading) {
  const DeviceSnapshot device = MakeMemory(Int(256) << 20);
  EXPECT_TRUE(IsSlower(device, MemoryUse::Device, 0, 1));
  EXPECT_FALSE(IsSlower(device, MemoryUse::Device, 0, 3));
  EXPECT_TRUE(IsSlower(device, MemoryUse::ReadBack, 2, 1));
  EXPECT_FALSE(IsSlower(device, MemoryUse::ReadBack, 2, 2));
  EXPECT_FALSE(IsSlower(device, MemoryUse::Upload, 1, 3));
}

TEST(MemoryPlan, ReadsBackFromCachedMemoryOfTheHost) {
  const DeviceSnapshot device = MakeMemory(Int(256) << 20);
  EXPECT_EQ(PlanMemoryType(device, MemoryUse::Upload, 15), 1);
  EXPECT_EQ(PlanMemoryType(device, MemoryUse::ReadBack, 15), 2);
  EXPECT_EQ(PlanMemoryType(device, MemoryUse::ReadBack, 1), -1);
}

}  // namespace
