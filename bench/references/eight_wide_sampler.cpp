#include "bench/references/texture_references.h"

#ifdef __AVX2__

#include <immintrin.h>

#include "bench/references/spread.h"

namespace bench {
namespace {

struct EightLanes {
  using Float = float __attribute__((vector_size(32)));
  using Int = std::int32_t __attribute__((vector_size(32)));
  using UInt = std::uint32_t __attribute__((vector_size(32)));
  static constexpr std::uint32_t kCount = 8;
  static Float ToFloat(UInt numbers) { return __builtin_convertvector(reinterpret_cast<Int>(numbers), Float); }
};
using Float8 = EightLanes::Float;
using Int8 = EightLanes::Int;

Float8 Floor(Float8 values) { return reinterpret_cast<Float8>(_mm256_floor_ps(reinterpret_cast<__m256>(values))); }

Float8 Gather(const float* numbers, Int8 indices) {
  return reinterpret_cast<Float8>(_mm256_i32gather_ps(numbers, reinterpret_cast<__m256i>(indices), 4));
}

Int8 Gather(const int* numbers, Int8 indices) {
  return reinterpret_cast<Int8>(_mm256_i32gather_epi32(numbers, reinterpret_cast<__m256i>(indices), 4));
}

Float8 Lerp(Float8 a, Float8 b, Float8 weight) { return (b - a) * weight + a; }

// Texels are loaded channel by channel; what Prepare gives holds for all channels.
struct FloatTexels {
  static constexpr bool kRepeats = true;
  static constexpr int kDimensions = 2, kChannels = 4;
  const float* texels;
  Int8 Prepare(Int8 texel) const { return texel * kChannels; }
  Float8 Load(Int8 element, int channel) const { return Gather(texels + channel, element); }
};

struct VolumeTexels {
  static constexpr bool kRepeats = false;
  static constexpr int kDimensions = 3, kChannels = 1;
  const float* texels;
  Int8 Prepare(Int8 texel) const { return texel; }
  Float8 Load(Int8 texel, int) const { return Gather(texels, texel); }
};

struct SrgbTexels {
  static constexpr bool kRepeats = true;
  static constexpr int kDimensions = 2, kChannels = 4;
  const int* texels;  // four bytes each
  const float* curve;
  Int8 Prepare(Int8 texel) const { return Gather(texels, texel); }
  Float8 Load(Int8 bytes, int channel) const { return Gather(curve, bytes >> (8 * channel) & 255); }
};

struct Pairs {
  Int8 first, second;
  Float8 weight;
};

template <bool kRepeats>
Pairs FindPairs(Float8 coordinate, int extent) {
  if constexpr (kRepeats) coordinate = coordinate - Floor(coordinate);
  const Float8 position = coordinate * static_cast<float>(extent) - 0.5f;
  const Float8 whole = Floor(position);
  const Int8 first = __builtin_convertvector(whole, Int8), second = first + 1;
  const Float8 weight = position - whole;
  if constexpr (kRepeats) return {first + ((first < 0) & extent), second - ((second >= extent) & extent), weight};
  const auto clamp = [&](Int8 index) {
    const Int8 inside = index & ~(index < 0);
    const Int8 isBeyond = inside >= extent;
    return (inside & ~isBeyond) | ((extent - 1) & isBeyond);
  };
  return {clamp(first), clamp(second), weight};
}

// Blends eight lookups into `values`, one vector a channel.
template <class Texels>
void BlendPlane(const Texels& texels, const Pairs& x, const Pairs& y, Int8 slice, int extent, Float8* values) {
  const Int8 upper = (slice * extent + y.first) * extent, lower = (slice * extent + y.second) * extent;
  const Int8 corners[4] = {texels.Prepare(upper + x.first), texels.Prepare(upper + x.second),
                           texels.Prepare(lower + x.first), texels.Prepare(lower + x.second)};
  for (int channel = 0; channel < Texels::kChannels; ++channel) {
    const auto load = [&](int corner) { return texels.Load(corners[corner], channel); };
    values[channel] = Lerp(Lerp(load(0), load(1), x.weight), Lerp(load(2), load(3), x.weight), y.weight);
  }
}

template <class Texels>
void Sample(const Texels& texels, int extent, const Float8* at, Float8* values) {
  const Pairs x = FindPairs<Texels::kRepeats>(at[0], extent), y = FindPairs<Texels::kRepeats>(at[1], extent);
  if constexpr (Texels::kDimensions == 2) {
    BlendPlane(texels, x, y, Int8{}, extent, values);
  } else {
    const Pairs z = FindPairs<Texels::kRepeats>(at[2], extent);
    Float8 back[Texels::kChannels];
    BlendPlane(texels, x, y, z.first, extent, values);
    BlendPlane(texels, x, y, z.second, extent, back);
    for (int channel = 0; channel < Texels::kChannels; ++channel)
      values[channel] = Lerp(values[channel], back[channel], z.weight);
  }
}

template <bool kIsRandom, class Texels>
void SumRun(const Texels& texels, const LookupWork& work, std::int64_t run, float* sums) {
  Float8 sum[Texels::kChannels] = {};
  for (std::uint32_t i = 0; i < kRunLength; i += EightLanes::kCount) {
    Float8 at[Texels::kDimensions], values[Texels::kChannels];
    const EightLanes::UInt lookups = EightLanes::UInt{0, 1, 2, 3, 4, 5, 6, 7} + i;
    Locate<EightLanes, Texels::kDimensions, kIsRandom>(work.scan, static_cast<std::uint32_t>(run), lookups, at);
    Sample(texels, work.extent, at, values);
    for (int channel = 0; channel < Texels::kChannels; ++channel) sum[channel] += values[channel];
  }
  for (int channel = 0; channel < Texels::kChannels; ++channel) {
    float total = 0;
    for (int lane = 0; lane < 8; ++lane) total += sum[channel][lane];
    sums[run * Texels::kChannels + channel] = total;
  }
}

template <class Texels>
void SumRuns(const Texels& texels, const LookupWork& work, float* sums) {
  auto sumRun = [=](std::int64_t run) {
    work.isRandom ? SumRun<true>(texels, work, run, sums) : SumRun<false>(texels, work, run, sums);
  };
  Spread(
      Style::Tbb, kRuns, 64,
      [=](std::int64_t begin, std::int64_t end) {
        for (std::int64_t run = begin; run < end; ++run) sumRun(run);
        _mm256_zeroupper();  // GCC 12 leaves it out, and other code on this thread is several times slower then
      },
      sumRun);
}

}  // namespace

bool HasEightWide() { return true; }

void SumEightWide(const LookupWork& work, float* sums) {
  switch (work.kind) {
    case TextureKind::Rgba32f2D:
      return SumRuns(FloatTexels{static_cast<const float*>(work.texels)}, work, sums);
    case TextureKind::R32f3D:
      return SumRuns(VolumeTexels{static_cast<const float*>(work.texels)}, work, sums);
    case TextureKind::Srgb8Rgba2D:
      return SumRuns(SrgbTexels{static_cast<const int*>(work.texels), GetSrgbCurve()}, work, sums);
  }
}

}  // namespace bench

#else

namespace bench {

bool HasEightWide() { return false; }
void SumEightWide(const LookupWork&, float*) {}

}  // namespace bench

#endif
