// SamplingData: a texture as its samplers see it, with a copy of the texels of its own; and the sampler object around
// it.
//
//   SamplingData copy;
//   OSTRA_RETURN_IF_ERROR(copy.CopyFrom(sampler._samplingData));     // texels included
//
// Behind the last texel lie zeros (GetSlack), so that coordinates that wrap to one past the end of an axis read zero.
// Header-only, because kernels outside the module read these records. Reading is thread-safe.
#pragma once

#include "ostra/core/memory.h"
#include "parallelprogram/textures/texture_bind_data.h"

namespace ostra {

// How a texture is addressed, in 16 bits.
struct PackedTextureFlags {
  static constexpr UInt32 kWrapMask = 3;  // wrap mode of x; that of y is 2 bits higher, that of z 4 bits
  static constexpr UInt32 kFilterMask = 0xC0;
  static constexpr UInt32 kLinearFilter = 0x40;
  static constexpr UInt32 kNormalizedCoordinates = 0x100;  // from this value on: some bit of the upper byte is set

  UInt16 _bits = 0;
};

struct SamplingData {
  Float32 _borderColor[4] = {0, 0, 0, 0};
  Byte* _texels = nullptr;  // owned, AllocMem; followed by GetSlack() bytes of zeros
  UInt32 _numChannels = 0;
  Int64 _dataSize = 0;  // bytes at _texels, without the slack
  Vec3<UInt32> _dimensions{0, 0, 0};
  PackedTextureFlags _flags;
  TextureFormat _format;  // left open by the default constructor

  SamplingData() {}  // NOLINT(cppcoreguidelines-pro-type-member-init)
  SamplingData(const SamplingData&) = delete;
  SamplingData& operator=(const SamplingData&) = delete;
  SamplingData(SamplingData&& other) noexcept { *this = std::move(other); }
  inline SamplingData& operator=(SamplingData&& other) noexcept;
  ~SamplingData() { FreeMem(_texels); }

  // Becomes a copy of `other`, texels included. Error: out of memory; there are then no texels.
  inline Result<void> CopyFrom(const SamplingData& other);

  // Takes everything over but the texels.
  void CopyDescription(const SamplingData& other) {
    for (Int i = 0; i < 4; ++i) _borderColor[i] = other._borderColor[i];
    _numChannels = other._numChannels;
    _dataSize = other._dataSize;
    _dimensions = other._dimensions;
    _flags = other._flags;
    _format = other._format;
  }

  // Gives the record memory for _dataSize bytes and the slack, which is zero; the texels are zero on demand.
  // Uses the size, the dimensions and the texel size. Error: out of memory.
  inline Result<void> AllocateTexels(Bool zeroed);

  // Zero bytes behind the texels.
  inline Int GetSlack() const;
};

// Bytes of one element; 4 for a value that is no format.
constexpr Int GetElementSize(TextureFormat format) {
  switch (format) {
    case TextureFormat::U8:
    case TextureFormat::I8:
      return 1;
    case TextureFormat::U16:
    case TextureFormat::I16:
      return 2;
    default:
      return 4;
  }
}

// Reads a texel: `coordinates` holds one value per dimension. Both write as many values as the sampler has channels to
// `result` (floats, or a byte for the U8 samplers) and return it. The sample functions of point samplers are their
// fetch functions, so they take integers.
using SampleFunction = void* (*)(void* result, const Float32* coordinates, UInt32 layer, const SamplingData* data);
using FetchFunction = void* (*)(void* result, const Int32* coordinates, UInt32 layer, const SamplingData* data);

struct TextureSamplerDataHelper;

// Lookups of several invocations at once, one per lane: 4, 8 or 16 lanes by instruction level (ostra/math/lanes). All
// arrays hold the numbers of all lanes one after the other: `coordinates` those of the x, then those of the y and of
// the z; `result` those of the first channel, then those of the second and so on (32 bits each, bytes as UInt32). Bit i
// of `mask` says whether lane i takes part; what the result holds for the others is not defined.
using SampleLanesFunction = void (*)(void* result, const Float32* coordinates, const UInt32* layers, UInt32 mask,
                                     const TextureSamplerDataHelper* sampler);
using FetchLanesFunction = void (*)(void* result, const Int32* coordinates, const UInt32* layers, UInt32 mask,
                                    const TextureSamplerDataHelper* sampler);

// The wide form of a sampler's functions, with the same bits. A sampler may have none.
struct SamplerLanes {
  static constexpr Int kLevels = 3;

  SampleFunction sampleOne = nullptr;  // what the others stand for: they hold for a sampler with these functions
  FetchFunction fetchOne = nullptr;
  SampleLanesFunction sample[kLevels] = {};  // null when there is none
  FetchLanesFunction fetch[kLevels] = {};
  TextureFormat format = TextureFormat::F32;  // how a texel becomes a value
  Bool isNormalized = false;
  Bool isSrgb = false;
  UInt32 channels = 0;
  UInt32 outputs = 0;
};

// The layout of all sampler objects. Copying and moving leave the target's _fetch as it is, so only the object that the
// program made can be fetched from.
struct TextureSamplerDataHelper {
  Int32 _kind;  // 1 to 255, see texture_factory.h
  SampleFunction _sample;
  FetchFunction _fetch;
  SamplingData _samplingData;
  DataType _valueType;  // of one element
  SamplerLanes _lanes;

  // The wide form of a slot; null when there is none.
  SampleLanesFunction GetSampleLanes(Int level) const {
    return _lanes.sampleOne == _sample ? _lanes.sample[level] : nullptr;
  }
  FetchLanesFunction GetFetchLanes(Int level) const {
    return _lanes.fetchOne == _fetch ? _lanes.fetch[level] : nullptr;
  }

  TextureSamplerDataHelper() {}  // NOLINT(cppcoreguidelines-pro-type-member-init): kind and functions are left open
  TextureSamplerDataHelper(const TextureSamplerDataHelper&) = delete;
  TextureSamplerDataHelper& operator=(const TextureSamplerDataHelper&) = delete;
  TextureSamplerDataHelper& operator=(TextureSamplerDataHelper&& other) noexcept {
    _samplingData = std::move(other._samplingData);
    CopyDescription(other);
    return *this;
  }
  ~TextureSamplerDataHelper() = default;

  // Becomes a copy of `other` but for _fetch. Error: out of memory; there are then no texels.
  Result<void> CopyFrom(const TextureSamplerDataHelper& other) {
    CopyDescription(other);
    return _samplingData.CopyFrom(other._samplingData);
  }

 private:
  void CopyDescription(const TextureSamplerDataHelper& other) {
    _kind = other._kind;
    _sample = other._sample;
    _valueType = other._valueType;
    _lanes = other._lanes;
  }
};

// A plain record without an owner: a place for an image that a program writes.
struct ImageStorageBuffer {
  void* _storage = nullptr;
  UInt32 _description;  // left open by the default constructor
  UInt32 _reserved[3] = {0, 0, 0};

  ImageStorageBuffer() {}  // NOLINT(cppcoreguidelines-pro-type-member-init)
};

// The source keeps its description but has no texels, border colour and dimensions any more.
inline SamplingData& SamplingData::operator=(SamplingData&& other) noexcept {
  if (this == &other) return *this;
  FreeMem(_texels);
  _texels = std::exchange(other._texels, nullptr);
  CopyDescription(other);
  for (Float32& component : other._borderColor) component = 0;
  other._dimensions = {0, 0, 0};
  return *this;
}

inline Result<void> SamplingData::CopyFrom(const SamplingData& other) {
  if (this == &other) return OK;
  FreeMem(std::exchange(_texels, nullptr));
  CopyDescription(other);
  if (!other._texels) return OK;
  OSTRA_RETURN_IF_ERROR(AllocateTexels(false));
  if (_dataSize > 0) MemCopy(_texels, other._texels, _dataSize);
  return OK;
}

inline Result<void> SamplingData::AllocateTexels(Bool zeroed) {
  constexpr Int kLimit = Int{1} << 60;  // sums with the slack stay in range
  const Bool isPossible = _dataSize >= 0 && _dataSize <= kLimit;
  const Int size = isPossible ? _dataSize + GetSlack() : -1;
  _texels = static_cast<Byte*>(zeroed ? AllocZeroed(size) : AllocMem(size));
  if (!_texels) return Error::MakeOutOfMemory("texture_sampling_structs", __LINE__);
  if (!zeroed) std::memset(_texels + _dataSize, 0, static_cast<std::size_t>(GetSlack()));
  return OK;
}

// One past the end along x is one texel, along y a row, along z a slice. No more than the texture itself, which is
// enough for every texture that is as large as its dimensions say, plus room for one texel of the widest kind.
inline Int SamplingData::GetSlack() const {
  constexpr UInt64 kWidestTexel = 16;
  const UInt64 row = UInt64{_dimensions.x} + 1;
  const UInt64 texels = _dimensions.z > 1 ? row + UInt64{_dimensions.x} * _dimensions.y : row;
  const UInt64 texelSize = UInt64{_numChannels} * static_cast<UInt64>(GetElementSize(_format));
  const UInt64 limit = texelSize == 0 ? 0 : static_cast<UInt64>(_dataSize) / texelSize;
  return static_cast<Int>((texels < limit ? texels : limit) * texelSize + kWidestTexel);
}

}  // namespace ostra

OSTRA_DATATYPE(ostra::TextureBindData, "net.ostra.datatype.parallelprogram.textures.texturebinddata",
               "ostra::TextureBindData");
OSTRA_DATATYPE(ostra::PackedTextureFlags, "net.ostra.datatype.parallelprogram.textures.packedtextureflags",
               "ostra::PackedTextureFlags");
OSTRA_DATATYPE(ostra::SamplingData, "net.ostra.datatype.parallelprogram.textures.samplingdata", "ostra::SamplingData");
OSTRA_DATATYPE(ostra::ImageStorageBuffer, "net.ostra.datatype.parallelprogram.textures.imagestoragebuffer",
               "ostra::ImageStorageBuffer");
OSTRA_DATATYPE(ostra::TextureSamplerDataHelper, "net.ostra.datatype.parallelprogram.textures.texturesamplerdatahelper",
               "ostra::TextureSamplerDataHelper");
