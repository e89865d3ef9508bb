// Draws by hand into a target of floats: one pipeline, a uniform buffer with a slice for each draw.
#pragma once

#include "bench/vulkan/raw_vulkan.h"

namespace bench {

// GLSL of both stages. The uniforms are set 0, binding 0; attribute 0 is a vec2.
struct RawStages {
  std::string vertex, fragment;
};

class RawDrawing {
 public:
  // At most `draws` draws a pass, with slices of `uniformBytes`; all draws read the same vertices, two floats each.
  RawDrawing(RawDeviceRef device, const RawStages& stages, std::uint32_t size, std::size_t uniformBytes, int draws,
             const std::vector<float>& vertices);
  RawDrawing(const RawDrawing&) = delete;
  ~RawDrawing();

  // One pass of `draws` draws over a cleared target, submitted and awaited. `fill(draw, slice)` writes the uniforms of
  // a draw just before it is recorded.
  template <class Fill>
  void Run(int draws, Fill&& fill) {
    Begin();
    for (int draw = 0; draw < draws; ++draw) {
      fill(draw, static_cast<std::uint8_t*>(_uniforms->GetMapped()) + draw * _stride);
      Draw(static_cast<std::uint32_t>(draw * _stride));
    }
    End();
  }

  // RGBA floats, rows from the top.
  std::vector<float> Read();

 private:
  void MakePipeline(const RawStages& stages);
  void MakeSet(std::size_t uniformBytes);
  void Begin();
  void Draw(std::uint32_t offset) {
    vkCmdBindDescriptorSets(_commands, VK_PIPELINE_BIND_POINT_GRAPHICS, _layout, 0, 1, &_set, 1, &offset);
    vkCmdDraw(_commands, _vertexCount, 1, 0, 0);
  }
  void End();

  RawDeviceRef _device;
  std::uint32_t _size;
  std::int64_t _stride = 0;
  std::uint32_t _vertexCount;
  std::unique_ptr<RawBuffer> _uniforms, _vertices;
  RawImage _target;
  VkDescriptorSetLayout _setLayout = VK_NULL_HANDLE;
  VkDescriptorPool _pool = VK_NULL_HANDLE;
  VkDescriptorSet _set = VK_NULL_HANDLE;
  VkPipelineLayout _layout = VK_NULL_HANDLE;
  VkPipeline _pipeline = VK_NULL_HANDLE;
  VkCommandBuffer _commands = VK_NULL_HANDLE;
  VkFence _fence = VK_NULL_HANDLE;
};

}  // namespace bench
