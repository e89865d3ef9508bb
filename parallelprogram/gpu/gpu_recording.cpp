#include "parallelprogram/gpu/gpu_recording.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/device/device_textures.h"
#include "parallelprogram/program/recording_errors.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

Bool IsSame(const DataBufferEntry& a, const DataBufferEntry& b) {
  return a._deviceBuffer == b._deviceBuffer && a._count == b._count;
}

// Whether the program has the buffer, under whatever name.
Bool HasBuffer(const DataDictionary& all, const DataBufferEntry& entry) {
  const DataBufferEntry* const known = FindBufferEntry(all, entry._bufferId);
  if (known && IsSame(*known, entry)) return true;
  for (const auto& [name, value] : all) {
    const auto* const other = value.GetIf<DataBufferEntry>();
    if (other && IsSame(*other, entry)) return true;
  }
  return false;
}

Bool HasTexture(const DataDictionary& all, const InternedId& name, const DrawportTexture* texture) {
  const TextureSamplerEntry* const known = FindTextureEntry(all, name);
  if (known && known->_texture == texture) return true;
  for (const auto& [other, value] : all) {
    const auto* const entry = value.GetIf<TextureSamplerEntry>();
    if (entry && entry->_texture == texture) return true;
  }
  return false;
}

}  // namespace

Bool GpuRecording::HasKernel(const GpuKernel& kernel) const {
  return std::any_of(programs.begin(), programs.end(),
                     [&kernel](const Program& known) { return &*known.kernel == &kernel; });
}

Result<void> GpuRecording::AddKernel(const GpuKernelRef& kernel, const DataDictionary& allBuffers,
                                     const DataDictionary& allTextures) {
  OSTRA_ASSIGN_OR_RETURN(GpuComputeProgram program, kernel->compute->GetProgram());
  const auto isKnown = [&](const Program& known) {
    return known.kernel == kernel && known.program.factory == program.factory && known.program.values == program.values;
  };
  if (std::none_of(programs.begin(), programs.end(), isKnown))
    OSTRA_RETURN_IF_ERROR(programs.Append(Program{kernel, std::move(program), kernel->parsed.parser}));
  for (const auto& [name, value] : kernel->buffers)
    if (const auto* const entry = value.GetIf<DataBufferEntry>()) OSTRA_RETURN_IF_ERROR(AddBuffer(*entry, allBuffers));
  for (const auto& [name, value] : kernel->textures) {
    const auto* const entry = value.GetIf<TextureSamplerEntry>();
    if (!entry || !entry->_texture || !HasTexture(allTextures, entry->_textureId, entry->_texture)) continue;
    const auto isSame = [entry](const Texture& known) { return known.texture == entry->_texture; };
    if (std::none_of(textures.begin(), textures.end(), isSame))
      OSTRA_RETURN_IF_ERROR(textures.Append(Texture{entry->_textureId, entry->_textureItem, entry->_texture}));
  }
  return OK;
}

// What a client has linked itself, and words of reports, are not the program's.
Result<void> GpuRecording::AddBuffer(const DataBufferEntry& entry, const DataDictionary& allBuffers) {
  const auto isSame = [&entry](const DataBufferEntry& known) { return known._deviceBuffer == entry._deviceBuffer; };
  if (!entry._deviceBuffer || std::any_of(buffers.begin(), buffers.end(), isSame)) return OK;
  if (HasBuffer(allBuffers, entry)) OSTRA_RETURN_IF_ERROR(buffers.Append(entry));
  return OK;
}

Result<void> GpuRecording::CheckUnchanged(const DataDictionary& allBuffers, const DataDictionary& allTextures) const {
  for (const Program& used : programs) {
    OSTRA_RETURN_IF_ERROR(used.kernel->ApplyCompiled());
    if (used.kernel->parsed.parser == used.parser) continue;
    return OSTRA_ILLEGAL_STATE(
        "The kernel \"@\" was compiled again since dispatches of it were recorded: they have to be recorded again.",
        used.kernel->id);
  }
  for (const DataBufferEntry& buffer : buffers)
    if (!HasBuffer(allBuffers, buffer)) return recording_errors::MakeBufferChanged(buffer._bufferId);
  for (const Texture& texture : textures)
    if (!HasTexture(allTextures, texture.name, texture.texture))
      return recording_errors::MakeTextureChanged(texture.name);
  return OK;
}

}  // namespace ostra
