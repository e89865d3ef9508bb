#include "parallelprogram/program/recorded_resources.h"

#include <algorithm>

#include "parallelprogram/program/recording_errors.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

using Slot = Array<Generic>;

// The name under which a table has `place`: `name` if it does, or else any other; null when there is none.
template <class T>
const InternedId* FindPlace(const DataDictionary& table, const InternedId& name, const void* place) {
  const auto isIt = [place](const Data& value) {
    T* const* const address = value.GetIf<T*>();
    return address && *address == place;
  };
  const Data* const known = table.FindData(name);
  if (known && isIt(*known)) return &name;
  for (const auto& [other, value] : table)
    if (isIt(value)) return &other;
  return nullptr;
}

// Of a slot that is still there.
Int CountElements(const void* slot) { return static_cast<const Slot*>(slot)->GetFirstBlock().GetCount(); }

}  // namespace

Result<void> RecordedResources::Note(BaseArray<Resource>& known, const InternedId* name, const void* place, Int count) {
  const auto isSame = [place](const Resource& each) { return each.place == place; };
  if (!name || std::any_of(known.begin(), known.end(), isSame)) return OK;
  OSTRA_RETURN_IF_ERROR(known.Append(Resource{*name, place, count}));
  return OK;
}

Result<void> RecordedResources::NoteBuffers(const DataDictionary& links, const DataDictionary& all) {
  for (const auto& [name, value] : links)
    if (Slot* const* const slot = value.GetIf<Slot*>()) OSTRA_RETURN_IF_ERROR(NoteBuffer(*slot, all));
  return OK;
}

Result<void> RecordedResources::NoteBuffer(const Slot* slot, const DataDictionary& all) {
  if (!slot) return OK;
  return Note(_buffers, FindPlace<Slot>(all, InternedId(), slot), slot, CountElements(slot));
}

Result<void> RecordedResources::NoteTextures(const DataDictionary& links, const DataDictionary& all) {
  for (const auto& [name, value] : links) {
    TextureSamplerDataHelper* const* const sampler = value.GetIf<TextureSamplerDataHelper*>();
    if (!sampler) continue;
    const InternedId* const known = FindPlace<TextureSamplerDataHelper>(all, InternedId(), *sampler);
    OSTRA_RETURN_IF_ERROR(Note(_textures, known, *sampler, 0));
  }
  return OK;
}

Result<void> RecordedResources::CheckUnchanged(const DataDictionary& allBuffers,
                                               const DataDictionary& allTextures) const {
  for (const Resource& buffer : _buffers)
    if (!FindPlace<Slot>(allBuffers, buffer.name, buffer.place) || CountElements(buffer.place) != buffer.count)
      return recording_errors::MakeBufferChanged(buffer.name);
  for (const Resource& texture : _textures)
    if (!FindPlace<TextureSamplerDataHelper>(allTextures, texture.name, texture.place))
      return recording_errors::MakeTextureChanged(texture.name);
  return OK;
}

}  // namespace ostra
