// Textures: texels as they were stored, and values between them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include "conformance/comparisons.h"
#include "conformance/program_runner.h"
#include "ostra/math/half_float.h"
#include "parallelprogram/textures/texture_bind_data.h"

namespace ostra::conformance {
namespace {

using Pixels = std::vector<Vec4<Float32>>;
using Places = std::vector<Vec4<Float32>>;
using Texels = std::vector<Vec4<Int32>>;

constexpr const char* kGroup = "textures";
constexpr UInt32 kPlaces = 3001;

// Numbers that do not depend on the standard library.
class Numbers {
 public:
  Int32 Below(Int32 limit) { return static_cast<Int32>(_engine() % static_cast<UInt32>(limit)); }
  Float64 Fraction() { return static_cast<Float64>(_engine()) / 4294967296.0; }

 private:
  std::mt19937 _engine{7};
};

struct WrapModes {
  TextureWrapMode axes[3];
};
// What a device does along one axis must not depend on the others: every mode on every axis, alone and beside others.
constexpr TextureWrapMode kClamp = TextureWrapMode::CLAMP, kRepeat = TextureWrapMode::REPEAT,
                          kBorder = TextureWrapMode::BORDER;
constexpr WrapModes kWrapModes[] = {{{kClamp, kClamp, kClamp}},
                                    {{kRepeat, kRepeat, kRepeat}},
                                    {{kRepeat, kClamp, kBorder}},
                                    {{kClamp, kBorder, kRepeat}},
                                    {{kBorder, kRepeat, kClamp}}};

struct Picture {
  int dimensions = 2;
  Int channels = 4;
  Vec3<UInt32> size{1, 1, 1};
  TextureFormat format = TextureFormat::F32;
  WrapModes wrap = kWrapModes[0];
  std::vector<Float32> texels;

  Int32 GetExtent(int axis) const { return static_cast<Int32>(axis == 0 ? size.x : axis == 1 ? size.y : size.z); }

  TextureBindData Describe() const {
    TextureBindData data;
    data._data = reinterpret_cast<const Byte*>(texels.data());
    data._dataSize = static_cast<Int64>(texels.size() * sizeof(Float32));
    data._dimensions = size;
    data._format = format;
    data._numChannels = static_cast<UInt32>(channels);
    std::copy(std::begin(wrap.axes), std::end(wrap.axes), data._wrapModes);
    return data;
  }

  // -1 for the border.
  Int32 Wrap(Int32 at, int axis) const {
    const Int32 extent = GetExtent(axis);
    if (at >= 0 && at < extent) return at;
    if (wrap.axes[axis] == kBorder) return -1;
    return wrap.axes[axis] == kClamp ? std::clamp(at, 0, extent - 1) : (at % extent + extent) % extent;
  }
  Float32 GetTexel(const Int32 (&at)[3], Int channel) const {
    if (std::min({at[0], at[1], at[2]}) < 0) return 0;
    const Int place = (Int{at[2]} * size.y + at[1]) * size.x + at[0];
    return texels[static_cast<std::size_t>(place * channels + channel)];
  }
};

// Texels that 16-bit floats hold exactly, so that both programs have the same ones.
Picture MakePicture(int dimensions, TextureFormat format, const WrapModes& wrap) {
  constexpr Int kChannels[] = {2, 4, 3};
  const Vec3<UInt32> sizes[] = {{61, 1, 1}, {37, 23, 1}, {13, 9, 7}};
  Picture picture;
  picture.dimensions = dimensions;
  picture.channels = kChannels[dimensions - 1];
  picture.size = sizes[dimensions - 1];
  picture.format = format;
  picture.wrap = wrap;
  Numbers numbers;
  const Int count = picture.channels * picture.size.x * picture.size.y * picture.size.z;
  for (Int i = 0; i < count; ++i)
    picture.texels.push_back(Float32(HalfFloat(static_cast<Float32>(numbers.Fraction() * 8 - 3))));
  return picture;
}

// Coordinates for kPlaces readings, each of which draw(extent of its axis) makes; axes that are not there are 0.
template <class T, class Draw>
std::vector<Vec4<T>> DrawCoordinates(const Picture& picture, Draw&& draw) {
  std::vector<Vec4<T>> drawn;
  for (UInt32 i = 0; i < kPlaces; ++i) {
    T at[3] = {0, 0, 0};
    for (int axis = 0; axis < picture.dimensions; ++axis) at[axis] = draw(picture.GetExtent(axis));
    drawn.emplace_back(at[0], at[1], at[2], T(0));
  }
  return drawn;
}

// Places between texels, also far outside, that are not so close to a texel's middle that its neighbours would be in
// doubt.
Places MakePlaces(const Picture& picture) {
  Numbers numbers;
  return DrawCoordinates<Float32>(picture, [&numbers](Int32 extent) {
    const Float64 texel = numbers.Below(3 * extent) - extent + 0.5 + 0.02 + 0.96 * numbers.Fraction();
    return static_cast<Float32>(texel / extent);
  });
}

// Below 0, exact multiples of the extent are left out: see GetDifferences.
Texels MakeTexels(const Picture& picture) {
  Numbers numbers;
  return DrawCoordinates<Int32>(picture, [&numbers](Int32 extent) {
    const Int32 texel = numbers.Below(5 * extent) - 2 * extent;
    return texel < 0 && texel % extent == 0 ? texel + 1 : texel;
  });
}

struct Readings {
  Pixels sampled, fetched;
  std::string failure;
};

Readings Read(const Id& programClass, const Picture& picture, const Places& places, const Texels& texels,
              const Url& kernels) {
  ProgramRunner runner(programClass, kernels,
                       "net.ostra.parity.texture" + std::to_string(picture.dimensions) + "d.krn");
  TextureBindData description = picture.Describe();
  runner.SetTexture("image", description);
  runner.SetValue<UInt32>("count", kPlaces);
  runner.SetBuffer("places", places);
  runner.SetBuffer("texels", texels);
  runner.SetBuffer("sampled", Pixels(kPlaces));
  runner.SetBuffer("fetched", Pixels(kPlaces));
  runner.Run({kPlaces, 1, 1});
  Readings readings{runner.Read<Vec4<Float32>>("sampled"), runner.Read<Vec4<Float32>>("fetched"), {}};
  readings.failure = runner.GetFailure();
  return readings;
}

// Smallest and largest of the texels around a place.
struct LocalTexels {
  Float32 low = std::numeric_limits<Float32>::infinity();
  Float32 high = -std::numeric_limits<Float32>::infinity();
};

LocalTexels FindLocalTexels(const Picture& picture, const Vec4<Float32>& place, Int channel) {
  const Float32 coordinates[3] = {place.x, place.y, place.z};
  LocalTexels local;
  for (int corner = 0; corner < 1 << picture.dimensions; ++corner) {
    Int32 at[3] = {0, 0, 0};
    for (int axis = 0; axis < picture.dimensions; ++axis) {
      const Float64 texel = Float64{coordinates[axis]} * picture.GetExtent(axis) - 0.5;
      at[axis] = picture.Wrap(static_cast<Int32>(std::floor(texel)) + (corner >> axis & 1), axis);
    }
    const Float32 value = picture.GetTexel(at, channel);
    local.low = std::min(local.low, value);
    local.high = std::max(local.high, value);
  }
  return local;
}

Float32 GetChannel(const Vec4<Float32>& pixel, Int channel) {
  return channel == 0 ? pixel.x : channel == 1 ? pixel.y : channel == 2 ? pixel.z : pixel.w;
}

// A device rounds the place to a step of the weights along each axis: half a step each.
Float64 GetAllowedSteps(int dimensions) { return dimensions < 3 ? 1 : 1.5; }

class FilterMeasure {
 public:
  FilterMeasure(int dimensions, Int weightBits)
      : _step(std::ldexp(1.0, static_cast<int>(-weightBits))), _allowedSteps(GetAllowedSteps(dimensions)) {}

  void Add(const Picture& picture, const Vec4<Float32>& place, const Vec4<Float32>& cpu, const Vec4<Float32>& gpu) {
    for (Int channel = 0; channel < picture.channels; ++channel) {
      const LocalTexels local = FindLocalTexels(picture, place, channel);
      const Float64 largest = std::max(std::abs(local.low), std::abs(local.high));
      const Float64 codeStep = largest * std::ldexp(1.0, picture.format == TextureFormat::F16 ? -10 : -23);
      const Float64 distance = std::abs(Float64{GetChannel(cpu, channel)} - GetChannel(gpu, channel));
      const Float64 range = Float64{local.high} - local.low;
      if (!(distance <= _allowedSteps * _step * range + codeStep)) _isHeld = false;
      const Float64 steps = std::max(distance - codeStep, 0.0) / (range * _step);
      if (range > 0) _largestSteps = std::isnan(distance) ? distance : std::max(_largestSteps, steps);
    }
  }
  Bool IsHeld() const { return _isHeld; }
  Float64 GetLargestSteps() const { return _largestSteps; }

 private:
  Float64 _step, _allowedSteps;
  Float64 _largestSteps = 0;
  Bool _isHeld = true;
};

}  // namespace

std::vector<ConformanceRow> CompareTextures(int dimensions, Int weightBits, const Url& kernels) {
  const std::string axes = " " + std::to_string(dimensions) + "D, F32 and F16, clamp, repeat, black border";
  ConformanceRow fetches{kGroup, "FetchTexture" + axes, kSameBits, kSameBits, true};
  ConformanceRow samples{
      kGroup,
      "SampleTexture" + axes,
      FormatFigure(GetAllowedSteps(dimensions)) + " steps of the weights (2^-" + std::to_string(weightBits) + ")",
      {},
      true};
  FilterMeasure measure(dimensions, weightBits);
  for (const TextureFormat format : {TextureFormat::F32, TextureFormat::F16}) {
    for (const WrapModes& wrap : kWrapModes) {
      const Picture picture = MakePicture(dimensions, format, wrap);
      const Places places = MakePlaces(picture);
      const Texels texels = MakeTexels(picture);
      const Readings cpu = Read(kCpuProgramClass, picture, places, texels, kernels);
      const Readings gpu = Read(kGpuProgramClass, picture, places, texels, kernels);
      if (!cpu.failure.empty() || !gpu.failure.empty()) {
        for (ConformanceRow* row : {&fetches, &samples})
          *row = MakeFailedRow(kGroup, row->what, row->promised, cpu.failure.empty() ? gpu.failure : cpu.failure);
        return {fetches, samples};
      }
      for (std::size_t i = 0; i < places.size(); ++i) {
        measure.Add(picture, places[i], cpu.sampled[i], gpu.sampled[i]);
        if (!(cpu.fetched[i] == gpu.fetched[i])) fetches.isHeld = false;
      }
    }
  }
  if (!fetches.isHeld) fetches.reached = "other texels";
  samples.isHeld = measure.IsHeld();
  samples.reached = FormatFigure(measure.GetLargestSteps()) + " steps of the weights";
  return {fetches, samples};
}

std::vector<ConformanceRow> CompareTexels(const Url& kernels) {
  constexpr UInt32 kWidth = 37, kHeight = 23;
  constexpr const char* kWhat = "FetchTexture 2D, F32 and U8 of one channel, point";
  Picture numbers = MakePicture(2, TextureFormat::F32, kWrapModes[0]);
  numbers.channels = 1;
  numbers.texels.resize(std::size_t{kWidth} * kHeight);
  std::vector<UInt8> bytes;
  for (UInt32 i = 0; i < kWidth * kHeight; ++i) bytes.push_back(static_cast<UInt8>(i * 7));
  const Texels texels = MakeTexels(numbers);
  const auto run = [&](const Id& programClass, std::string& failure) {
    ProgramRunner runner(programClass, kernels, "net.ostra.parity.texels.krn");
    TextureBindData description = numbers.Describe();
    description._filter = TextureFilter::POINT;
    runner.SetTexture("numbers", description);
    description._format = TextureFormat::U8;
    description._data = bytes.data();
    description._dataSize = static_cast<Int64>(bytes.size());
    runner.SetTexture("bytes", description);
    runner.SetValue<UInt32>("count", kPlaces);
    runner.SetBuffer("texels", texels);
    runner.SetBuffer("foundNumbers", std::vector<Float32>(kPlaces));
    runner.SetBuffer("foundBytes", std::vector<UInt32>(kPlaces));
    runner.SetBuffer("sizes", Texels(kPlaces));
    runner.Run({kPlaces, 1, 1});
    std::vector<Byte> all = runner.ReadBytes("foundNumbers");
    for (const char* more : {"foundBytes", "sizes"})
      for (const Byte byte : runner.ReadBytes(more)) all.push_back(byte);
    failure = runner.GetFailure();
    return all;
  };
  Bool isSame = true;
  for (const WrapModes& wrap : kWrapModes) {
    numbers.wrap = wrap;
    std::string cpuFailure, gpuFailure;
    isSame = run(kCpuProgramClass, cpuFailure) == run(kGpuProgramClass, gpuFailure) && isSame;
    if (!cpuFailure.empty() || !gpuFailure.empty())
      return {MakeFailedRow(kGroup, kWhat, kSameBits, cpuFailure.empty() ? gpuFailure : cpuFailure)};
  }
  return {{kGroup, kWhat, kSameBits, isSame ? kSameBits : "other texels", isSame}};
}

}  // namespace ostra::conformance
