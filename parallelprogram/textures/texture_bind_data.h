// TextureBindData: how a client describes a texture to a parallel program.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/math/vector.h"

namespace ostra {

// Element format of the texels. F16 texels handed to a CPU program are 32-bit floats.
enum class TextureFormat : Int32 { INVALID = -1, U8 = 0, I8 = 1, U16 = 2, I16 = 3, U32 = 4, I32 = 5, F16 = 6, F32 = 7 };

// What a coordinate outside 0 .. extent - 1 reads.
enum class TextureWrapMode : Int32 { REPEAT = 0, CLAMP = 1, BORDER = 2 };

enum class TextureFilter : Int32 { POINT = 0, LINEAR = 1 };

inline constexpr UInt32 TEXTURE_VALUE_NOT_SET = 0xFFFFFFFFu;

struct TextureBindData {
  // The caller's texels: tightly packed, channel after channel, row after row, slice after slice, layer after layer.
  // Not owned; copied when the texture is stored. Null for a texture that starts with zeros.
  const Byte* _data = nullptr;
  Int64 _dataSize = 0;  // bytes
  // Texels per axis; 1 for an axis that is not needed.
  Vec3<UInt32> _dimensions{TEXTURE_VALUE_NOT_SET, TEXTURE_VALUE_NOT_SET, TEXTURE_VALUE_NOT_SET};
  TextureFormat _format = TextureFormat::INVALID;
  UInt32 _numChannels = TEXTURE_VALUE_NOT_SET;  // 1 to 4
  UInt32 _reserved = TEXTURE_VALUE_NOT_SET;     // carried along, never read
  Bool _normalizedValues = false;               // integers decode to 0..1 (signed: -1..1) instead of their value
  TextureFilter _filter = TextureFilter::LINEAR;
  Bool _normalizedCoordinates = true;  // coordinates are 0..1 instead of texels
  Bool _sRGB = false;                  // decoded values pass through the sRGB curve
  TextureWrapMode _wrapModes[3] = {TextureWrapMode::CLAMP, TextureWrapMode::CLAMP, TextureWrapMode::CLAMP};
  Float32 _borderColor[4] = {0, 0, 0, 0};
};

}  // namespace ostra
