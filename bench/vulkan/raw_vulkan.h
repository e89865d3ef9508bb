// What a program would write by hand on Vulkan: the reference for the GPU program. Failures are exceptions.
#pragma once

#include <volk.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/vulkan/shader.h"

namespace bench {

// A device with one queue. One thread.
class RawDevice {
 public:
  // The device of this name.
  explicit RawDevice(const std::string& name);
  RawDevice(const RawDevice&) = delete;
  ~RawDevice();

  VkDevice GetHandle() const { return _device; }
  const VkPhysicalDeviceLimits& GetLimits() const { return _limits; }
  // A memory type among `allowed` that has all of `needed`, best one that has `wished` too; -1 for none.
  int FindMemoryType(std::uint32_t allowed, VkMemoryPropertyFlags needed, VkMemoryPropertyFlags wished) const;

  VkCommandBuffer MakeCommandBuffer(VkCommandBufferLevel level = VK_COMMAND_BUFFER_LEVEL_PRIMARY);
  VkFence MakeFence();
  void Submit(VkCommandBuffer commands, VkFence fence);
  // Waits for a fence that was submitted, and makes it ready for the next time.
  void Wait(VkFence fence);
  // The same with the next value of a timeline semaphore in place of a fence.
  void SubmitAndWaitOnTimeline(VkCommandBuffer commands);

 private:
  VkInstance _instance = VK_NULL_HANDLE;
  VkPhysicalDevice _physicalDevice = VK_NULL_HANDLE;
  VkPhysicalDeviceMemoryProperties _memory = {};
  VkPhysicalDeviceLimits _limits = {};
  VkDevice _device = VK_NULL_HANDLE;
  VkQueue _queue = VK_NULL_HANDLE;
  VkCommandPool _pool = VK_NULL_HANDLE;
  std::vector<VkFence> _fences;
  VkSemaphore _timeline = VK_NULL_HANDLE;
  std::uint64_t _timelineValue = 0;
};
using RawDeviceRef = std::shared_ptr<RawDevice>;

enum class RawMemory {
  Device,    // best for kernels
  Mapped,    // on the device and mapped; not on every machine
  Upload,    // mapped, written by the host
  ReadBack,  // mapped, read by the host
};

class RawBuffer {
 public:
  RawBuffer(RawDeviceRef device, VkDeviceSize bytes, RawMemory kind);
  RawBuffer(const RawBuffer&) = delete;
  ~RawBuffer();

  VkBuffer GetHandle() const { return _buffer; }
  VkDeviceSize GetSize() const { return _bytes; }
  // Null for RawMemory::Device.
  void* GetMapped() const { return _mapped; }
  // Through a staging buffer, for what is not measured.
  void Write(const void* source);
  void Read(void* target);

 private:
  RawDeviceRef _device;
  VkDeviceSize _bytes;
  VkBuffer _buffer = VK_NULL_HANDLE;
  VkDeviceMemory _memory = VK_NULL_HANDLE;
  void* _mapped = nullptr;
};
using RawBufferRef = std::shared_ptr<RawBuffer>;

// An image of 2 or, with more than one slice, 3 dimensions, in memory of the device.
class RawImage {
 public:
  static constexpr VkImageSubresourceRange kWhole = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};

  RawImage(RawDeviceRef device, VkFormat format, VkExtent3D extent, VkImageUsageFlags usage);
  RawImage(const RawImage&) = delete;
  ~RawImage();

  VkImage GetHandle() const { return _image; }
  VkImageView GetView() const { return _view; }

 private:
  RawDeviceRef _device;
  VkImage _image = VK_NULL_HANDLE;
  VkDeviceMemory _memory = VK_NULL_HANDLE;
  VkImageView _view = VK_NULL_HANDLE;
};

// A texture of 2 or, with more than one slice, 3 dimensions, with a linear sampler. Its texels are copied.
class RawTexture {
 public:
  RawTexture(RawDeviceRef device, VkFormat format, VkExtent3D extent, VkSamplerAddressMode wrap, const void* texels,
             VkDeviceSize bytes);
  RawTexture(const RawTexture&) = delete;
  ~RawTexture();

  VkDescriptorImageInfo GetDescription() const {
    return {_sampler, _image.GetView(), VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL};
  }

 private:
  void Fill(VkExtent3D extent, const void* texels, VkDeviceSize bytes);

  RawDeviceRef _device;
  RawImage _image;
  VkSampler _sampler = VK_NULL_HANDLE;
};
using RawTextureRef = std::shared_ptr<RawTexture>;

// A pipeline with everything that it is bound to, and a command buffer for its dispatches.
class RawKernel {
 public:
  RawKernel(RawDeviceRef device, Shader shader);
  RawKernel(const RawKernel&) = delete;
  ~RawKernel();

  const Shader& GetShader() const { return _shader; }
  void SetBuffer(const std::string& name, RawBufferRef buffer);
  void SetTexture(const std::string& name, RawTextureRef texture);
  void SetUniform(const std::string& name, const void* value, std::size_t bytes);
  // Records, submits and awaits `dispatches` of them, with a barrier before each.
  void Run(GroupCounts groups, int dispatches, bool usesTimeline = false);
  // The same where two buffers change places behind each dispatch. All has been set.
  void RunSwapping(GroupCounts groups, int dispatches, const std::string& first, const std::string& second);
  // The same in a secondary command buffer, recorded by the first and executed by the second as often as it is called,
  // each time with the values as they are, submitted and awaited.
  void RecordSecondary(GroupCounts groups, int dispatches, const std::string& first, const std::string& second);
  void RunSecondary();

 private:
  VkDescriptorSet AllocateSet();
  void MakeSwappedSet(std::uint32_t first, std::uint32_t second);
  void Record(GroupCounts groups, int dispatches, const VkDescriptorSet (&sets)[2]);
  void RecordDispatches(VkCommandBuffer commands, GroupCounts groups, int dispatches, const VkDescriptorSet (&sets)[2]);
  RawDeviceRef _device;
  Shader _shader;
  VkDescriptorSetLayout _setLayout = VK_NULL_HANDLE;
  VkPipelineLayout _layout = VK_NULL_HANDLE;
  VkPipeline _pipeline = VK_NULL_HANDLE;
  VkDescriptorPool _pool = VK_NULL_HANDLE;
  VkDescriptorSet _set = VK_NULL_HANDLE;
  VkDescriptorSet _swapped = VK_NULL_HANDLE;
  VkCommandBuffer _secondary = VK_NULL_HANDLE;
  VkCommandBuffer _commands = VK_NULL_HANDLE;
  VkFence _fence = VK_NULL_HANDLE;
  std::vector<std::uint8_t> _values;
  std::unique_ptr<RawBuffer> _uniforms;
  std::vector<RawBufferRef> _buffers;
  std::vector<RawTextureRef> _textures;
};

// Throws for codes that are no success.
void CheckVulkan(VkResult result, const char* call);

// Starts recording anew.
void BeginCommands(VkCommandBuffer commands);

}  // namespace bench
