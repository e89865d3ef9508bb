#include "parallelprogram/device/parameter_binding.h"

#include "ostra/core/format.h"
#include "parallelprogram/device/device_textures.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

const char* GetTextureTypeName(DrawportTextureType type) {
  switch (type) {
    case DrawportTextureType::Texture1D:
      return "1D";
    case DrawportTextureType::Texture2D:
      return "2D";
    default:
      return "3D";
  }
}

// Other layers than the first would be read as if they were the first.
Result<void> CheckLayers(const DrawportParameter& parameter, const TextureSamplerEntry& entry, std::string_view user) {
  if (!parameter.hasLayers || (entry._state & TextureSamplerEntry::kHasLayers) == 0) return OK;
  return OSTRA_ILLEGAL_ARGUMENT(
      "The @'s texture \"@\" is read by layer, but a texture with several layers is linked to it: textures on the GPU "
      "have one.",
      user, parameter.name);
}

// A kernel would compute with undefined texels without an error.
Result<void> CheckFilled(const DrawportParameter& parameter, const TextureSamplerEntry& entry,
                         const DataDictionary& globals, std::string_view user) {
  const UInt64 state = GetFillState(entry, globals);
  if ((state & TextureSamplerEntry::kIsUnfilled) == 0) return OK;
  const DrawportTextureDescription& texture = entry._texture->GetDescription();
  const DrawportExtent& extent = texture.extent;
  const Bool isMemory = (state & TextureSamplerEntry::kLackedMemory) != 0;
  return MakeError(
      isMemory ? kOutOfMemoryError : kIllegalStateError, kOstraUnit, __LINE__,
      "The @'s texture \"@\" (@ x @ x @ texels, @ bytes) is incomplete: @ while its texels were written. Store the "
      "texture again and link it.",
      user, parameter.name, extent.width, extent.height, extent.depth,
      extent.width * extent.height * extent.depth * texture.format->GetBytesPerPixel(),
      isMemory ? "memory was exhausted" : "the transfer failed");
}

}  // namespace

// Shaders read a texture with the number of dimensions that they declare.
Result<void> CheckTextureType(const DrawportParameter& parameter, const DrawportTexture& texture,
                              std::string_view user) {
  const DrawportTextureType given = texture.GetDescription().type;
  if (given == parameter.textureType) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("The @'s texture \"@\" is a @ texture, but a @ texture is linked to it.", user,
                                parameter.name, GetTextureTypeName(parameter.textureType), GetTextureTypeName(given));
}

Result<void> LinkTexture(DataDictionary& links, const InternedId& attr, const TextureSamplerEntry& entry) {
  const TextureSamplerEntry* known = FindTextureEntry(links, attr);
  TextureSamplerEntry link = entry;
  constexpr UInt64 kOfKernel = TextureSamplerEntry::kWritable;
  link._state = (entry._state & ~kOfKernel) | (known ? known->_state & kOfKernel : 0);
  return links.Set(attr, std::move(link));
}

// A link to the program's buffer of the same name follows that name, so that the newest one is used; links to other
// buffers and exchanged ones stay. One whose buffer was deleted is none. A link that is made here follows as well,
// whatever the buffer was called when it was made: it gets the parameter's name.
Result<void> BindBuffer(const ParameterTarget& target, DrawportParameterHandle handle,
                        const DrawportParameter& parameter, ParameterLinks& links, const DataDictionary& globals) {
  const DataBufferEntry* linked = FindBufferEntry(links.buffers, parameter.name);
  if (!linked || !linked->_deviceBuffer || linked->_bufferId == parameter.name) {
    if (const DataBufferEntry* global = FindBufferEntry(globals, parameter.name)) {
      DataBufferEntry link = *global;
      link._bufferId = parameter.name;
      if (!linked || !(*linked == link)) OSTRA_RETURN_IF_ERROR(links.buffers.Set(parameter.name, std::move(link)));
      linked = FindBufferEntry(links.buffers, parameter.name);
    }
  }
  return target.factory.SetParameterBuffer(target.values, handle, linked ? linked->_deviceBuffer : nullptr);
}

Result<const TextureSamplerEntry*> FindLinkedTexture(const DrawportParameter& parameter, ParameterLinks& links,
                                                     const DataDictionary& globals) {
  const TextureSamplerEntry* linked = FindTextureEntry(links.textures, parameter.name);
  if (linked && linked->_texture) return linked;
  const Bool hasName = linked && linked->_textureId.IsPopulated();
  const TextureSamplerEntry* global = hasName ? FindTextureEntry(globals, linked->_textureId) : nullptr;
  if (!global) global = FindTextureEntry(globals, parameter.name);
  if (!global) return linked;
  OSTRA_RETURN_IF_ERROR(LinkTexture(links.textures, parameter.name, *global));
  return FindTextureEntry(links.textures, parameter.name);
}

Result<void> BindTexture(const ParameterTarget& target, DrawportParameterHandle handle,
                         const DrawportParameter& parameter, ParameterLinks& links, const DataDictionary& globals,
                         std::string_view user) {
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry* const linked, FindLinkedTexture(parameter, links, globals));
  DrawportTexture* texture = linked ? linked->_texture : nullptr;
  if (texture) OSTRA_RETURN_IF_ERROR(CheckTextureType(parameter, *texture, user));
  if (texture) OSTRA_RETURN_IF_ERROR(CheckLayers(parameter, *linked, user));
  if (texture) OSTRA_RETURN_IF_ERROR(CheckFilled(parameter, *linked, globals, user));
  if (parameter.kind == DrawportParameterKind::Image)
    return target.factory.SetParameterImage(target.values, handle, texture);
  return target.factory.SetParameterTexture(target.values, handle, texture, linked ? linked->_sampler : nullptr);
}

}  // namespace ostra
