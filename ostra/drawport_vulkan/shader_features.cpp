#include "ostra/drawport_vulkan/shader_features.h"

#include <algorithm>
#include <iterator>

#include "ostra/core/format.h"
#include "ostra/drawport_vulkan/spirv.h"
#include "ostra/drawport_vulkan/storage_layout.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// A capability of SPIR-V and the feature that stands for it.
struct Need {
  UInt32 capability;
  VkBool32& (*getFlag)(ShaderFeatures&);
  std::string_view name;
};

#define OSTRA_FLAG(member) [](ShaderFeatures& features) -> VkBool32& { return features.member; }
constexpr Need kNeeds[] = {
    {3, OSTRA_FLAG(core.tessellationShader), "tessellation"},
    {9, OSTRA_FLAG(since12.shaderFloat16), "16-bit floats"},
    {10, OSTRA_FLAG(core.shaderFloat64), "64-bit floats"},
    {11, OSTRA_FLAG(core.shaderInt64), "64-bit integers"},
    {22, OSTRA_FLAG(core.shaderInt16), "16-bit integers"},
    {23, OSTRA_FLAG(core.shaderTessellationAndGeometryPointSize), "sizes of points behind tessellation"},
    {25, OSTRA_FLAG(core.shaderImageGatherExtended), "texels gathered with several or computed offsets"},
    {27, OSTRA_FLAG(core.shaderStorageImageMultisample), "images with several samples"},
    {28, OSTRA_FLAG(core.shaderUniformBufferArrayDynamicIndexing), "computed indices of uniform buffers"},
    {29, OSTRA_FLAG(core.shaderSampledImageArrayDynamicIndexing), "computed indices of textures"},
    {30, OSTRA_FLAG(core.shaderStorageBufferArrayDynamicIndexing), "computed indices of buffers"},
    {31, OSTRA_FLAG(core.shaderStorageImageArrayDynamicIndexing), "computed indices of images"},
    {32, OSTRA_FLAG(core.shaderClipDistance), "clip distances"},
    {33, OSTRA_FLAG(core.shaderCullDistance), "cull distances"},
    {34, OSTRA_FLAG(core.imageCubeArray), "arrays of cubes"},
    {35, OSTRA_FLAG(core.sampleRateShading), "values for each sample"},
    {39, OSTRA_FLAG(since12.shaderInt8), "8-bit integers"},
    {45, OSTRA_FLAG(core.imageCubeArray), "arrays of cubes"},
    {48, OSTRA_FLAG(core.shaderStorageImageMultisample), "images with several samples"},
    {49, OSTRA_FLAG(core.shaderStorageImageExtendedFormats), "images of the less common formats"},
    {52, OSTRA_FLAG(core.sampleRateShading), "values for each sample"},
    {55, OSTRA_FLAG(core.shaderStorageImageReadWithoutFormat), "reads of images without a format"},
    {56, OSTRA_FLAG(core.shaderStorageImageWriteWithoutFormat), "writes to images without a format"},
    {4433, OSTRA_FLAG(since11.storageBuffer16BitAccess), "16-bit values in buffers"},
    {4434, OSTRA_FLAG(since11.uniformAndStorageBuffer16BitAccess), "16-bit values in uniform buffers"},
    {4436, OSTRA_FLAG(since11.storageInputOutput16), "16-bit values between stages"},
    {4448, OSTRA_FLAG(since12.storageBuffer8BitAccess), "8-bit values in buffers"},
    {4449, OSTRA_FLAG(since12.uniformAndStorageBuffer8BitAccess), "8-bit values in uniform buffers"},
};
#undef OSTRA_FLAG

// Matrix, Shader, InputAttachment, Sampled1D, Image1D, SampledBuffer, ImageBuffer, ImageQuery, DerivativeControl,
// DeviceGroup: every device has these.
constexpr UInt32 kCommon[] = {0, 1, 40, 43, 44, 46, 47, 50, 51, 4437};

// Operations of subgroups have numbers in the order of their bits.
constexpr UInt32 kFirstSubgroup = 61;
constexpr UInt32 kLastSubgroup = 68;

constexpr std::string_view kPackedElements = "elements of buffers that are packed tightly";
constexpr std::string_view kIsolines = "patches that are divided into lines";
constexpr const char* kMissing = "The GPU program \"@\" uses @, which the GPU device does not support.";

Result<void> CheckCapability(ShaderFeatures features, VkShaderStageFlagBits stage, UInt32 capability,
                             std::string_view program) {
  if (std::find(std::begin(kCommon), std::end(kCommon), capability) != std::end(kCommon)) return OK;
  if (capability >= kFirstSubgroup && capability <= kLastSubgroup) {
    const Bool isThere = (features.subgroupOperations >> (capability - kFirstSubgroup) & 1) != 0;
    if (isThere && (features.subgroupStages & stage) != 0) return OK;
    return OSTRA_ILLEGAL_ARGUMENT(kMissing, program, "operations of subgroups");
  }
  for (const Need& need : kNeeds) {
    if (need.capability != capability) continue;
    if (need.getFlag(features)) return OK;
    return OSTRA_ILLEGAL_ARGUMENT(kMissing, program, need.name);
  }
  return OSTRA_ILLEGAL_ARGUMENT("The GPU program \"@\" uses capability @ of SPIR-V, which no GPU device is asked for.",
                                program, capability);
}

Result<void> CheckLayout(const ShaderFeatures& features, Block<const UInt32> spirv, std::string_view program) {
  if (features.since12.scalarBlockLayout) return OK;
  OSTRA_ASSIGN_OR_RETURN(const String packed, FindPackedElement(spirv));
  if (packed.IsEmpty()) return OK;
  return OSTRA_ILLEGAL_ARGUMENT(
      "The GPU program \"@\" uses @ (@), for which the GPU device would need scalar block layout.", program,
      kPackedElements, packed);
}

}  // namespace

ShaderFeatures SelectShaderFeatures(const ShaderFeatures& has) {
  ShaderFeatures from = has;
  ShaderFeatures selected;
  for (const Need& need : kNeeds) need.getFlag(selected) = need.getFlag(from);
  selected.since12.scalarBlockLayout = has.since12.scalarBlockLayout;
  selected.subgroupOperations = has.subgroupOperations;
  selected.subgroupStages = has.subgroupStages;
  selected.maxSharedBytes = has.maxSharedBytes;
  selected.hasIsolines = has.hasIsolines;
  return selected;
}

Result<BaseArray<String>> ListMissing(const ShaderFeatures& features) {
  BaseArray<String> missing;
  const auto add = [&](std::string_view name) -> Result<void> {
    for (const String& known : missing)
      if (known.GetView() == name) return OK;
    OSTRA_ASSIGN_OR_RETURN(String text, String::Create(name));
    OSTRA_RETURN_IF_ERROR(missing.Append(std::move(text)));
    return OK;
  };
  ShaderFeatures has = features;
  for (const Need& need : kNeeds)
    if (!need.getFlag(has)) OSTRA_RETURN_IF_ERROR(add(need.name));
  if (!has.since12.scalarBlockLayout) OSTRA_RETURN_IF_ERROR(add(kPackedElements));
  if (!has.hasIsolines) OSTRA_RETURN_IF_ERROR(add(kIsolines));
  return missing;
}

Result<void> CheckShader(const ShaderFeatures& features, VkShaderStageFlagBits stage, Block<const UInt32> spirv,
                         std::string_view program) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<UInt32> capabilities, FindCapabilities(spirv));
  for (const UInt32 capability : capabilities)
    OSTRA_RETURN_IF_ERROR(CheckCapability(features, stage, capability, program));
  if (!features.hasIsolines && MakesIsolines(spirv)) return OSTRA_ILLEGAL_ARGUMENT(kMissing, program, kIsolines);
  OSTRA_RETURN_IF_ERROR(CheckLayout(features, spirv, program));
  OSTRA_ASSIGN_OR_RETURN(const UInt64 shared, CountSharedBytes(spirv));
  if (shared <= features.maxSharedBytes) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("The GPU program \"@\" shares @ bytes in a work group; the GPU device has room for @.",
                                program, shared, features.maxSharedBytes);
}

}  // namespace ostra::vulkan
