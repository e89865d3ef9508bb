// The smallest limits that Vulkan 1.2 allows, and no feature that it leaves open, but scalar block layout.
#include <algorithm>

#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {
namespace {

constexpr VkSampleCountFlags kOneOrFour = VK_SAMPLE_COUNT_1_BIT | VK_SAMPLE_COUNT_4_BIT;

void ReduceImages(VkPhysicalDeviceLimits& limits) {
  limits.maxImageDimension1D = 4096;
  limits.maxImageDimension2D = 4096;
  limits.maxImageDimension3D = 256;
  limits.maxImageDimensionCube = 4096;
  limits.maxImageArrayLayers = 256;
  limits.maxTexelBufferElements = 65536;
  limits.maxSamplerLodBias = 2;
  limits.maxSamplerAnisotropy = 1;
  limits.minTexelOffset = -8;
  limits.maxTexelOffset = 7;
  limits.subPixelPrecisionBits = 4;
  limits.subTexelPrecisionBits = 4;
  limits.mipmapPrecisionBits = 4;
  limits.sampledImageColorSampleCounts = kOneOrFour;
  limits.sampledImageIntegerSampleCounts = VK_SAMPLE_COUNT_1_BIT;
  limits.sampledImageDepthSampleCounts = kOneOrFour;
  limits.storageImageSampleCounts = VK_SAMPLE_COUNT_1_BIT;
}

void ReduceDescriptors(VkPhysicalDeviceLimits& limits) {
  limits.maxUniformBufferRange = 16384;
  limits.maxStorageBufferRange = 1u << 27;
  limits.maxPushConstantsSize = 128;
  limits.maxMemoryAllocationCount = 4096;
  limits.maxSamplerAllocationCount = 4000;
  limits.bufferImageGranularity = 131072;
  limits.maxBoundDescriptorSets = 4;
  limits.maxPerStageDescriptorSamplers = 16;
  limits.maxPerStageDescriptorUniformBuffers = 12;
  limits.maxPerStageDescriptorStorageBuffers = 4;
  limits.maxPerStageDescriptorSampledImages = 16;
  limits.maxPerStageDescriptorStorageImages = 4;
  limits.maxPerStageDescriptorInputAttachments = 4;
  limits.maxPerStageResources = 128;
  limits.maxDescriptorSetSamplers = 96;
  limits.maxDescriptorSetUniformBuffers = 72;
  limits.maxDescriptorSetUniformBuffersDynamic = 8;
  limits.maxDescriptorSetStorageBuffers = 24;
  limits.maxDescriptorSetStorageBuffersDynamic = 4;
  limits.maxDescriptorSetSampledImages = 96;
  limits.maxDescriptorSetStorageImages = 24;
  limits.minMemoryMapAlignment = 64;
  limits.minTexelBufferOffsetAlignment = 256;
  SetOffsetAlignments(limits, 256, 256);
  limits.nonCoherentAtomSize = 256;
}

void ReduceWork(VkPhysicalDeviceLimits& limits) {
  limits.maxComputeSharedMemorySize = 16384;
  std::fill_n(limits.maxComputeWorkGroupCount, 3, 65535u);
  limits.maxComputeWorkGroupInvocations = 128;
  limits.maxComputeWorkGroupSize[0] = 128;
  limits.maxComputeWorkGroupSize[1] = 128;
  limits.maxComputeWorkGroupSize[2] = 64;
  limits.timestampComputeAndGraphics = VK_FALSE;
  limits.maxDrawIndirectCount = 1;
  limits.maxDrawIndexedIndexValue = (1u << 24) - 1;
}

void ReduceDrawing(VkPhysicalDeviceLimits& limits) {
  limits.maxVertexInputAttributes = 16;
  limits.maxVertexInputBindings = 16;
  limits.maxVertexInputAttributeOffset = 2047;
  limits.maxVertexInputBindingStride = 2048;
  limits.maxVertexOutputComponents = 64;
  limits.maxFragmentInputComponents = 64;
  limits.maxFragmentOutputAttachments = 4;
  limits.maxFragmentCombinedOutputResources = 4;
  limits.maxFramebufferWidth = 4096;
  limits.maxFramebufferHeight = 4096;
  limits.maxFramebufferLayers = 256;
  limits.maxColorAttachments = 4;
  limits.maxViewports = 1;
  std::fill_n(limits.maxViewportDimensions, 2, 4096u);
  limits.viewportBoundsRange[0] = -8192;
  limits.viewportBoundsRange[1] = 8191;
  limits.pointSizeRange[1] = 1;
  limits.lineWidthRange[1] = 1;
  limits.framebufferColorSampleCounts = kOneOrFour;
  limits.framebufferDepthSampleCounts = kOneOrFour;
  limits.framebufferStencilSampleCounts = kOneOrFour;
  limits.framebufferNoAttachmentsSampleCounts = kOneOrFour;
}

void ReduceFeatures(Features& features) {
  features.core = {.robustBufferAccess = VK_TRUE};
  features.since11 = {.sType = features.since11.sType, .multiview = VK_TRUE};
  features.since12 = {.sType = features.since12.sType,
                      .scalarBlockLayout = VK_TRUE,
                      .imagelessFramebuffer = VK_TRUE,
                      .uniformBufferStandardLayout = VK_TRUE,
                      .shaderSubgroupExtendedTypes = VK_TRUE,
                      .separateDepthStencilLayouts = VK_TRUE,
                      .hostQueryReset = VK_TRUE,
                      .timelineSemaphore = VK_TRUE};
}

}  // namespace

PretendedDevice MakeLeastLimits() {
  PretendedDevice device;
  device.key = "least_limits";
  device.name = "Pretended device of the least limits";
  device.type = VK_PHYSICAL_DEVICE_TYPE_OTHER;
  device.apiVersion = VK_API_VERSION_1_2;
  device.maxBufferSize = 1024 * kMiB;
  device.reduceLimits = [](VkPhysicalDeviceLimits& limits) {
    ReduceImages(limits);
    ReduceDescriptors(limits);
    ReduceWork(limits);
    ReduceDrawing(limits);
  };
  device.reduceFeatures = &ReduceFeatures;
  return device;
}

}  // namespace ostra::pretended
