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

// The parts come before the noises made of them.
#include "ostra/render/noise/lattice.h"

#include "ostra/render/noise/feature_points.h"
#include "ostra/render/noise/fractal.h"

#include "ostra/render/noise/blisteredturbulence.h"
#include "ostra/render/noise/box.h"
#include "ostra/render/noise/buya.h"
#include "ostra/render/noise/cell.h"
#include "ostra/render/noise/cranal.h"
#include "ostra/render/noise/dents.h"
#include "ostra/render/noise/displacedturbulence.h"
#include "ostra/render/noise/electric.h"
#include "ostra/render/noise/gaseous.h"
#include "ostra/render/noise/hama.h"
#include "ostra/render/noise/luka.h"
#include "ostra/render/noise/mod.h"
#include "ostra/render/noise/naki.h"
#include "ostra/render/noise/nutous.h"
#include "ostra/render/noise/ober.h"
#include "ostra/render/noise/perlin.h"
#include "ostra/render/noise/pezo.h"
#include "ostra/render/noise/poxo.h"
#include "ostra/render/noise/sema.h"
#include "ostra/render/noise/stupl.h"
#include "ostra/render/noise/turbulence.h"
#include "ostra/render/noise/vl.h"
#include "ostra/render/noise/wavyturbulence.h"
#include "ostra/render/noise/zada.h"

// A noise with coordinates of any kind.
template <NoiseFunction noise>
Float32 EvaluateAnywhere(UInt32 key, Int32 depth, Float32 x, Float32 y, Float32 z, Float32 w) {
  return noise(key, depth, NoiseCoordinate(x), NoiseCoordinate(y), NoiseCoordinate(z), NoiseCoordinate(w));
}

}  // namespace
}  // namespace noise_text

namespace {

template <NoiseFunction noise>
constexpr NoiseEntry MakeEntry(const Id& id) {
  return {id, &noise_text::EvaluateAnywhere<noise>};
}

constinit const NoiseEntry kNoiseEntries[] = {
    MakeEntry<noise_text::NoisePerlin>(kPerlinNoise),
    MakeEntry<noise_text::NoiseTurbulence>(kTurbulenceNoise),
    MakeEntry<noise_text::NoiseGaseous>(kGaseousNoise),
    MakeEntry<noise_text::NoiseElectric>(kElectricNoise),
    MakeEntry<noise_text::NoiseBox>(kBoxNoise),
    MakeEntry<noise_text::NoiseBlisteredTurbulence>(kBlisteredTurbulenceNoise),
    MakeEntry<noise_text::NoiseDisplacedTurbulence>(kDisplacedTurbulenceNoise),
    MakeEntry<noise_text::NoiseBuya>(kBuyaNoise),
    MakeEntry<noise_text::NoiseCranal>(kCranalNoise),
    MakeEntry<noise_text::NoiseDents>(kDentsNoise),
    MakeEntry<noise_text::NoiseHama>(kHamaNoise),
    MakeEntry<noise_text::NoiseLuka>(kLukaNoise),
    MakeEntry<noise_text::NoiseMod>(kModNoise),
    MakeEntry<noise_text::NoiseNaki>(kNakiNoise),
    MakeEntry<noise_text::NoiseNutous>(kNutousNoise),
    MakeEntry<noise_text::NoiseOber>(kOberNoise),
    MakeEntry<noise_text::NoisePezo>(kPezoNoise),
    MakeEntry<noise_text::NoisePoxo>(kPoxoNoise),
    MakeEntry<noise_text::NoiseSema>(kSemaNoise),
    MakeEntry<noise_text::NoiseStupl>(kStuplNoise),
    MakeEntry<noise_text::NoiseVl>(kVlNoise),
    MakeEntry<noise_text::NoiseWavyTurbulence>(kWavyTurbulenceNoise),
    MakeEntry<noise_text::NoiseZada>(kZadaNoise),
    MakeEntry<noise_text::NoiseCellular>(kCellNoise),
};

}  // namespace

std::span<const NoiseEntry> GetNoiseEntries() { return kNoiseEntries; }

UInt32 MakeNoiseKey(Int32 seed) { return noise_text::NoiseKey(static_cast<UInt32>(seed), 0x5EEDu); }

}  // namespace ostra
