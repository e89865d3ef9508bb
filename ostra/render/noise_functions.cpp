#include "ostra/render/noise_functions.h"

#include "ostra/math/scalar_functions.h"
#include "ostra/render/render_noise.h"

namespace ostra {
namespace noise_text {
namespace {

// What the texts find in every shading language.
using uint = UInt32;
using namespace ostra::vocabulary;

// Every noise has the same parameters; many have no use for the depth.
#pragma GCC diagnostic ignored "-Wunused-parameter"

#include "ostra/render/noise/choices.h"
//
#include "ostra/render/noise_texts.inl"

// A noise with coordinates of any kind.
template <NoiseFunction noise>
Float32 EvaluateAnywhere(UInt32 key, Int32 depth, Float32 x, Float32 y, Float32 z, Float32 w) {
  return noise(key, depth, NoiseCoordinate(x), NoiseCoordinate(y), NoiseCoordinate(z), NoiseCoordinate(w));
}

}  // namespace
}  // namespace noise_text

namespace {

constinit const NoiseEntry kNoiseEntries[] = {
#define OSTRA_NOISE(mode, name, id) {k##name##Noise, &noise_text::EvaluateAnywhere<noise_text::Noise##name>},
#include "ostra/render/noise_table.inl"
};

}  // namespace

std::span<const NoiseEntry> GetNoiseEntries() { return kNoiseEntries; }

UInt32 MakeNoiseKey(Int32 seed) { return noise_text::NoiseKey(static_cast<UInt32>(seed), 0x5EEDu); }

}  // namespace ostra
