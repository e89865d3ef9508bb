// Render noises: procedural textures of up to four dimensions. Every kind is a class of its own in the registry
// net.ostra.render.registry.rendernoiseclasses; docs/noise.md shows them all.
//
//   OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kRenderNoiseRegistry));
//   OSTRA_ASSIGN_OR_RETURN(ClassRef noiseClass, registry.FindEntryValue(kPerlinNoise));
//   OSTRA_ASSIGN_OR_RETURN(RenderNoiseRef noise, noiseClass->CreateObject<RenderNoiseInterface>());
//   OSTRA_RETURN_IF_ERROR(noise->Init(1234, kNoiseDepth, kPerlinNoise));
//   const Float32 value = noise->Noise(Vector32(1.5f, 0.2f, 3.0f), 0.0f);      // 0 ... 1
//
// The same class, seed and depth give the same bits everywhere: on every processor and in shaders, which run the very
// same text. Header-only for those who use noises: they are found at run time, and a host may lack them.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/math/vector.h"
#include "ostra/object/interface.h"

namespace ostra {

inline constexpr Id kRenderNoiseRegistry = "net.ostra.render.registry.rendernoiseclasses"_id;

// The IDs of the classes: kPerlinNoise, kTurbulenceNoise and so on, for every line of the table.
#define OSTRA_NOISE(mode, name, id) inline constexpr Id k##name##Noise = "net.ostra.render.rendernoiseclass." id ""_id;
#include "ostra/render/noise_table.inl"

// The usual depth of a noise: the most octaves that are summed up.
inline constexpr Int32 kNoiseDepth = 10;
inline constexpr Int32 kMaxNoiseDepth = 16;

class RenderNoiseInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.render.interface.rendernoise"_id;

  // Called once, before others see the object. `depth` limits the octaves (1 to kMaxNoiseDepth; classes without
  // octaves ignore it); `classId` is the object's own class. An object without Init has seed 0 and kNoiseDepth.
  // Errors: illegal argument for a wrong depth or class; illegal state for a second call.
  virtual Result<void> Init(Int32 seed, Int32 depth, const Id& classId) = 0;

  // The value at a position: 0 ... 1, never anything else. Features are about 1 wide. Missing coordinates are 0, and
  // `time` is added to the fourth, so 2D, 3D and 4D show the same noise. The noise repeats after 65536 on every axis;
  // coordinates beyond 2^23, that are no numbers, or closer to 0 than 2^-24 count as 0. Never fails nor allocates; safe
  // for any number of threads.
  virtual Float32 Noise(Float32 position, Float32 time) const = 0;
  virtual Float32 Noise(const Vec2<Float32>& position, Float32 time) const = 0;
  virtual Float32 Noise(const Vec3<Float32>& position, Float32 time) const = 0;
  virtual Float32 Noise(const Vec4<Float32>& position, Float32 time) const = 0;

  // The same for 4 << level places at once (ostra/math/lanes), with the same bits: `positions` holds the first
  // coordinates of all places, then the second ones, the third ones and the fourth ones, to which times are added.
  // False, and no values, when there is no form for the level. Only for a level that the processor has.
  virtual Bool NoiseLanes(Int level, Float32* values, const Float32* positions) const {
    static_cast<void>(level), static_cast<void>(values), static_cast<void>(positions);
    return false;
  }
};

using RenderNoiseRef = StrongRef<RenderNoiseInterface>;

}  // namespace ostra

OSTRA_DATATYPE(ostra::RenderNoiseRef, "net.ostra.datatype.rendernoise", "RenderNoise");
