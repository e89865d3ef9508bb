#include "bench/workloads/texture_data.h"

#include <cmath>

namespace bench {

TextureData::TextureData(TextureKind kind) : _kind(kind) {
  std::size_t count = static_cast<std::size_t>(GetChannels(kind));
  for (int axis = 0; axis < GetDimensions(kind); ++axis) count *= static_cast<std::size_t>(GetExtent());
  if (kind == TextureKind::Srgb8Rgba2D)
    _bytes.resize(count);
  else
    _floats.resize(count);
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < count; ++i) {
    state = state * 1664525u + 1013904223u;
    if (kind == TextureKind::Srgb8Rgba2D)
      _bytes[i] = static_cast<std::uint8_t>(state >> 24);
    else
      _floats[i] = static_cast<float>(state >> 8) / 16777216.0f;
  }
}

ostra::TextureBindData TextureData::GetBindData() const {
  using ostra::TextureFormat, ostra::TextureWrapMode, ostra::Byte;
  const bool isSrgb = _kind == TextureKind::Srgb8Rgba2D;
  const bool isVolume = _kind == TextureKind::R32f3D;
  const auto extent = static_cast<ostra::UInt32>(GetExtent());
  ostra::TextureBindData data;
  data._data = isSrgb ? reinterpret_cast<const Byte*>(_bytes.data()) : reinterpret_cast<const Byte*>(_floats.data());
  data._dataSize = static_cast<ostra::Int>(_bytes.size() + _floats.size() * sizeof(float));
  data._dimensions = {extent, extent, isVolume ? extent : 1};
  data._format = isSrgb ? TextureFormat::U8 : TextureFormat::F32;
  data._numChannels = static_cast<ostra::UInt32>(GetChannels(_kind));
  data._normalizedValues = data._sRGB = isSrgb;
  for (TextureWrapMode& mode : data._wrapModes) mode = isVolume ? TextureWrapMode::CLAMP : TextureWrapMode::REPEAT;
  return data;
}

double TextureData::GetTexel(const int* index, int channel) const {
  std::size_t texel = 0;
  for (int axis = GetDimensions(_kind) - 1; axis >= 0; --axis) {
    const int extent = GetExtent();
    const int clamped = index[axis] < 0 ? 0 : index[axis] >= extent ? extent - 1 : index[axis];
    const int repeated = (index[axis] % extent + extent) % extent;
    texel = texel * static_cast<std::size_t>(extent) +
            static_cast<std::size_t>(_kind == TextureKind::R32f3D ? clamped : repeated);
  }
  const std::size_t element = texel * static_cast<std::size_t>(GetChannels(_kind)) + static_cast<std::size_t>(channel);
  if (_kind != TextureKind::Srgb8Rgba2D) return _floats[element];
  const double value = _bytes[element] / 255.0;
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

// The sum of all corners by their weights. Only the place is rounded as in the measured lookups.
double TextureData::Sample(const float* at, int channel) const {
  const int dimensions = GetDimensions(_kind);
  double value = 0;
  for (int corner = 0; corner < 1 << dimensions; ++corner) {
    double weight = 1;
    int index[3] = {};
    for (int axis = 0; axis < dimensions; ++axis) {
      const float position = at[axis] * static_cast<float>(GetExtent()) - 0.5f;
      const double whole = std::floor(double{position});
      const int isSecond = corner >> axis & 1;
      index[axis] = static_cast<int>(whole) + isSecond;
      weight *= isSecond ? position - whole : 1 - (position - whole);
    }
    value += weight * GetTexel(index, channel);
  }
  return value;
}

void TextureData::SumRun(const LookupWork& work, std::uint32_t run, double* sums) const {
  for (int channel = 0; channel < GetChannels(_kind); ++channel) {
    sums[channel] = 0;
    for (std::uint32_t i = 0; i < kRunLength; ++i) {
      float at[3];
      if (_kind == TextureKind::R32f3D)
        work.isRandom ? Locate<OneLane, 3, true>(work.scan, run, i, at)
                      : Locate<OneLane, 3, false>(work.scan, run, i, at);
      else
        work.isRandom ? Locate<OneLane, 2, true>(work.scan, run, i, at)
                      : Locate<OneLane, 2, false>(work.scan, run, i, at);
      sums[channel] += Sample(at, channel);
    }
  }
}

}  // namespace bench
