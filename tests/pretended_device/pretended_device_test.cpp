// Whether the layer notices calls that use what the pretended device does not have: what it is there to find is done
// wrong here once. Skipped where there is no software driver.
#include "tests/pretended_device/pretended_device_fixture.h"

using namespace ostra::pretended;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

TEST_F(PretendedDeviceTest, AnswersWhatStandsInTheTable) {
  OSTRA_START("discrete");
  const VkPhysicalDeviceProperties properties = GetProperties();
  EXPECT_STREQ(properties.deviceName, "Pretended discrete device");
  EXPECT_EQ(properties.deviceType, VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU);
  EXPECT_EQ(properties.limits.minUniformBufferOffsetAlignment, 256u);
  VkPhysicalDeviceMemoryProperties memory;
  vkGetPhysicalDeviceMemoryProperties(_physicalDevice, &memory);
  EXPECT_EQ(memory.memoryTypeCount, 3u);
  EXPECT_EQ(memory.memoryTypes[0].propertyFlags, VkMemoryPropertyFlags{VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT});
  EXPECT_EQ(memory.memoryHeaps[0].size, 256 * kMiB);
}

TEST_F(PretendedDeviceTest, MemoryThatTheHostDoesNotSeeIsNotMapped) {
  OSTRA_START("discrete");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  for (const uint32_t type : {0u, 1u}) {
    VkDeviceMemory memory;
    void* mapped = nullptr;
    ASSERT_EQ(Allocate(type, kMiB, &memory), VK_SUCCESS);
    EXPECT_EQ(vkMapMemory(_device, memory, 0, kMiB, 0, &mapped), type == 0 ? VK_ERROR_MEMORY_MAP_FAILED : VK_SUCCESS);
    vkFreeMemory(_device, memory, nullptr);
    if (type == 0)
      EXPECT_THAT(TakeMessages(),
                  ElementsAre(StartsWith("Violation of the pretended device \"discrete\": vkMapMemory")));
    else
      EXPECT_THAT(TakeMessages(), IsEmpty());
  }
}

TEST_F(PretendedDeviceTest, HeapsEndAndTheirBudgetSaysSo) {
  OSTRA_START("discrete");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  VkDeviceMemory first;
  VkDeviceMemory second;
  ASSERT_EQ(Allocate(0, 200 * kMiB, &first), VK_SUCCESS);
  EXPECT_EQ(Allocate(0, 100 * kMiB, &second), VK_ERROR_OUT_OF_DEVICE_MEMORY);
  VkPhysicalDeviceMemoryBudgetPropertiesEXT budget = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_BUDGET_PROPERTIES_EXT};
  VkPhysicalDeviceMemoryProperties2 properties = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_PROPERTIES_2};
  properties.pNext = &budget;
  vkGetPhysicalDeviceMemoryProperties2(_physicalDevice, &properties);
  EXPECT_EQ(budget.heapUsage[0], 200 * kMiB);
  vkFreeMemory(_device, first, nullptr);
  EXPECT_EQ(Allocate(0, 100 * kMiB, &second), VK_SUCCESS);
  vkFreeMemory(_device, second, nullptr);
  EXPECT_THAT(TakeMessages(), IsEmpty());  // a full heap is nothing wrong
  EXPECT_NE(Allocate(0, 300 * kMiB, &second), VK_SUCCESS);
  EXPECT_NE(Allocate(3, kMiB, &second), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("of a heap of 268435456"), HasSubstr("the memory type 3")));
}

TEST_F(PretendedDeviceTest, FeaturesThatAreNotOfferedAreRefused) {
  OSTRA_START("no_half_arithmetic");
  VkPhysicalDeviceVulkan12Features features = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
  VkPhysicalDeviceFeatures2 all = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
  all.pNext = &features;
  vkGetPhysicalDeviceFeatures2(_physicalDevice, &all);
  EXPECT_FALSE(features.shaderFloat16);
  EXPECT_FALSE(all.features.shaderInt16);
  EXPECT_TRUE(features.timelineSemaphore);
  VkPhysicalDeviceFeatures2 wants = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
  wants.features.shaderInt16 = VK_TRUE;
  EXPECT_EQ(MakeDevice(&wants), VK_ERROR_FEATURE_NOT_PRESENT);
  VkPhysicalDeviceShaderFloat16Int8Features wants16 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SHADER_FLOAT16_INT8_FEATURES};
  wants16.shaderFloat16 = VK_TRUE;
  EXPECT_EQ(MakeDevice(&wants16), VK_ERROR_FEATURE_NOT_PRESENT);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("of VkPhysicalDeviceFeatures"),
                                          HasSubstr("flag 1 of VkPhysicalDeviceShaderFloat16Int8Features")));
  EXPECT_EQ(MakeDevice(&all), VK_SUCCESS);  // what was answered can be had
  EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(PretendedDeviceTest, ExtensionsThatAreNotListedAreRefused) {
  OSTRA_START("vulkan12");
  EXPECT_EQ(MakeDevice(nullptr, {VK_KHR_DYNAMIC_RENDERING_EXTENSION_NAME}), VK_ERROR_EXTENSION_NOT_PRESENT);
  VkPhysicalDeviceVulkan13Features newer = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES};
  newer.synchronization2 = VK_TRUE;
  EXPECT_EQ(MakeDevice(&newer), VK_ERROR_FEATURE_NOT_PRESENT);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("of VkPhysicalDeviceVulkan13Features")));
}

TEST_F(PretendedDeviceTest, FunctionsOfANewerVersionAreNotCalled) {
  OSTRA_START("vulkan12");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  const auto destroy =
      reinterpret_cast<PFN_vkDestroyPrivateDataSlot>(vkGetDeviceProcAddr(_device, "vkDestroyPrivateDataSlot"));
  testing::internal::CaptureStderr();
  if (destroy) destroy(_device, VK_NULL_HANDLE, nullptr);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a call of vkDestroyPrivateDataSlot"));
}

TEST_F(PretendedDeviceTest, PortabilityDevicesAreSeenByThoseWhoAskForThem) {
  OSTRA_START("portability");
  EXPECT_EQ(MakeDevice(), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("does not ask for VK_KHR_portability_subset")));
  vkDestroyDevice(_device, nullptr);
  EXPECT_EQ(MakeDevice(nullptr, {"VK_KHR_portability_subset"}), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(), IsEmpty());
  TearDown();
  Start("portability");
  EXPECT_EQ(_started, VK_ERROR_INCOMPATIBLE_DRIVER);
}

TEST_F(PretendedDeviceTest, SizesAreHeldAgainstTheLimits) {
  OSTRA_START("least_limits");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  VkBufferCreateInfo buffer = {VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
  buffer.size = 1024 * kMiB + 1;
  buffer.usage = VK_BUFFER_USAGE_STORAGE_BUFFER_BIT;
  VkBuffer made;
  EXPECT_NE(vkCreateBuffer(_device, &buffer, nullptr, &made), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("vkCreateBuffer makes a buffer of 1073741825 bytes")));
  VkImageCreateInfo image = {VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
  image.imageType = VK_IMAGE_TYPE_3D;
  image.format = VK_FORMAT_R8_UNORM;
  image.extent = {4, 4, 257};
  image.mipLevels = image.arrayLayers = 1;
  image.samples = VK_SAMPLE_COUNT_1_BIT;
  image.usage = VK_IMAGE_USAGE_SAMPLED_BIT;
  VkImage picture;
  EXPECT_NE(vkCreateImage(_device, &image, nullptr, &picture), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("an image that is too large")));
  image.extent.depth = 256;
  ASSERT_EQ(vkCreateImage(_device, &image, nullptr, &picture), VK_SUCCESS);
  vkDestroyImage(_device, picture, nullptr);
  EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(PretendedDeviceTest, QueuesAreThoseOfTheirFamily) {
  OSTRA_START("queue_families");
  EXPECT_NE(MakeDevice(nullptr, {}, 3), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("queues of the family 3")));
  ASSERT_EQ(MakeDevice(nullptr, {}, 2), VK_SUCCESS);
  VkCommandPoolCreateInfo info = {VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
  VkCommandPool pool;
  for (info.queueFamilyIndex = 1; info.queueFamilyIndex <= 2; ++info.queueFamilyIndex) {
    ASSERT_EQ(vkCreateCommandPool(_device, &info, nullptr, &pool), VK_SUCCESS);
    vkDestroyCommandPool(_device, pool, nullptr);
  }
  VkQueue queue;
  vkGetDeviceQueue(_device, 0, 0, &queue);
  vkGetDeviceQueue(_device, 2, 0, &queue);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("vkCreateCommandPool"), HasSubstr("vkGetDeviceQueue")));
}

TEST_F(PretendedDeviceTest, FormatsLackWhatTheTableTakesAway) {
  OSTRA_START("no_float_filter");
  VkFormatProperties properties;
  vkGetPhysicalDeviceFormatProperties(_physicalDevice, VK_FORMAT_R32_SFLOAT, &properties);
  EXPECT_EQ(properties.optimalTilingFeatures & VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT, 0u);
  EXPECT_NE(properties.optimalTilingFeatures & VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT, 0u);
  vkGetPhysicalDeviceFormatProperties(_physicalDevice, VK_FORMAT_R16_SFLOAT, &properties);
  EXPECT_NE(properties.optimalTilingFeatures & VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT, 0u);
}

TEST_F(PretendedDeviceTest, WorkGroupsAreCountedAgainstTheLimits) {
  OSTRA_START("least_limits");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  VkCommandPool pool;
  const VkCommandBuffer commands = BeginCommands(&pool);
  vkCmdDispatch(commands, 65535, 65535, 65535);
  EXPECT_THAT(TakeMessages(), IsEmpty());
  for (const uint32_t wide : {0, 1, 2}) {
    vkCmdDispatch(commands, wide == 0 ? 65536 : 1, wide == 1 ? 65536 : 1, wide == 2 ? 65536 : 1);
    EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("vkCmdDispatch has more work groups than the device takes")));
  }
  vkDestroyCommandPool(_device, pool, nullptr);
}

TEST_F(PretendedDeviceTest, ImagesAreOfAUseThatTheirFormatHas) {
  OSTRA_START("phone");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  VkImageCreateInfo info = {VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
  info.imageType = VK_IMAGE_TYPE_2D;
  info.format = VK_FORMAT_R8_UNORM;
  info.extent = {4, 4, 1};
  info.mipLevels = info.arrayLayers = 1;
  info.samples = VK_SAMPLE_COUNT_1_BIT;
  info.usage = VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_STORAGE_BIT;
  VkImage image;
  EXPECT_NE(vkCreateImage(_device, &info, nullptr, &image), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("an image of a use that its format does not have")));
  info.usage = VK_IMAGE_USAGE_SAMPLED_BIT;
  ASSERT_EQ(vkCreateImage(_device, &info, nullptr, &image), VK_SUCCESS);
  vkDestroyImage(_device, image, nullptr);
  EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(PretendedDeviceTest, PiecesOfMemoryAreCounted) {
  OSTRA_START("nvidia");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  std::vector<VkDeviceMemory> pieces(GetProperties().limits.maxMemoryAllocationCount);
  for (VkDeviceMemory& piece : pieces) ASSERT_EQ(Allocate(0, 4096, &piece), VK_SUCCESS);
  VkDeviceMemory beyond;
  EXPECT_NE(Allocate(0, 4096, &beyond), VK_SUCCESS);
  EXPECT_THAT(TakeMessages(),
              ElementsAre(HasSubstr("vkAllocateMemory makes more pieces than the device has room for")));
  for (const VkDeviceMemory piece : pieces) vkFreeMemory(_device, piece, nullptr);
}

TEST_F(PretendedDeviceTest, WhatAPortabilityDeviceLacksIsRefused) {
  OSTRA_START("portability");
  VkPhysicalDevicePortabilitySubsetFeaturesKHR subset = {
      VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PORTABILITY_SUBSET_FEATURES_KHR};
  VkPhysicalDeviceFeatures2 all = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
  all.pNext = &subset;
  vkGetPhysicalDeviceFeatures2(_physicalDevice, &all);
  EXPECT_FALSE(subset.triangleFans);
  subset.pNext = nullptr;
  subset.triangleFans = VK_TRUE;
  EXPECT_EQ(MakeDevice(&subset, {"VK_KHR_portability_subset"}), VK_ERROR_FEATURE_NOT_PRESENT);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("of VkPhysicalDevicePortabilitySubsetFeaturesKHR")));
}

}  // namespace
