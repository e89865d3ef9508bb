// Whether the layer notices calls that use what the pretended device does not have: most of what it is there to find is
// done wrong here once, with plain Vulkan; not dispatches and images beyond the limits. Skipped where there is no
// software driver.
#include <gmock/gmock.h>
#include <volk.h>

#include <cstdlib>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

using Strings = std::vector<std::string>;

VKAPI_ATTR VkBool32 VKAPI_CALL Remember(VkDebugUtilsMessageSeverityFlagBitsEXT, VkDebugUtilsMessageTypeFlagsEXT,
                                        const VkDebugUtilsMessengerCallbackDataEXT* data, void* user) {
  static_cast<Strings*>(user)->push_back(data->pMessage);
  return VK_FALSE;
}

class PretendedDeviceTest : public testing::Test {
 protected:
  void TearDown() override {
    if (_device) vkDestroyDevice(std::exchange(_device, VK_NULL_HANDLE), nullptr);
    if (_messenger) vkDestroyDebugUtilsMessengerEXT(_instance, std::exchange(_messenger, VK_NULL_HANDLE), nullptr);
    if (_instance) vkDestroyInstance(std::exchange(_instance, VK_NULL_HANDLE), nullptr);
  }

  // An instance on which the layer answers as the device `key`.
  void Start(const char* key, VkInstanceCreateFlags flags = 0) {
    setenv("VK_ADD_LAYER_PATH", OSTRA_LAYER_FOLDER, 1);
    setenv("VK_INSTANCE_LAYERS", "VK_LAYER_OSTRA_pretended_device", 1);
    setenv("OSTRA_PRETENDED_DEVICE", key, 1);
    if (volkInitialize() != VK_SUCCESS) GTEST_SKIP() << "There is no Vulkan loader on this machine.";
    const char* extensions[] = {VK_EXT_DEBUG_UTILS_EXTENSION_NAME, VK_KHR_PORTABILITY_ENUMERATION_EXTENSION_NAME};
    VkApplicationInfo application = {VK_STRUCTURE_TYPE_APPLICATION_INFO};
    application.apiVersion = VK_API_VERSION_1_3;
    VkInstanceCreateInfo info = {VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    info.flags = flags;
    info.pApplicationInfo = &application;
    info.enabledExtensionCount = 2;
    info.ppEnabledExtensionNames = extensions;
    _started = vkCreateInstance(&info, nullptr, &_instance);
    if (_started != VK_SUCCESS) return;
    volkLoadInstance(_instance);
    Listen();
    FindDevice();
  }

  void Listen() {
    VkDebugUtilsMessengerCreateInfoEXT info = {VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT};
    info.messageSeverity = VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
    info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT;
    info.pfnUserCallback = &Remember;
    info.pUserData = &_messages;
    ASSERT_EQ(vkCreateDebugUtilsMessengerEXT(_instance, &info, nullptr, &_messenger), VK_SUCCESS);
  }

  void FindDevice() {
    uint32_t count = 1;
    vkEnumeratePhysicalDevices(_instance, &count, &_physicalDevice);
    if (count == 0) _physicalDevice = VK_NULL_HANDLE;
  }

  void StartOrSkip(const char* key) {
    Start(key, VK_INSTANCE_CREATE_ENUMERATE_PORTABILITY_BIT_KHR);
    ASSERT_EQ(_started, VK_SUCCESS);
    if (!_physicalDevice) GTEST_SKIP() << "There is no software driver on this machine.";
  }

  VkResult MakeDevice(const void* chain = nullptr, Strings extensions = {}, uint32_t family = 0) {
    const float priority = 1;
    VkDeviceQueueCreateInfo queue = {VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
    queue.queueFamilyIndex = family;
    queue.queueCount = 1;
    queue.pQueuePriorities = &priority;
    std::vector<const char*> names;
    for (const std::string& extension : extensions) names.push_back(extension.c_str());
    VkDeviceCreateInfo info = {VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
    info.pNext = chain;
    info.queueCreateInfoCount = 1;
    info.pQueueCreateInfos = &queue;
    info.enabledExtensionCount = static_cast<uint32_t>(names.size());
    info.ppEnabledExtensionNames = names.data();
    return vkCreateDevice(_physicalDevice, &info, nullptr, &_device);
  }

  VkResult Allocate(uint32_t type, VkDeviceSize size, VkDeviceMemory* memory) {
    VkMemoryAllocateInfo info = {VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    info.memoryTypeIndex = type;
    info.allocationSize = size;
    return vkAllocateMemory(_device, &info, nullptr, memory);
  }

  VkPhysicalDeviceProperties GetProperties() const {
    VkPhysicalDeviceProperties properties;
    vkGetPhysicalDeviceProperties(_physicalDevice, &properties);
    return properties;
  }

  Strings TakeMessages() { return std::exchange(_messages, {}); }

  VkResult _started = VK_SUCCESS;
  VkInstance _instance = VK_NULL_HANDLE;
  VkDebugUtilsMessengerEXT _messenger = VK_NULL_HANDLE;
  VkPhysicalDevice _physicalDevice = VK_NULL_HANDLE;
  VkDevice _device = VK_NULL_HANDLE;
  Strings _messages;
};

#define START(key)  \
  StartOrSkip(key); \
  if (IsSkipped() || HasFatalFailure()) return

constexpr VkDeviceSize kMiB = VkDeviceSize{1} << 20;

TEST_F(PretendedDeviceTest, AnswersWhatStandsInTheTable) {
  START("discrete");
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
  START("discrete");
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
  START("discrete");
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
  START("no_half_arithmetic");
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
  START("vulkan12");
  EXPECT_EQ(MakeDevice(nullptr, {VK_KHR_DYNAMIC_RENDERING_EXTENSION_NAME}), VK_ERROR_EXTENSION_NOT_PRESENT);
  VkPhysicalDeviceVulkan13Features newer = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES};
  newer.synchronization2 = VK_TRUE;
  EXPECT_EQ(MakeDevice(&newer), VK_ERROR_FEATURE_NOT_PRESENT);
  EXPECT_THAT(TakeMessages(), ElementsAre(HasSubstr("of VkPhysicalDeviceVulkan13Features")));
}

TEST_F(PretendedDeviceTest, FunctionsOfANewerVersionAreNotCalled) {
  START("vulkan12");
  ASSERT_EQ(MakeDevice(), VK_SUCCESS);
  const auto destroy =
      reinterpret_cast<PFN_vkDestroyPrivateDataSlot>(vkGetDeviceProcAddr(_device, "vkDestroyPrivateDataSlot"));
  testing::internal::CaptureStderr();
  if (destroy) destroy(_device, VK_NULL_HANDLE, nullptr);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a call of vkDestroyPrivateDataSlot"));
}

TEST_F(PretendedDeviceTest, PortabilityDevicesAreSeenByThoseWhoAskForThem) {
  START("portability");
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
  START("least_limits");
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
  START("queue_families");
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
  START("no_float_filter");
  VkFormatProperties properties;
  vkGetPhysicalDeviceFormatProperties(_physicalDevice, VK_FORMAT_R32_SFLOAT, &properties);
  EXPECT_EQ(properties.optimalTilingFeatures & VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT, 0u);
  EXPECT_NE(properties.optimalTilingFeatures & VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT, 0u);
  vkGetPhysicalDeviceFormatProperties(_physicalDevice, VK_FORMAT_R16_SFLOAT, &properties);
  EXPECT_NE(properties.optimalTilingFeatures & VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT, 0u);
}

}  // namespace
