#include <array>
#include <cmath>

#include "bench/references/spread.h"
#include "bench/references/texture_references.h"

namespace bench {
namespace {

struct FloatTexels {
  const float* texels;
  float Load(std::int64_t element) const { return texels[element]; }
};

struct SrgbTexels {
  const std::uint8_t* texels;
  const float* curve;
  float Load(std::int64_t element) const { return curve[texels[element]]; }
};

enum class Wrap { Repeat, Clamp };

// The two texels around a coordinate, and how much the second one weighs.
struct Pair {
  int first, second;
  float weight;
};

template <Wrap kWrap>
Pair FindPair(float coordinate, int extent) {
  if constexpr (kWrap == Wrap::Repeat) coordinate = coordinate - std::floor(coordinate);
  const float position = coordinate * static_cast<float>(extent) - 0.5f;
  const float whole = std::floor(position);
  Pair pair{static_cast<int>(whole), static_cast<int>(whole) + 1, position - whole};
  if constexpr (kWrap == Wrap::Repeat) {
    if (pair.first < 0) pair.first += extent;
    if (pair.second >= extent) pair.second -= extent;
  } else {
    pair.first = pair.first < 0 ? 0 : pair.first >= extent ? extent - 1 : pair.first;
    pair.second = pair.second < 0 ? 0 : pair.second >= extent ? extent - 1 : pair.second;
  }
  return pair;
}

float Lerp(float a, float b, float weight) { return (b - a) * weight + a; }

template <class Texels, Wrap kWrap, int kDimensions, int kChannels>
struct Sampler {
  Texels texels;
  int extent;

  std::array<float, kChannels> Sample(const float* at) const {
    std::array<Pair, 3> pairs{};
    for (int axis = 0; axis < kDimensions; ++axis)
      pairs[static_cast<std::size_t>(axis)] = FindPair<kWrap>(at[axis], extent);
    const std::array<float, kChannels> front = BlendPlane(pairs[0], pairs[1], pairs[2].first);
    if constexpr (kDimensions == 2) {
      return front;
    } else {
      const std::array<float, kChannels> back = BlendPlane(pairs[0], pairs[1], pairs[2].second);
      std::array<float, kChannels> value;
      for (std::size_t i = 0; i < kChannels; ++i) value[i] = Lerp(front[i], back[i], pairs[2].weight);
      return value;
    }
  }

 private:
  std::array<float, kChannels> BlendPlane(const Pair& x, const Pair& y, int z) const {
    const std::int64_t upper = (std::int64_t{z} * extent + y.first) * extent;
    const std::int64_t lower = (std::int64_t{z} * extent + y.second) * extent;
    std::array<float, kChannels> value;
    for (int i = 0; i < kChannels; ++i) {
      const float above = Lerp(texels.Load((upper + x.first) * kChannels + i),
                               texels.Load((upper + x.second) * kChannels + i), x.weight);
      const float below = Lerp(texels.Load((lower + x.first) * kChannels + i),
                               texels.Load((lower + x.second) * kChannels + i), x.weight);
      value[static_cast<std::size_t>(i)] = Lerp(above, below, y.weight);
    }
    return value;
  }
};

template <bool kIsRandom, class Texels, Wrap kWrap, int kDimensions, int kChannels>
void SumRuns(const Sampler<Texels, kWrap, kDimensions, kChannels>& sampler, const Scan& scan, float* sums) {
  auto sumRun = [=](std::int64_t run) {
    std::array<float, kChannels> sum{};
    for (std::uint32_t i = 0; i < kRunLength; ++i) {
      float at[kDimensions];
      Locate<OneLane, kDimensions, kIsRandom>(scan, static_cast<std::uint32_t>(run), i, at);
      const std::array<float, kChannels> value = sampler.Sample(at);
      for (std::size_t channel = 0; channel < kChannels; ++channel) sum[channel] += value[channel];
    }
    for (int channel = 0; channel < kChannels; ++channel)
      sums[run * kChannels + channel] = sum[static_cast<std::size_t>(channel)];
  };
  Spread(
      Style::Tbb, kRuns, 64,
      [=](std::int64_t begin, std::int64_t end) {
        for (std::int64_t run = begin; run < end; ++run) sumRun(run);
      },
      sumRun);
}

template <class Sampler>
void SumRuns(const Sampler& sampler, const LookupWork& work, float* sums) {
  work.isRandom ? SumRuns<true>(sampler, work.scan, sums) : SumRuns<false>(sampler, work.scan, sums);
}

}  // namespace

const float* GetSrgbCurve() {
  static const auto curve = [] {
    std::array<float, 256> values;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const float value = static_cast<float>(i) / 255.0f;
      values[i] = value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
    }
    return values;
  }();
  return curve.data();
}

void SumInlined(const LookupWork& work, float* sums) {
  const FloatTexels floats{static_cast<const float*>(work.texels)};
  switch (work.kind) {
    case TextureKind::Rgba32f2D:
      return SumRuns(Sampler<FloatTexels, Wrap::Repeat, 2, 4>{floats, work.extent}, work, sums);
    case TextureKind::R32f3D:
      return SumRuns(Sampler<FloatTexels, Wrap::Clamp, 3, 1>{floats, work.extent}, work, sums);
    case TextureKind::Srgb8Rgba2D: {
      const SrgbTexels bytes{static_cast<const std::uint8_t*>(work.texels), GetSrgbCurve()};
      return SumRuns(Sampler<SrgbTexels, Wrap::Repeat, 2, 4>{bytes, work.extent}, work, sums);
    }
  }
}

}  // namespace bench
