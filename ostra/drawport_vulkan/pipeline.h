// Pipeline: a compute program in the form that the device runs. Shared by all programs with the same text.
#pragma once

#include "ostra/drawport/shader_assembly.h"
#include "ostra/drawport_vulkan/resource.h"
#include "ostra/io/content_store.h"

namespace ostra::vulkan {

// A resource that the program really uses.
struct PipelineBinding {
  UInt32 number = 0;
  VkDescriptorType type = VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
};

class Pipeline final : public DeviceResource {
 public:
  // `bindings` sorted by number. Errors: illegal argument when the device has not so many of a kind; out of memory.
  static Result<StrongRef<Pipeline>> Create(Device& device, const ContentKey& key, Block<const UInt32> spirv,
                                            Block<const PipelineBinding> bindings, VkPipelineCache cache);

  Pipeline(DeviceRef device, const ContentKey& key) : DeviceResource(std::move(device)), _key(key) {}
  ~Pipeline() override;

  VkPipeline GetHandle() const { return _pipeline; }
  VkPipelineLayout GetLayout() const { return _layout; }
  VkDescriptorSetLayout GetSetLayout() const { return _setLayout; }
  const BaseArray<PipelineBinding>& GetBindings() const { return _bindings; }
  const ContentKey& GetKey() const { return _key; }
  void SetName(const CString& name) const;

 private:
  Result<void> Init(Block<const UInt32> spirv, VkPipelineCache cache);

  ContentKey _key;
  BaseArray<PipelineBinding> _bindings;
  VkDescriptorSetLayout _setLayout = VK_NULL_HANDLE;
  VkPipelineLayout _layout = VK_NULL_HANDLE;
  VkPipeline _pipeline = VK_NULL_HANDLE;
};
using PipelineRef = StrongRef<Pipeline>;

// Descriptor sets of one layout. Sets are never given back one by one; the pool goes as a whole.
class DescriptorPool final : public DeviceResource {
 public:
  // Room for `setCount` sets with these bindings. Error: out of memory.
  static Result<StrongRef<DescriptorPool>> Create(Device& device, Block<const PipelineBinding> bindings, Int setCount);
  explicit DescriptorPool(DeviceRef device) : DeviceResource(std::move(device)) {}
  ~DescriptorPool() override;

  // Error: out of memory, also when all sets are taken.
  Result<VkDescriptorSet> Allocate(VkDescriptorSetLayout layout);

 private:
  VkDescriptorPool _pool = VK_NULL_HANDLE;
};
using DescriptorPoolRef = StrongRef<DescriptorPool>;

// The binding numbers that variables of SPIR-V words have: what the optimiser left of the declarations. Words that are
// no SPIR-V have none. Error: out of memory.
Result<BaseArray<UInt32>> FindBindings(Block<const UInt32> spirv);

}  // namespace ostra::vulkan
