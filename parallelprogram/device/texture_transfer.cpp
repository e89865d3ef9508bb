#include "parallelprogram/device/texture_transfer.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "ostra/jobs/parallel_for.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

// A block of a texture in staging memory.
struct StagedBlock {
  DrawportRegion region;
  Int pitch = 0;  // bytes from row to row

  Int GetRowCount() const { return region.extent.height * region.extent.depth; }
};

// Cuts [0, extent) into blocks and calls visit(block), which returns Result<void>, with z outermost and x innermost.
template <class Visit>
Result<void> ForEachBlock(const DrawportTexture& texture, const DrawportExtent& extent, Int texelSize, Int capacity,
                          Visit&& visit) {
  const Int width = GetBlockWidth(extent.width, texelSize, capacity);
  if (width < extent.width) return OSTRA_ILLEGAL_STATE("A row of the texture does not fit the staging capacity.");
  OSTRA_ASSIGN_OR_RETURN(const Int rowPitch, texture.GetStagingBufferSize({}, {width, 1, 1}, 0, 0));
  const TextureBlocks size = GetBlocks(extent, width, rowPitch, capacity);
  if (size.height < 1 || size.depth < 1)
    return OSTRA_ILLEGAL_STATE("A row of the texture does not fit the staging capacity.");
  for (Int z = 0; z < extent.depth; z += size.depth) {
    for (Int y = 0; y < extent.height; y += size.height) {
      for (Int x = 0; x < extent.width; x += size.width) {
        StagedBlock block;
        block.region.origin = {x, y, z};
        block.region.extent = {std::min(size.width, extent.width - x), std::min(size.height, extent.height - y),
                               std::min(size.depth, extent.depth - z)};
        OSTRA_ASSIGN_OR_RETURN(const Int bytes,
                               texture.GetStagingBufferSize(block.region.origin, block.region.extent, 0, 0));
        block.pitch = bytes / block.GetRowCount();
        OSTRA_RETURN_IF_ERROR(visit(block));
      }
    }
  }
  return OK;
}

Result<StagingBuffer> CreateStaging(const GpuContextData& data, const DrawportTexture& texture,
                                    const DrawportExtent& extent, Int capacity, DrawportStagingUse use) {
  OSTRA_ASSIGN_OR_RETURN(const Int wanted, texture.GetStagingBufferSize({}, extent, 0, 0));
  return StagingBuffer::Create(data, std::min(capacity, wanted), use);
}

}  // namespace

Error MakeTexelOverrunError() {
  return OSTRA_ILLEGAL_STATE(
      "Tried to copy more bytes than allocated in parallelProgramGPU.GetTextureData(). Texture maybe too small "
      "(Minimum of 256 bytes per line)?");
}

Int GetBlockWidth(Int width, Int texelSize, Int capacity) {
  return texelSize < 1 ? 0 : std::min(width * texelSize, capacity) / texelSize;
}

TextureBlocks GetBlocks(const DrawportExtent& extent, Int blockWidth, Int pitch, Int capacity) {
  TextureBlocks blocks{blockWidth, 1, 1};
  if (blockWidth == extent.width) blocks.height = std::min(extent.height * pitch, capacity) / pitch;
  if (blocks.height == extent.height) {
    const Int slice = extent.height * pitch;
    blocks.depth = std::min(slice * extent.depth, capacity) / slice;
  }
  return blocks;
}

Result<void> FillTexture(const GpuContextData& data, DrawportTexture& texture, const DrawportExtent& extent,
                         const TexelBytes& texels) {
  if (!texels.data || texels.size < 1) return OK;
  const Int capacity = data.GetCapability(DrawportCapability::TextureStagingCapacity);
  OSTRA_ASSIGN_OR_RETURN(const StagingBuffer staging,
                         CreateStaging(data, texture, extent, capacity, DrawportStagingUse::HostReadWrite));
  const Int texelSize = texture.GetDescription().format->GetBytesPerPixel();
  const Int rowSize = extent.width * texelSize;
  DrawportCommandList& list = data.GetCommandList();
  Int offset = 0;
  return ForEachBlock(texture, extent, texelSize, capacity, [&](const StagedBlock& block) -> Result<void> {
    const Int rowCount = block.GetRowCount();
    const Byte* source = texels.data + offset;
    offset += rowCount * rowSize;
    if (offset > texels.size) return OK;  // not mapped either: what is mapped must be written whole
    OSTRA_ASSIGN_OR_RETURN(Byte * mapped, list.PrivateMapTexture(*staging, DrawportMapMode::WriteDiscard, texture,
                                                                 block.region, 0, 0, 0, 0));
    ParallelFor::Dynamic(rowCount, [&](Int begin, Int end) {
      for (Int i = begin; i < end; ++i) MemCopy(mapped + i * block.pitch, source + i * rowSize, rowSize);
    });
    return list.UnmapTexture(*staging);
  });
}

Result<void> ReadTexture(const GpuContextData& data, DrawportTexture& texture, const DrawportExtent& extent,
                         Byte* target, Int size) {
  const Int capacity = data.GetCapability(DrawportCapability::ReadBackStagingCapacity);
  OSTRA_ASSIGN_OR_RETURN(const StagingBuffer staging,
                         CreateStaging(data, texture, extent, capacity, DrawportStagingUse::HostRead));
  const Int texelSize = texture.GetDescription().format->GetBytesPerPixel();
  const Int rowSize = extent.width * texelSize;
  DrawportCommandList& list = data.GetCommandList();
  Int offset = 0;
  return ForEachBlock(texture, extent, texelSize, capacity, [&](const StagedBlock& block) -> Result<void> {
    const auto mapped = list.PrivateMapTexture(*staging, DrawportMapMode::Read, texture, block.region, 0, 0, 0, 0);
    if (!mapped) {
      CriticalOutput("MapTexture in GetTextureData: @", mapped.GetError());  // which the error's text does not tell
      return OSTRA_ILLEGAL_STATE("MapTexture in GetTextureData failed");
    }
    const Int rowCount = block.GetRowCount();
    const Byte* source = *mapped;
    if (offset + rowCount * rowSize > size) return MakeTexelOverrunError();
    ParallelFor::Dynamic(rowCount, [&](Int begin, Int end) {
      for (Int i = begin; i < end; ++i) MemCopy(target + offset + i * rowSize, source + i * block.pitch, rowSize);
    });
    offset += rowCount * rowSize;
    return list.UnmapTexture(*staging);
  });
}

}  // namespace ostra
