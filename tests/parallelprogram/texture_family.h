// The selectors of the family of sampler functions by number, and calls of the functions that check their bounds.
#pragma once

#include <vector>

#include "parallelprogram/textures/sampler_family.h"
#include "tests/parallelprogram/texture_reference.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {

using SelectSample = Result<SampleFunction> (*)(const TextureBindData&);
using SelectFetch = Result<FetchFunction> (*)(const TextureBindData&);

#define OSTRA_ROW(select, d) \
  { &select<d, 1>, &select<d, 2>, &select<d, 3>, &select<d, 4> }
inline constexpr SelectSample kSelectSample[3][4] = {
    OSTRA_ROW(SelectSampleFunction, 1), OSTRA_ROW(SelectSampleFunction, 2), OSTRA_ROW(SelectSampleFunction, 3)};
inline constexpr SelectFetch kSelectFetch[3][4] = {OSTRA_ROW(SelectFetchFunction, 1), OSTRA_ROW(SelectFetchFunction, 2),
                                                   OSTRA_ROW(SelectFetchFunction, 3)};
#undef OSTRA_ROW
inline constexpr SelectFetch kSelectByteFetch[3] = {&SelectByteFetchFunction<1>, &SelectByteFetchFunction<2>,
                                                    &SelectByteFetchFunction<3>};

// Calls `function` and expects it to return its result pointer and to write `outputs` floats and no more.
template <class Function, class Coordinate>
Values Call(Function function, Int outputs, const std::vector<Coordinate>& coordinates, UInt32 layer,
            const SamplingData& data) {
  constexpr Float32 kUntouched = -12345.5f;
  Float32 result[6] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
  EXPECT_EQ(function(result, coordinates.data(), layer, &data), result);
  for (Int i = outputs; i < 6; ++i) EXPECT_EQ(result[i], kUntouched);
  return Values(result, result + outputs);
}

inline Byte CallByte(FetchFunction function, const std::vector<Int32>& coordinates, UInt32 layer,
                     const SamplingData& data) {
  Byte result[2] = {0xA5, 0xA5};
  EXPECT_EQ(function(result, coordinates.data(), layer, &data), result);
  EXPECT_EQ(result[1], 0xA5);
  return result[0];
}

inline Values Sample(const Texture& texture, const SamplingData& data, Int outputs, const std::vector<Float32>& at,
                     UInt32 layer = 0) {
  auto function = kSelectSample[at.size() - 1][outputs - 1](texture.bindData);
  EXPECT_THAT(function, IsOk());
  return Call(*function, outputs, at, layer, data);
}

inline Values Fetch(const Texture& texture, const SamplingData& data, Int outputs, const std::vector<Int32>& at,
                    UInt32 layer = 0) {
  auto function = kSelectFetch[at.size() - 1][outputs - 1](texture.bindData);
  EXPECT_THAT(function, IsOk());
  return Call(*function, outputs, at, layer, data);
}

// A texture of floats.
inline Texture MakeFloatTexture(Vec3<UInt32> extent, UInt32 channels, const Values& values) {
  Texture texture;
  texture.bindData._dimensions = extent;
  texture.bindData._format = TextureFormat::F32;
  texture.bindData._numChannels = channels;
  texture.texels.resize(values.size() * 4);
  MemCopy(texture.texels.data(), values.data(), static_cast<Int>(texture.texels.size()));
  return texture;
}

// A texture whose elements are 0, 1, 2, ...
inline Texture MakeCountingTexture(Vec3<UInt32> extent, UInt32 channels = 1, Int layers = 1) {
  Values values;
  for (Int i = 0; i < Int{extent.x} * extent.y * extent.z * channels * layers; ++i)
    values.push_back(static_cast<Float32>(i));
  return MakeFloatTexture(extent, channels, values);
}

}  // namespace ostra::test
