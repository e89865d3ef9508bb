// GraphicsState: everything of a draw that is part of a pipeline.
#pragma once

#include "ostra/drawport/state_object_item.h"
#include "ostra/drawport_vulkan/api.h"

namespace ostra::vulkan {

inline constexpr Int kMaxVertexAttributes = 16;

struct VertexInput {
  UInt32 location = 0;
  VkFormat format = VK_FORMAT_UNDEFINED;
  UInt32 offset = 0;
  friend Bool operator==(const VertexInput&, const VertexInput&) = default;
};

struct TargetFormats {
  VkFormat colors[kMaxColorTargets] = {};
  UInt32 colorCount = 0;
  UInt32 blendMask = 0;  // bit by target: the device can mix its format
  VkFormat depth = VK_FORMAT_UNDEFINED;
  VkSampleCountFlagBits samples = VK_SAMPLE_COUNT_1_BIT;
  friend Bool operator==(const TargetFormats&, const TargetFormats&) = default;
};

struct GraphicsState {
  DrawportStateDescription state;
  DrawportTopology topology = DrawportTopology::Triangles;
  UInt32 patchSize = 0;  // of patches
  TargetFormats targets;
  Bool writesDepth = false;  // the fragment stage computes the depth
  UInt32 colorMask = 0;      // bit by target: the program gives its colour
  UInt32 stride = 0;
  Bool isPerInstance = false;
  UInt32 inputCount = 0;
  VertexInput inputs[kMaxVertexAttributes];  // those from inputCount on are as they were made
  friend Bool operator==(const GraphicsState&, const GraphicsState&) = default;
};

// The format of a vertex attribute; undefined for a type that attributes do not have.
VkFormat GetAttributeFormat(DrawportShaderValueType type);

}  // namespace ostra::vulkan
