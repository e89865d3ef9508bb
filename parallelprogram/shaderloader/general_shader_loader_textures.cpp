// Textures of the shader loader, the links of stages to them, and reading them back.
#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/texture_transfer.h"
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {
namespace {

// Loaders store narrow texels as they are.
constexpr NarrowTexels kAllTexels;

// `size` bytes of the whole texture, as they lie in staging memory: right only while rows have no gaps there.
Result<void> ReadWholeTexture(const GpuContextData& data, DrawportTexture& texture, const SamplingData& record) {
  const DrawportExtent extent{record._dimensions.x, record._dimensions.y, record._dimensions.z};
  const Int texelSize = record._dataSize / (extent.width * extent.height * extent.depth);
  const Int capacity = data.GetCapability(DrawportCapability::TextureStagingCapacity);
  const Int width = GetBlockWidth(extent.width, texelSize, capacity);
  if (width < 1) return OSTRA_ILLEGAL_STATE("The texture has no texel that fits the staging capacity.");
  TextureBlocks blocks = GetBlocks(extent, width, extent.width * texelSize, capacity);
  if (width < extent.width) blocks = {width, 1, 1};

  DrawportCommandList& list = data.GetCommandList();
  OSTRA_ASSIGN_OR_RETURN(const Int wanted, texture.GetStagingBufferSize({}, extent, 0, 0));
  OSTRA_ASSIGN_OR_RETURN(const StagingBuffer staging,
                         StagingBuffer::Create(data, std::min(capacity, wanted), DrawportStagingUse::HostReadWrite));
  Int offset = 0;
  for (Int z = 0; z < extent.depth; z += blocks.depth) {
    for (Int y = 0; y < extent.height; y += blocks.height) {
      for (Int x = 0; x < extent.width; x += blocks.width) {
        const DrawportRegion region{
            {x, y, z},
            {std::min(blocks.width, extent.width - x), std::min(blocks.height, extent.height - y),
             std::min(blocks.depth, extent.depth - z)}};
        OSTRA_ASSIGN_OR_RETURN(const Int bytes, texture.GetStagingBufferSize(region.origin, region.extent, 0, 0));
        // A row with gaps is wider than its texels.
        const Int tight = region.extent.width * region.extent.height * region.extent.depth * texelSize;
        if (bytes > tight || offset + bytes > record._dataSize) return MakeTexelOverrunError();
        const auto mapped = list.PrivateMapTexture(*staging, DrawportMapMode::Read, texture, region, 0, 0, 0, 0);
        if (!mapped) return OSTRA_ILLEGAL_STATE("MapTexture in GetTextureData failed");
        MemCopy(record._texels + offset, *mapped, bytes);
        offset += bytes;
        OSTRA_RETURN_IF_ERROR(list.UnmapTexture(*staging));
      }
    }
  }
  return OK;
}

}  // namespace

// Whether a texture may leave the device is nothing that a loader decides.
Result<void> GeneralShaderLoaderImpl::StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool) {
  RaiseDimensions(texBindData);
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_data));
  OSTRA_ASSIGN_OR_RETURN(DrawportResourceKey key,
                         MakeTextureKey(MakeNameKey(attr.GetHashCode(), _identity), texBindData, kAllTexels));
  key.values[0] = AppendToKey(key.values[0], MixKey(reinterpret_cast<UInt64>(_data.context.GetPointer())));
  key.values[1] = static_cast<UInt64>(texBindData._dataSize);
  OSTRA_ASSIGN_OR_RETURN(TextureSamplerEntry entry,
                         MakeTextureEntry(_data, _textures, attr, texBindData, kAllTexels, key));
  return _textures.Set(attr, std::move(entry));
}

// The caller sees that there are no texels: the record is changed.
Result<void> GeneralShaderLoaderImpl::CreateTexture(const InternedId& attr, TextureBindData& texBindData) {
  texBindData._data = nullptr;
  const DataDictionary before = _textures;
  OSTRA_RETURN_IF_ERROR(StoreTextureBindData(attr, texBindData, false));
  Result<void> executed = _data.GetCommandList().Execute(true);
  if (!executed) _textures = before;
  return executed;
}

Result<void> GeneralShaderLoaderImpl::UpdateTextureBindData(const InternedId& attr,
                                                            const TextureBindData& texBindData) {
  return UpdateTexture(_data, _textures, attr, texBindData, kAllTexels);
}

Result<void> GeneralShaderLoaderImpl::SetProgramTextureLink(const InternedId& attr, const Data& entry,
                                                            Int32 shaderIndex) {
  OSTRA_ASSIGN_OR_RETURN(ShaderStage & stage, GetActiveStage(shaderIndex));
  const auto* texture = entry.GetIf<TextureSamplerEntry>();
  if (!texture) {
    CriticalOutput("Texture link not found!");
    return OSTRA_ILLEGAL_ARGUMENT("Texture link not found!");
  }
  return LinkTexture(stage.textures, attr, *texture);
}

Result<void> GeneralShaderLoaderImpl::SetTextureToActiveProgram(const InternedId& attr, const InternedId& attrProgram,
                                                                Int32 shaderIndex) {
  OSTRA_RETURN_IF_ERROR(GetActiveStage(shaderIndex));
  OSTRA_ASSIGN_OR_RETURN(const Data entry, _textures.GetData(attr));
  return SetProgramTextureLink(attrProgram, entry, shaderIndex);
}

Result<void> GeneralShaderLoaderImpl::SetTextureToActiveProgramSameId(const InternedId& attr, Int32 shaderIndex) {
  return SetTextureToActiveProgram(attr, attr, shaderIndex);
}

Result<void> GeneralShaderLoaderImpl::SetSamplerAndTextureHandle(const InternedId& attr, DrawportTexture* texture,
                                                                 DrawportTextureSampler* sampler,
                                                                 const DrawportTextureItemRef& textureCacheRef,
                                                                 const DrawportTextureSamplerItemRef& samplerCacheRef) {
  if (!texture || !sampler) return OSTRA_ILLEGAL_ARGUMENT("texture or sampler is nullptr");
  const TextureSamplerEntry* known = FindTextureEntry(_textures, attr);
  TextureSamplerEntry entry = known ? TextureSamplerEntry(*known) : TextureSamplerEntry();
  entry._texture = texture;
  entry._sampler = sampler;
  entry._textureItem = textureCacheRef;
  entry._samplerItem = samplerCacheRef;
  entry._textureId = attr;
  return _textures.Set(attr, std::move(entry));
}

Result<void> GeneralShaderLoaderImpl::SetPassTexture(TextureSamplerEntry ShaderStage::*texture, const Data& entry) {
  OSTRA_ASSIGN_OR_RETURN(GraphicsProgram & program, GetActiveProgram());
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& given, entry.Get<TextureSamplerEntry>());
  for (ShaderStage& stage : program.stages) stage.*texture = given;
  return OK;
}

// The name says where the caller has the entry from; stages know the texture as "depthTexture" ("colorTexture").
Result<void> GeneralShaderLoaderImpl::SetDepthTextureHandleActiveProgram(const InternedId&, const Data& entry) {
  return SetPassTexture(&ShaderStage::depthTexture, entry);
}

Result<void> GeneralShaderLoaderImpl::SetColorTextureHandleActiveProgram(const InternedId&, const Data& entry) {
  return SetPassTexture(&ShaderStage::colorTexture, entry);
}

Result<DrawportTextureSampler*> GeneralShaderLoaderImpl::GetTextureSamplerHandle(const InternedId& attr) {
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, attr);
  return entry ? entry->_sampler : nullptr;
}

Result<DrawportTexture*> GeneralShaderLoaderImpl::GetTextureHandle(const InternedId& attr) {
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, attr);
  return entry ? entry->_texture : nullptr;
}

Result<void> GeneralShaderLoaderImpl::DeleteTexture(const InternedId& textureId) {
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, textureId);
  if (!entry) return OK;
  OSTRA_ASSIGN_OR_RETURN(
      const ChangeTable empty,
      ChangeTable::Create([texture = entry->_texture, &textureId](DataDictionary& links) -> Result<void> {
        OSTRA_RETURN_IF_ERROR(EmptyTextureLinks(links, texture, textureId));
        return OK;
      }));
  return ChangeAllStages(&ParameterLinks::textures, empty, _textures, textureId);
}

// The region is not looked at.
Result<Data> GeneralShaderLoaderImpl::GetTextureData(const InternedId& attr, const Vec3<Int32>&,
                                                     const Vec3<Int32>&) const {
  OSTRA_RETURN_IF_ERROR(_textures.GetData(attr));
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_data));
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, _textures.Get<TextureSamplerEntry>(attr));
  if (!entry._texture) return OSTRA_ILLEGAL_STATE("The texture is not on the device.");
  const Vec3<UInt32>& size = entry._samplingData._dimensions;
  const DrawportExtent& extent = entry._texture->GetDescription().extent;
  if (extent.width != size.x || extent.height != size.y || extent.depth != size.z)
    return OSTRA_ILLEGAL_STATE("The texture \"@\" was made elsewhere; nothing is known about its texels.", attr);
  TextureSamplerEntry copy = entry;
  SamplingData& record = copy._samplingData;
  OSTRA_RETURN_IF_ERROR(record.AllocateTexels(false));
  OSTRA_RETURN_IF_ERROR(ReadWholeTexture(_data, *entry._texture, record));
  return Data::Create(std::move(record));
}

Result<void> GeneralShaderLoaderImpl::CopyTextureBytes(const InternedId&, const InternedId&, Int, Int, Int) {
  return OK;
}

}  // namespace ostra
