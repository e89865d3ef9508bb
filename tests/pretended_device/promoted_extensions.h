// Extensions that are a part of Vulkan 1.3, and the functions that came with it.
#pragma once

#include <array>
#include <string_view>

namespace ostra::pretended {

constexpr std::array kPromotedTo13 = std::to_array<std::string_view>({
    "VK_EXT_4444_formats",
    "VK_EXT_extended_dynamic_state",
    "VK_EXT_extended_dynamic_state2",
    "VK_EXT_image_robustness",
    "VK_EXT_inline_uniform_block",
    "VK_EXT_pipeline_creation_cache_control",
    "VK_EXT_pipeline_creation_feedback",
    "VK_EXT_private_data",
    "VK_EXT_shader_demote_to_helper_invocation",
    "VK_EXT_subgroup_size_control",
    "VK_EXT_texel_buffer_alignment",
    "VK_EXT_texture_compression_astc_hdr",
    "VK_EXT_tooling_info",
    "VK_EXT_ycbcr_2plane_444_formats",
    "VK_KHR_copy_commands2",
    "VK_KHR_dynamic_rendering",
    "VK_KHR_format_feature_flags2",
    "VK_KHR_maintenance4",
    "VK_KHR_shader_integer_dot_product",
    "VK_KHR_shader_non_semantic_info",
    "VK_KHR_shader_terminate_invocation",
    "VK_KHR_synchronization2",
    "VK_KHR_zero_initialize_workgroup_memory",
});

constexpr std::array kFunctionsOf13 = std::to_array<std::string_view>({
    "vkCmdBeginRendering",
    "vkCmdBindVertexBuffers2",
    "vkCmdBlitImage2",
    "vkCmdCopyBuffer2",
    "vkCmdCopyBufferToImage2",
    "vkCmdCopyImage2",
    "vkCmdCopyImageToBuffer2",
    "vkCmdEndRendering",
    "vkCmdPipelineBarrier2",
    "vkCmdResetEvent2",
    "vkCmdResolveImage2",
    "vkCmdSetCullMode",
    "vkCmdSetDepthBiasEnable",
    "vkCmdSetDepthBoundsTestEnable",
    "vkCmdSetDepthCompareOp",
    "vkCmdSetDepthTestEnable",
    "vkCmdSetDepthWriteEnable",
    "vkCmdSetEvent2",
    "vkCmdSetFrontFace",
    "vkCmdSetPrimitiveRestartEnable",
    "vkCmdSetPrimitiveTopology",
    "vkCmdSetRasterizerDiscardEnable",
    "vkCmdSetScissorWithCount",
    "vkCmdSetStencilOp",
    "vkCmdSetStencilTestEnable",
    "vkCmdSetViewportWithCount",
    "vkCmdWaitEvents2",
    "vkCmdWriteTimestamp2",
    "vkCreatePrivateDataSlot",
    "vkDestroyPrivateDataSlot",
    "vkGetDeviceBufferMemoryRequirements",
    "vkGetDeviceImageMemoryRequirements",
    "vkGetDeviceImageSparseMemoryRequirements",
    "vkGetPrivateData",
    "vkQueueSubmit2",
    "vkSetPrivateData",
});

template <std::size_t kCount>
constexpr bool Contains(const std::array<std::string_view, kCount>& names, std::string_view name) {
  for (const std::string_view known : names)
    if (known == name) return true;
  return false;
}

}  // namespace ostra::pretended
