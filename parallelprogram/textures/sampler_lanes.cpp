#include "parallelprogram/textures/sampler_lanes.h"

#define OSTRA_LANE_LEVEL 0
#include "parallelprogram/textures/sampler_lanes.inl"
#undef OSTRA_LANE_LEVEL
#if defined(__x86_64__)
#define OSTRA_LANE_LEVEL 1
#include "parallelprogram/textures/sampler_lanes.inl"
#undef OSTRA_LANE_LEVEL
#define OSTRA_LANE_LEVEL 2
#include "parallelprogram/textures/sampler_lanes.inl"
#undef OSTRA_LANE_LEVEL
#endif

namespace ostra {
namespace {

// The functions of one instruction level, by dimensions less one.
struct LaneFunctions {
  SampleLanesFunction sample[3];
  FetchLanesFunction fetch[3];
  FetchLanesFunction fetchByte[3];
};

#define OSTRA_LANE_FUNCTIONS(level)                                                         \
  {                                                                                         \
    {&level::SampleLanesOf<1>, &level::SampleLanesOf<2>, &level::SampleLanesOf<3>},         \
        {&level::FetchLanesOf<1>, &level::FetchLanesOf<2>, &level::FetchLanesOf<3>}, {      \
      &level::FetchByteLanesOf<1>, &level::FetchByteLanesOf<2>, &level::FetchByteLanesOf<3> \
    }                                                                                       \
  }

constexpr LaneFunctions kLevels[] = {
    OSTRA_LANE_FUNCTIONS(lanes4),
#if defined(__x86_64__)
    OSTRA_LANE_FUNCTIONS(lanes8),
    OSTRA_LANE_FUNCTIONS(lanes16),
#endif
};
static_assert(std::size(kLevels) <= SamplerLanes::kLevels);

}  // namespace

void SetSamplerLanes(TextureSamplerDataHelper& sampler, Int dimensions, Int outputs, const TextureBindData& bindData) {
  SamplerLanes& lanes = sampler._lanes;
  lanes = {};
  lanes.sampleOne = sampler._sample;
  lanes.fetchOne = sampler._fetch;
  lanes.format = bindData._format;
  lanes.isNormalized = bindData._normalizedValues;
  lanes.isSrgb = bindData._sRGB;
  lanes.channels = bindData._numChannels;
  lanes.outputs = static_cast<UInt32>(outputs);
  const Bool isPoint = reinterpret_cast<const void*>(sampler._sample) == reinterpret_cast<const void*>(sampler._fetch);
  for (std::size_t level = 0; level < std::size(kLevels); ++level) {
    const LaneFunctions& functions = kLevels[level];
    if (!isPoint) lanes.sample[level] = functions.sample[dimensions - 1];
    lanes.fetch[level] = (outputs == 0 ? functions.fetchByte : functions.fetch)[dimensions - 1];
  }
}

}  // namespace ostra
