// Pipeline: a program in the form that the device runs. Shared by all programs with the same text.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>

#include "ostra/drawport/shader_assembly.h"
#include "ostra/drawport_vulkan/graphics_state.h"
#include "ostra/drawport_vulkan/resource.h"
#include "ostra/io/content_store.h"

namespace ostra::vulkan {

// A resource that the program really uses.
struct PipelineBinding {
  UInt32 number = 0;
  VkDescriptorType type = VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
  VkShaderStageFlags stages = VK_SHADER_STAGE_COMPUTE_BIT;
};

// A compiled stage with the locations that the optimiser has left of its variables.
struct PipelineStage {
  DrawportStage stage = DrawportStage::Compute;
  BaseArray<UInt32> words;  // not kept by a pipeline
  BaseArray<UInt32> inputs;
  BaseArray<UInt32> outputs;
  Bool writesDepth = false;
};

VkShaderStageFlagBits GetStageFlag(DrawportStage stage);

class Pipeline final : public DeviceResource {
 public:
  // A compute stage, or all stages of a graphics program. `bindings` sorted by number. Errors: illegal argument when
  // the device has not so many of a kind; out of memory.
  static Result<StrongRef<Pipeline>> Create(Device& device, const ContentKey& key, BaseArray<PipelineStage> stages,
                                            Block<const PipelineBinding> bindings, VkPipelineCache cache);

  Pipeline(DeviceRef device, const ContentKey& key) : DeviceResource(std::move(device)), _key(key) {}
  ~Pipeline() override;

  Bool IsGraphics() const { return _stages[0].stage != DrawportStage::Compute; }
  // Of a compute program.
  VkPipeline GetHandle() const { return _pipeline; }
  // Of a graphics program: the variant for one state, made when it is first asked for. Thread-safe. Error: out of
  // memory.
  Result<VkPipeline> GetVariant(const GraphicsState& state);
  VkPipelineLayout GetLayout() const { return _layout; }
  VkDescriptorSetLayout GetSetLayout() const { return _setLayout; }
  const BaseArray<PipelineBinding>& GetBindings() const { return _bindings; }
  const BaseArray<PipelineStage>& GetStages() const { return _stages; }
  // Null when the program has no such stage.
  const PipelineStage* FindStage(DrawportStage stage) const;
  const ContentKey& GetKey() const { return _key; }
  // Names the pipelines for debuggers, before they are used.
  void SetName(const CString& name);

 private:
  struct Variant {
    GraphicsState state;
    VkPipeline pipeline = VK_NULL_HANDLE;
  };
  Result<void> Init(VkPipelineCache cache);
  Result<void> InitCompute();
  // `compiledSince` is set when the variant is new. The device may save its cache of compiled programs then, which is
  // left to the caller: other threads that draw with the program do not wait for that.
  Result<VkPipeline> FindOrCreateVariant(const GraphicsState& state,
                                         std::optional<std::chrono::steady_clock::time_point>& compiledSince);
  // graphics_pipeline.cpp
  Result<VkPipeline> CreateVariant(const GraphicsState& state) const;

  ContentKey _key;
  CString _name;
  BaseArray<PipelineStage> _stages;
  BaseArray<VkShaderModule> _modules;  // by stage
  BaseArray<PipelineBinding> _bindings;
  VkPipelineCache _cache = VK_NULL_HANDLE;  // the device's
  VkDescriptorSetLayout _setLayout = VK_NULL_HANDLE;
  VkPipelineLayout _layout = VK_NULL_HANDLE;
  VkPipeline _pipeline = VK_NULL_HANDLE;
  std::mutex _mutex;
  BaseArray<Variant> _variants;
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

}  // namespace ostra::vulkan
