// The variants of a graphics program: one pipeline for each state that it is drawn with.
#include "ostra/drawport_vulkan/pipeline.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

VkPrimitiveTopology GetTopology(DrawportTopology topology) {
  switch (topology) {
    case DrawportTopology::Points:
      return VK_PRIMITIVE_TOPOLOGY_POINT_LIST;
    case DrawportTopology::Lines:
      return VK_PRIMITIVE_TOPOLOGY_LINE_LIST;
    case DrawportTopology::LineStrip:
      return VK_PRIMITIVE_TOPOLOGY_LINE_STRIP;
    case DrawportTopology::Triangles:
      return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
    case DrawportTopology::TriangleStrip:
      return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP;
    case DrawportTopology::Patches:
      break;
  }
  return VK_PRIMITIVE_TOPOLOGY_PATCH_LIST;
}

VkBlendFactor GetFactor(DrawportBlendFactor factor) {
  constexpr VkBlendFactor kFactors[] = {VK_BLEND_FACTOR_ZERO,      VK_BLEND_FACTOR_ONE,
                                        VK_BLEND_FACTOR_SRC_COLOR, VK_BLEND_FACTOR_ONE_MINUS_SRC_COLOR,
                                        VK_BLEND_FACTOR_DST_COLOR, VK_BLEND_FACTOR_ONE_MINUS_DST_COLOR,
                                        VK_BLEND_FACTOR_SRC_ALPHA, VK_BLEND_FACTOR_ONE_MINUS_SRC_ALPHA};
  return kFactors[static_cast<Int32>(factor)];
}

VkCompareOp GetCompare(DrawportDepthTestMode mode) {
  constexpr VkCompareOp kCompares[] = {VK_COMPARE_OP_ALWAYS,           VK_COMPARE_OP_LESS,    VK_COMPARE_OP_EQUAL,
                                       VK_COMPARE_OP_LESS_OR_EQUAL,    VK_COMPARE_OP_GREATER, VK_COMPARE_OP_NOT_EQUAL,
                                       VK_COMPARE_OP_GREATER_OR_EQUAL, VK_COMPARE_OP_ALWAYS};
  return kCompares[static_cast<Int32>(mode)];
}

VkPipelineColorBlendAttachmentState MakeBlending(const GraphicsState& graphics, UInt32 target) {
  const DrawportStateDescription& state = graphics.state;
  VkPipelineColorBlendAttachmentState blending = {};
  blending.blendEnable = state.GetAlphaBlendingMode() == DrawportAlphaBlendingMode::On &&
                         (graphics.targets.blendMask & (1u << target)) != 0;
  blending.srcColorBlendFactor = GetFactor(state.GetSourceColorFactor());
  blending.dstColorBlendFactor = GetFactor(state.GetTargetColorFactor());
  blending.colorBlendOp = VK_BLEND_OP_ADD;
  blending.srcAlphaBlendFactor = GetFactor(state.GetSourceAlphaFactor());
  blending.dstAlphaBlendFactor = GetFactor(state.GetTargetAlphaFactor());
  blending.alphaBlendOp = VK_BLEND_OP_ADD;
  // A colour that the program does not give stays as it is.
  if (graphics.colorMask & (1u << target))
    blending.colorWriteMask =
        VK_COLOR_COMPONENT_R_BIT | VK_COLOR_COMPONENT_G_BIT | VK_COLOR_COMPONENT_B_BIT | VK_COLOR_COMPONENT_A_BIT;
  return blending;
}

VkPipelineRasterizationStateCreateInfo MakeRasterization(const DrawportStateDescription& state) {
  VkPipelineRasterizationStateCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO};
  info.polygonMode = VK_POLYGON_MODE_FILL;
  if (state.GetCullFace() != DrawportCullFace::None)
    info.cullMode = state.GetCullFace() == DrawportCullFace::Front ? VK_CULL_MODE_FRONT_BIT : VK_CULL_MODE_BACK_BIT;
  info.frontFace =
      state.GetFrontFace() == DrawportFrontFace::Clockwise ? VK_FRONT_FACE_CLOCKWISE : VK_FRONT_FACE_COUNTER_CLOCKWISE;
  info.lineWidth = 1;
  return info;
}

VkPipelineDepthStencilStateCreateInfo MakeDepthTest(const GraphicsState& graphics) {
  VkPipelineDepthStencilStateCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_DEPTH_STENCIL_STATE_CREATE_INFO};
  const Bool isTested = graphics.state.GetDepthTestMode() != DrawportDepthTestMode::Off;
  info.depthTestEnable = graphics.targets.depth != VK_FORMAT_UNDEFINED && (isTested || graphics.writesDepth);
  info.depthWriteEnable = info.depthTestEnable;
  info.depthCompareOp = GetCompare(graphics.state.GetDepthTestMode());
  return info;
}

}  // namespace

VkFormat GetAttributeFormat(DrawportShaderValueType type) {
  switch (type) {
    case DrawportShaderValueType::Float:
      return VK_FORMAT_R32_SFLOAT;
    case DrawportShaderValueType::Float2:
      return VK_FORMAT_R32G32_SFLOAT;
    case DrawportShaderValueType::Float3:
      return VK_FORMAT_R32G32B32_SFLOAT;
    case DrawportShaderValueType::Float4:
      return VK_FORMAT_R32G32B32A32_SFLOAT;
    case DrawportShaderValueType::Int:
      return VK_FORMAT_R32_SINT;
    case DrawportShaderValueType::Int2:
      return VK_FORMAT_R32G32_SINT;
    case DrawportShaderValueType::Int3:
      return VK_FORMAT_R32G32B32_SINT;
    case DrawportShaderValueType::Int4:
      return VK_FORMAT_R32G32B32A32_SINT;
    case DrawportShaderValueType::UInt:
      return VK_FORMAT_R32_UINT;
    case DrawportShaderValueType::UInt2:
      return VK_FORMAT_R32G32_UINT;
    case DrawportShaderValueType::UInt3:
      return VK_FORMAT_R32G32B32_UINT;
    case DrawportShaderValueType::UInt4:
      return VK_FORMAT_R32G32B32A32_UINT;
    default:
      return VK_FORMAT_UNDEFINED;
  }
}

namespace {

// These hold what their `info` points to, so they stay where they are.
struct VertexAttributes {
  explicit VertexAttributes(const GraphicsState& state)
      : vertices{0, state.stride, state.isPerInstance ? VK_VERTEX_INPUT_RATE_INSTANCE : VK_VERTEX_INPUT_RATE_VERTEX} {
    for (UInt32 i = 0; i < state.inputCount; ++i)
      attributes[i] = {state.inputs[i].location, 0, state.inputs[i].format, state.inputs[i].offset};
    info.vertexBindingDescriptionCount = state.inputCount > 0 ? 1 : 0;
    info.pVertexBindingDescriptions = &vertices;
    info.vertexAttributeDescriptionCount = state.inputCount;
    info.pVertexAttributeDescriptions = attributes;
  }
  VertexAttributes(const VertexAttributes&) = delete;

  VkVertexInputBindingDescription vertices;
  VkVertexInputAttributeDescription attributes[kMaxVertexAttributes];
  VkPipelineVertexInputStateCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};
};

struct Tessellation {
  explicit Tessellation(const GraphicsState& state) {
    // Coordinates in a patch count as those of pictures with y up do, and so does the winding.
    origin.domainOrigin = VK_TESSELLATION_DOMAIN_ORIGIN_LOWER_LEFT;
    info.pNext = &origin;
    info.patchControlPoints = state.patchSize;
  }
  Tessellation(const Tessellation&) = delete;

  VkPipelineTessellationDomainOriginStateCreateInfo origin = {
      VK_STRUCTURE_TYPE_PIPELINE_TESSELLATION_DOMAIN_ORIGIN_STATE_CREATE_INFO};
  VkPipelineTessellationStateCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_TESSELLATION_STATE_CREATE_INFO};
};

struct ColorBlending {
  explicit ColorBlending(const GraphicsState& state) {
    for (UInt32 i = 0; i < state.targets.colorCount; ++i) targets[i] = MakeBlending(state, i);
    info.attachmentCount = state.targets.colorCount;
    info.pAttachments = targets;
  }
  ColorBlending(const ColorBlending&) = delete;

  // Whether a device can do it that treats all targets alike.
  Bool IsSameForAll() const {
    for (UInt32 i = 1; i < info.attachmentCount; ++i)
      if (targets[i].blendEnable != targets[0].blendEnable || targets[i].colorWriteMask != targets[0].colorWriteMask)
        return false;
    return true;
  }

  VkPipelineColorBlendAttachmentState targets[kMaxColorTargets];
  VkPipelineColorBlendStateCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO};
};

// The size of the picture and what is cut off are said while draws are recorded.
struct DynamicViewport {
  DynamicViewport() {
    viewport.viewportCount = 1;
    viewport.scissorCount = 1;
    info.dynamicStateCount = 2;
    info.pDynamicStates = states;
  }
  DynamicViewport(const DynamicViewport&) = delete;

  const VkDynamicState states[2] = {VK_DYNAMIC_STATE_VIEWPORT, VK_DYNAMIC_STATE_SCISSOR};
  VkPipelineViewportStateCreateInfo viewport = {VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO};
  VkPipelineDynamicStateCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_DYNAMIC_STATE_CREATE_INFO};
};

constexpr int kMaxStages = 4;

VkPipelineShaderStageCreateInfo DescribeStage(DrawportStage stage, VkShaderModule module) {
  VkPipelineShaderStageCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO};
  info.stage = GetStageFlag(stage);
  info.module = module;
  info.pName = "main";
  return info;
}

VkPipelineRenderingCreateInfoKHR DescribeTargets(const GraphicsState& state) {
  VkPipelineRenderingCreateInfoKHR rendering = {VK_STRUCTURE_TYPE_PIPELINE_RENDERING_CREATE_INFO_KHR};
  rendering.colorAttachmentCount = state.targets.colorCount;
  rendering.pColorAttachmentFormats = state.targets.colors;
  rendering.depthAttachmentFormat = state.targets.depth;
  return rendering;
}

}  // namespace

Result<VkPipeline> Pipeline::CreateVariant(const GraphicsState& state) const {
  VkPipelineShaderStageCreateInfo stages[kMaxStages];
  for (Int i = 0; i < _stages.GetCount(); ++i) stages[i] = DescribeStage(_stages[i].stage, _modules[i]);
  const ColorBlending blending(state);
  if (!blending.IsSameForAll() && !GetDevice().GetGraphics().hasIndependentBlend)
    return OSTRA_ILLEGAL_STATE(
        "The GPU device treats all targets alike: the program must give the colours of all, in "
        "formats that are all mixed or all not.");
  const VertexAttributes vertexInput(state);
  VkPipelineInputAssemblyStateCreateInfo assembly = {VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO};
  assembly.topology = GetTopology(state.topology);
  const Tessellation tessellation(state);
  const DynamicViewport viewport;
  const VkPipelineRasterizationStateCreateInfo rasterization = MakeRasterization(state.state);
  VkPipelineMultisampleStateCreateInfo multisampling = {VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO};
  multisampling.rasterizationSamples = state.targets.samples;
  const VkPipelineDepthStencilStateCreateInfo depthTest = MakeDepthTest(state);
  const VkPipelineRenderingCreateInfoKHR rendering = DescribeTargets(state);

  VkGraphicsPipelineCreateInfo info = {VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO};
  info.pNext = &rendering;
  info.stageCount = static_cast<UInt32>(_stages.GetCount());
  info.pStages = stages;
  info.pVertexInputState = &vertexInput.info;
  info.pInputAssemblyState = &assembly;
  info.pTessellationState = &tessellation.info;
  info.pViewportState = &viewport.viewport;
  info.pRasterizationState = &rasterization;
  info.pMultisampleState = &multisampling;
  info.pDepthStencilState = &depthTest;
  info.pColorBlendState = &blending.info;
  info.pDynamicState = &viewport.info;
  info.layout = _layout;
  VkPipeline pipeline = VK_NULL_HANDLE;
  OSTRA_RETURN_IF_ERROR(
      OSTRA_VULKAN(vkCreateGraphicsPipelines(GetDevice().GetHandle(), _cache, 1, &info, nullptr, &pipeline)));
  return pipeline;
}

}  // namespace ostra::vulkan
