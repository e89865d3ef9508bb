#include "parallelprogram/textures/texture_records.h"

#include "ostra/core/format.h"
#include "ostra/core/large_pages.h"

OSTRA_UNIT("texture_sampling_structs");

namespace ostra {
namespace {

UInt32 GetLowByte(TextureWrapMode mode) { return static_cast<UInt32>(mode) & 0xFF; }

// The byte itself, since a description that came from elsewhere may hold other values than 0 and 1.
UInt32 GetByte(const Bool& value) {
  Byte byte = 0;
  MemCopy(&byte, &value, 1);
  return byte;
}

}  // namespace

Result<Int> CheckBindData(const TextureBindData& bindData) {
  Int dimensions = 0;
  for (const UInt32 extent : {bindData._dimensions.x, bindData._dimensions.y, bindData._dimensions.z}) {
    if (extent == 0) return OSTRA_ILLEGAL_ARGUMENT("_dimensions in texBindData have to be larger or equal to 1!");
    dimensions += extent > 1;
  }
  if (dimensions < 1 || bindData._numChannels < 1 || bindData._numChannels > 4)
    return OSTRA_ILLEGAL_ARGUMENT("Dimensions has to be in the range [1,3], numberChannels in [1,4].");
  return dimensions;
}

PackedTextureFlags PackTextureFlags(const TextureBindData& bindData) {
  const TextureWrapMode(&wrapModes)[3] = bindData._wrapModes;
  const UInt32 bits = GetLowByte(wrapModes[0]) | GetLowByte(wrapModes[1]) << 2 | GetLowByte(wrapModes[2]) << 4 |
                      (static_cast<UInt32>(bindData._filter) & 0xFF) << 6 |
                      GetByte(bindData._normalizedCoordinates) << 8;
  return {static_cast<UInt16>(bits)};
}

Result<SamplingData> BuildSamplingData(const TextureBindData& bindData, Bool copyTexels) {
  SamplingData data;
  for (Int i = 0; i < 4; ++i) data._borderColor[i] = bindData._borderColor[i];
  data._dimensions = bindData._dimensions;
  data._numChannels = bindData._numChannels;
  data._dataSize = bindData._dataSize;
  data._format = bindData._format;
  data._flags = PackTextureFlags(bindData);
  if (!copyTexels) return data;
  OSTRA_RETURN_IF_ERROR(data.AllocateTexels(!bindData._data));
  AdviseLargePages(data._texels, data._dataSize);
  if (bindData._data && data._dataSize > 0) MemCopy(data._texels, bindData._data, data._dataSize);
  return data;
}

Result<DataType> GetElementType(const TextureBindData& bindData) {
  switch (bindData._format) {
    case TextureFormat::U8:
      return GetDataType<UInt8>();
    case TextureFormat::I8:
      return GetDataType<Char>();
    case TextureFormat::U16:
      return GetDataType<UInt16>();
    case TextureFormat::I16:
      return GetDataType<Int16>();
    case TextureFormat::U32:
      return GetDataType<UInt32>();
    case TextureFormat::I32:
      return GetDataType<Int32>();
    case TextureFormat::F16:
    case TextureFormat::F32:
      return GetDataType<Float32>();
    default:
      return OSTRA_ILLEGAL_STATE("TextureFormat not defined.");
  }
}

}  // namespace ostra
