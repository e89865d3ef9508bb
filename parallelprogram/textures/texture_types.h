// The data types of textures, in the order in which the module registers them.
//
//   ForEachTextureType([&](DataType type) { return RegisterDataType(module, type); });
#pragma once

#include "parallelprogram/textures/sampler_types.h"

namespace ostra {

// Hands the types to `visit`, which returns Result<void>; stops at the first error and returns it.
template <class... Types, class Visit>
Result<void> ForEachTypeOf(const Visit& visit) {
  Result<void> result = OK;
  [[maybe_unused]] const Bool isComplete = ((result = visit(DataTypeOf<Types>::Make()), result.IsOk()) && ...);
  return result;
}

// The records that describe textures.
template <class Visit>
Result<void> ForEachTextureType(const Visit& visit) {
  return ForEachTypeOf<ImageStorageBuffer, SamplingData, PackedTextureFlags, TextureBindData>(visit);
}

// The 24 sampler object types, then what they have in common.
template <class Visit>
Result<void> ForEachSamplerType(const Visit& visit) {
#define OSTRA_LIST_SAMPLER_TYPE(dimensions, channels, element, filter, ...) \
  TextureSamplerObj_##dimensions##D_##channels##_##element##_##filter,
  return ForEachTypeOf<OSTRA_FOR_EACH_SAMPLER_TYPE(OSTRA_LIST_SAMPLER_TYPE) TextureSamplerDataHelper>(visit);
#undef OSTRA_LIST_SAMPLER_TYPE
}

}  // namespace ostra
