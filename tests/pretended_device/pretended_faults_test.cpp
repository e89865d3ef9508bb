// Whether the layer loses devices, lets work hang, takes memory away and answers as several devices when the
// environment asks for it. Skipped where there is no software driver.
#include <algorithm>
#include <string_view>

#include "tests/pretended_device/pretended_device_fixture.h"
#include "tests/pretended_device/two_drivers.h"

using namespace ostra::pretended;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using PretendedFaultsTest = PretendedDeviceTest;

TEST_F(PretendedFaultsTest, TheBudgetShrinksWhileTheProgramRuns) {
  OSTRA_START("discrete");
  VkPhysicalDeviceMemoryBudgetPropertiesEXT budget = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_BUDGET_PROPERTIES_EXT};
  VkPhysicalDeviceMemoryProperties2 properties = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_PROPERTIES_2};
  properties.pNext = &budget;
  vkGetPhysicalDeviceMemoryProperties2(_physicalDevice, &properties);
  EXPECT_EQ(budget.heapBudget[0], 256 * kMiB);
  setenv("OSTRA_PRETENDED_BUDGET", "32", 1);
  vkGetPhysicalDeviceMemoryProperties2(_physicalDevice, &properties);
  EXPECT_EQ(budget.heapBudget[0], 32 * kMiB);
  EXPECT_EQ(budget.heapBudget[1], 4096 * kMiB);  // of the host
}

TEST_F(PretendedFaultsTest, DevicesWithHeapsListTheBudgetOnceAndAreMadeWithIt) {
  const auto countBudgets = [&] {
    uint32_t count = 0;
    vkEnumerateDeviceExtensionProperties(_physicalDevice, nullptr, &count, nullptr);
    std::vector<VkExtensionProperties> all(count);
    vkEnumerateDeviceExtensionProperties(_physicalDevice, nullptr, &count, all.data());
    return std::count_if(all.begin(), all.end(), [](const VkExtensionProperties& extension) {
      return std::string_view(extension.extensionName) == VK_EXT_MEMORY_BUDGET_EXTENSION_NAME;
    });
  };
  for (const char* key : {"discrete", "unified"}) {
    OSTRA_START(key);
    EXPECT_EQ(countBudgets(), 1) << key;
    EXPECT_EQ(MakeDevice(nullptr, {VK_EXT_MEMORY_BUDGET_EXTENSION_NAME}), VK_SUCCESS) << key;
    TearDown();
  }
}

TEST_F(PretendedFaultsTest, ADeviceIsLostInTheCallThatIsChosenAndStaysLost) {
  OSTRA_START("discrete");
  setenv("OSTRA_PRETENDED_LOSS", "3", 1);
  for (int round = 0; round < 2; ++round) {  // another device is another count
    ASSERT_EQ(MakeTimelineDevice(), VK_SUCCESS);
    const VkSemaphore semaphore = MakeTimeline();
    uint64_t value = 0;
    EXPECT_EQ(Signal(semaphore, 1), VK_SUCCESS);
    EXPECT_EQ(WaitFor(semaphore, 1, UINT64_MAX), VK_SUCCESS);
    EXPECT_EQ(vkGetSemaphoreCounterValue(_device, semaphore, &value), VK_ERROR_DEVICE_LOST);
    EXPECT_EQ(Signal(semaphore, 2), VK_ERROR_DEVICE_LOST);
    EXPECT_EQ(WaitFor(semaphore, 1, UINT64_MAX), VK_ERROR_DEVICE_LOST);
    EXPECT_EQ(vkDeviceWaitIdle(_device), VK_SUCCESS);
    vkDestroySemaphore(_device, semaphore, nullptr);
    vkDestroyDevice(std::exchange(_device, VK_NULL_HANDLE), nullptr);
  }
  EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(PretendedFaultsTest, WorkHangsFromTheSubmissionThatIsChosenOn) {
  OSTRA_START("discrete");
  setenv("OSTRA_PRETENDED_HANG", "2", 1);
  ASSERT_EQ(MakeTimelineDevice(), VK_SUCCESS);
  const VkSemaphore semaphore = MakeTimeline();
  EXPECT_EQ(Signal(semaphore, 1), VK_SUCCESS);
  EXPECT_EQ(WaitFor(semaphore, 1, UINT64_MAX), VK_SUCCESS);
  EXPECT_EQ(Signal(semaphore, 2), VK_SUCCESS);
  EXPECT_EQ(WaitFor(semaphore, 2, 1000), VK_TIMEOUT);
  EXPECT_THAT(TakeMessages(), IsEmpty());
  vkDeviceWaitIdle(_device);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("vkDeviceWaitIdle would wait for work that never ends")));
  vkDestroySemaphore(_device, semaphore, nullptr);
}

TEST_F(PretendedFaultsTest, ALostDeviceSaysWhereAndOneThatIsNotLostIsNotAsked) {
  OSTRA_START("discrete");
  ASSERT_EQ(MakeTimelineDevice({VK_EXT_DEVICE_FAULT_EXTENSION_NAME}), VK_SUCCESS);
  const auto ask =
      reinterpret_cast<PFN_vkGetDeviceFaultInfoEXT>(vkGetDeviceProcAddr(_device, "vkGetDeviceFaultInfoEXT"));
  ASSERT_TRUE(ask);
  VkDeviceFaultCountsEXT counts = {VK_STRUCTURE_TYPE_DEVICE_FAULT_COUNTS_EXT};
  ask(_device, &counts, nullptr);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("asks a device that is not lost")));
  const VkSemaphore semaphore = MakeTimeline();
  setenv("OSTRA_PRETENDED_LOSS", "1", 1);
  EXPECT_EQ(Signal(semaphore, 1), VK_ERROR_DEVICE_LOST);
  EXPECT_EQ(ask(_device, &counts, nullptr), VK_SUCCESS);
  ASSERT_EQ(counts.addressInfoCount, 1u);
  VkDeviceFaultAddressInfoEXT address = {};
  VkDeviceFaultInfoEXT info = {VK_STRUCTURE_TYPE_DEVICE_FAULT_INFO_EXT};
  info.pAddressInfos = &address;
  EXPECT_EQ(ask(_device, &counts, &info), VK_SUCCESS);
  EXPECT_STREQ(info.description, "pretended fault");
  EXPECT_EQ(address.addressType, VK_DEVICE_FAULT_ADDRESS_TYPE_WRITE_INVALID_EXT);
  EXPECT_THAT(TakeMessages(), IsEmpty());
  vkDestroySemaphore(_device, semaphore, nullptr);
}

// Two driver files name one driver.
TEST_F(PretendedFaultsTest, TwoDevicesOfOneInstanceAnswerAsTwo) {
  OSTRA_START("discrete");
  const TwoDrivers drivers;
  if (!drivers.AreThere())
    GTEST_SKIP() << "The software driver is not a library that this test knows: libvulkan_lvp.so.";
  TearDown();
  OSTRA_START("discrete,unified");
  uint32_t count = 2;
  VkPhysicalDevice devices[2] = {};
  vkEnumeratePhysicalDevices(_instance, &count, devices);
  ASSERT_EQ(count, 2u);
  VkPhysicalDeviceProperties first;
  VkPhysicalDeviceProperties second;
  vkGetPhysicalDeviceProperties(devices[0], &first);
  vkGetPhysicalDeviceProperties(devices[1], &second);
  EXPECT_STREQ(first.deviceName, "Pretended discrete device");
  EXPECT_STREQ(second.deviceName, "Pretended unified device");
  for (const VkPhysicalDevice device : devices) {  // memory is counted by device
    _physicalDevice = device;
    ASSERT_EQ(MakeDevice(), VK_SUCCESS);
    VkDeviceMemory memory;
    EXPECT_EQ(Allocate(0, 200 * kMiB, &memory), VK_SUCCESS);
    vkFreeMemory(_device, memory, nullptr);
    vkDestroyDevice(std::exchange(_device, VK_NULL_HANDLE), nullptr);
  }
  EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(PretendedFaultsTest, WhatNeedsMemoryOfItsOwnIsNotBoundToAnother) {
  OSTRA_START("discrete_visible");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  VkBufferCreateInfo info = {VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
  info.size = kMiB;
  info.usage = VK_BUFFER_USAGE_STORAGE_BUFFER_BIT;
  for (const bool isOwn : {false, true}) {
    VkBuffer buffer;
    ASSERT_EQ(vkCreateBuffer(_device, &info, nullptr, &buffer), VK_SUCCESS);
    VkMemoryDedicatedAllocateInfo alone = {VK_STRUCTURE_TYPE_MEMORY_DEDICATED_ALLOCATE_INFO};
    alone.buffer = buffer;
    VkMemoryAllocateInfo allocation = {VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO, isOwn ? &alone : nullptr, kMiB, 0};
    VkDeviceMemory memory;
    ASSERT_EQ(vkAllocateMemory(_device, &allocation, nullptr, &memory), VK_SUCCESS);
    EXPECT_EQ(vkBindBufferMemory(_device, buffer, memory, 0), VK_SUCCESS);
    EXPECT_EQ(TakeMessages().size(), isOwn ? 0u : 1u);
    vkDestroyBuffer(_device, buffer, nullptr);
    vkFreeMemory(_device, memory, nullptr);
  }
}

}  // namespace
