#include "parallelprogram/device/texture_storage.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/image/pixel_format_search.h"
#include "ostra/jobs/parallel_for.h"
#include "ostra/math/half_float.h"
#include "parallelprogram/device/cache_keys.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

// No bits for formats that the device has nothing for.
PixelChannel FindChannel(TextureFormat format, const NarrowTexels& narrow) {
  switch (format) {
    case TextureFormat::F32:
      return kFloat32Channel;
    case TextureFormat::F16:
      return narrow.with16bit ? kFloat16Channel : kFloat32Channel;
    case TextureFormat::U32:
      return kUInt32Channel;
    case TextureFormat::I32:
      return kInt32Channel;
    case TextureFormat::U8:
      return narrow.with8bit ? kUInt8Channel : kUInt32Channel;
    case TextureFormat::I8:
      return narrow.with8bit ? kInt8Channel : kInt32Channel;
    case TextureFormat::U16:
      return narrow.with8bit ? kUInt16Channel : kUInt32Channel;
    default:
      return {};
  }
}

// Null when there is none.
PixelFormatRef FindFormat(TextureFormat format, Int channels, const NarrowTexels& narrow) {
  const PixelChannel channel = FindChannel(format, narrow);
  // There are no signed formats of three and four channels of 8 bits.
  const Bool isUnsigned = channel == kInt8Channel && channels > 2;
  return FindPixelFormat(channels, isUnsigned ? kUInt8Channel : channel);
}

TextureFormat GetTextureFormat(const PixelFormat& format) {
  const Bool isNarrow = format.bitsPerChannel < 32;
  switch (format.valueClass) {
    case PixelValueClass::FloatingPoint:
      return isNarrow ? TextureFormat::F16 : TextureFormat::F32;
    case PixelValueClass::SignedInteger:
      return isNarrow ? TextureFormat::I8 : TextureFormat::I32;
    default:
      return format.bitsPerChannel == 8 ? TextureFormat::U8 : isNarrow ? TextureFormat::U16 : TextureFormat::U32;
  }
}

// 0 where not even their bytes could be counted.
Int CountElements(const TextureBindData& bindData) {
  constexpr Int kMaxElement = 8;
  const Vec3<UInt32>& size = bindData._dimensions;
  Int count = bindData._numChannels, bytes = 0;
  for (const UInt32 extent : {size.x, size.y, size.z})
    if (__builtin_mul_overflow(count, Int{extent}, &count)) return 0;
  return __builtin_mul_overflow(count, kMaxElement, &bytes) ? 0 : count;
}

// Bytes of an element as it is given. Halves may come as halves or as floats, and texels that were read back have the
// width that they are stored in: the size tells.
Int GetGivenElementSize(const TextureBindData& bindData, Int elementCount, Int storedSize) {
  if (elementCount > 0 && bindData._dataSize == elementCount * storedSize) return storedSize;
  const Bool isHalf = bindData._format == TextureFormat::F16 && bindData._dataSize == elementCount * 2;
  return isHalf ? 2 : GetElementSize(bindData._format);
}

template <class From, class To, class Convert>
void ConvertElements(const Byte* source, Byte* target, Int count, Convert&& convert) {
  constexpr Int kGranularity = Int{1} << 16;
  ParallelFor::Dynamic(
      count,
      [&](Int begin, Int end) {
        for (Int i = begin; i < end; ++i) {
          From from;
          MemCopy(&from, source + i * static_cast<Int>(sizeof(From)), sizeof(From));
          const To to = convert(from);
          MemCopy(target + i * static_cast<Int>(sizeof(To)), &to, sizeof(To));
        }
      },
      kGranularity);
}

template <class From, class To>
void Widen(const Byte* source, Byte* target, Int count) {
  ConvertElements<From, To>(source, target, count, [](From value) { return static_cast<To>(value); });
}

void ConvertTexels(TextureFormat format, Int givenSize, const Byte* source, Byte* target, Int count) {
  if (format == TextureFormat::F16 && givenSize == 4)
    ConvertElements<Float32, UInt16>(source, target, count, [](Float32 value) { return HalfFloat(value).GetBits(); });
  else if (format == TextureFormat::F16)
    ConvertElements<UInt16, Float32>(source, target, count,
                                     [](UInt16 bits) { return Float32(HalfFloat::FromBits(bits)); });
  else if (format == TextureFormat::I8)
    Widen<signed char, Int32>(source, target, count);
  else if (format == TextureFormat::U8)
    Widen<UInt8, UInt32>(source, target, count);
  else
    Widen<UInt16, UInt32>(source, target, count);
}

}  // namespace

UInt8 MakeSamplerKey(const TextureBindData& bindData) {
  constexpr UInt8 kWrapKeys[3][3] = {
      {0, DrawportSamplerKey::kClampX, DrawportSamplerKey::kBorderX},
      {0, DrawportSamplerKey::kClampY, DrawportSamplerKey::kBorderY},
      {0, DrawportSamplerKey::kClampZ, DrawportSamplerKey::kBorderZ},
  };
  UInt32 key = bindData._filter == TextureFilter::LINEAR ? DrawportSamplerKey::kLinear : 0;
  for (int axis = 0; axis < 3; ++axis) {
    const auto mode = static_cast<UInt32>(bindData._wrapModes[axis]);
    if (mode <= 2) key |= kWrapKeys[axis][mode];
  }
  return static_cast<UInt8>(key);
}

Int GetBytesPerChannel(TextureFormat format, const NarrowTexels& narrow) {
  const Bool isIn16bit = format == TextureFormat::U16 || format == TextureFormat::I16 || format == TextureFormat::F16;
  if (narrow.with16bit && isIn16bit) return 2;
  return narrow.with8bit && (format == TextureFormat::U8 || format == TextureFormat::I8) ? 1 : 4;
}

Result<PixelFormatRef> FindTextureFormat(const TextureBindData& bindData, const NarrowTexels& narrow) {
  if (const PixelFormatRef format = FindFormat(bindData._format, bindData._numChannels, narrow)) return format;
  return OSTRA_ILLEGAL_ARGUMENT("wrong combination of _numChannels and _format to determine the PixelFormat");
}

PixelFormatRef FindStoredFormat(PixelFormatRef declared, const NarrowTexels& narrow) {
  if (!declared) return nullptr;
  const PixelFormatRef stored = FindFormat(GetTextureFormat(*declared), declared->channels, narrow);
  return stored ? stored : declared;
}

Result<DrawportResourceKey> MakeTextureKey(UInt64 nameKey, const TextureBindData& bindData,
                                           const NarrowTexels& narrow) {
  const Vec3<UInt32>& size = bindData._dimensions;
  const auto bytes = static_cast<UInt32>(GetBytesPerChannel(bindData._format, narrow)) * size.x * size.y * size.z;
  UInt64 content = 0;
  if (bindData._data && bindData._dataSize > 0) {
    const Int leading = std::min<Int>(bindData._dataSize / 4 + 1, bindData._dataSize);
    OSTRA_ASSIGN_OR_RETURN(content, FoldBytes(bindData._data, leading));
  }
  return DrawportResourceKey{{nameKey, bytes, content}};
}

DrawportTextureType GetTextureType(const TextureBindData& bindData) {
  if (bindData._dimensions.z > 1) return DrawportTextureType::Texture3D;
  return bindData._dimensions.y > 1 ? DrawportTextureType::Texture2D : DrawportTextureType::Texture1D;
}

Result<StoredTexels> MakeStoredTexels(const TextureBindData& bindData, const PixelFormat& format) {
  StoredTexels texels;
  const Int storedSize = format.bitsPerChannel / 8;
  const Int elementCount = CountElements(bindData);
  const Int givenSize = GetGivenElementSize(bindData, elementCount, storedSize);
  const Int givenCount = std::min(std::max<Int>(bindData._dataSize, 0) / givenSize, elementCount);
  texels.size = givenCount * storedSize;
  texels.data = bindData._data;
  if (!bindData._data || givenSize == storedSize) return texels;
  OSTRA_RETURN_IF_ERROR(texels.converted.Resize(texels.size));
  texels.data = texels.converted.GetFirst();
  ConvertTexels(bindData._format, givenSize, bindData._data, texels.converted.GetFirst(), givenCount);
  return texels;
}

Bool HasFurtherLayers(const TextureBindData& bindData, const PixelFormat& format) {
  const Int elementCount = CountElements(bindData);
  const Int givenSize = GetGivenElementSize(bindData, elementCount, format.bitsPerChannel / 8);
  return elementCount > 0 && bindData._dataSize > elementCount * givenSize;
}

TextureBindData MakeBindData(const SamplingData& data) {
  TextureBindData bindData;
  bindData._data = data._texels;
  bindData._dataSize = data._dataSize;
  bindData._dimensions = data._dimensions;
  bindData._format = data._format;
  bindData._numChannels = data._numChannels;
  const UInt32 bits = data._flags._bits;
  for (int axis = 0; axis < 3; ++axis)
    bindData._wrapModes[axis] = static_cast<TextureWrapMode>((bits >> (2 * axis)) & PackedTextureFlags::kWrapMask);
  bindData._filter = (bits & PackedTextureFlags::kFilterMask) == PackedTextureFlags::kLinearFilter
                         ? TextureFilter::LINEAR
                         : TextureFilter::POINT;
  bindData._normalizedCoordinates = bits >= PackedTextureFlags::kNormalizedCoordinates;
  for (int i = 0; i < 4; ++i) bindData._borderColor[i] = data._borderColor[i];
  return bindData;
}

}  // namespace ostra
