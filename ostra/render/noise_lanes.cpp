// Noises of several places at once, for all instruction levels.
#include "ostra/render/noise_functions.h"

#define OSTRA_LANE_LEVEL 0
#include "ostra/render/noise_lanes.inl"
#undef OSTRA_LANE_LEVEL
#if defined(__x86_64__)
#define OSTRA_LANE_LEVEL 1
#include "ostra/render/noise_lanes.inl"
#undef OSTRA_LANE_LEVEL
#define OSTRA_LANE_LEVEL 2
#include "ostra/render/noise_lanes.inl"
#undef OSTRA_LANE_LEVEL
#endif

namespace ostra {

NoiseLanesFunction GetNoiseLanes(Int entry, Int level) {
  switch (level) {
    case 0:
      return lanes4::noise_text::kFunctions[entry];
#if defined(__x86_64__)
    case 1:
      return lanes8::noise_text::kFunctions[entry];
    case 2:
      return lanes16::noise_text::kFunctions[entry];
#endif
    default:
      return nullptr;
  }
}

}  // namespace ostra
