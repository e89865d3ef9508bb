// How a function is selected from the family. Included by the files that instantiate parts of it.
#pragma once

#include "parallelprogram/textures/sampler_family.h"
#include "parallelprogram/textures/sampler_functions.h"

namespace ostra::sampler {

// Groups: what the selected functions have in common.
template <Int kDimensions, Int kOutputs>
struct SampleGroup {
  using Function = SampleFunction;
  template <TextureFormat kFormat, Bool kIsNormalized, Bool kIsSrgb, Int kTexelChannels>
  static constexpr Function kMember =
      &Sample<kDimensions, kOutputs, Decoder<kFormat, kIsNormalized, kIsSrgb, kTexelChannels>>;
};

template <Int kDimensions, Int kOutputs>
struct FetchGroup {
  using Function = FetchFunction;
  template <TextureFormat kFormat, Bool kIsNormalized, Bool kIsSrgb, Int kTexelChannels>
  static constexpr Function kMember =
      &Fetch<kDimensions, kOutputs, Decoder<kFormat, kIsNormalized, kIsSrgb, kTexelChannels>>;
};

template <Int kDimensions>
struct ByteFetchGroup {
  using Function = FetchFunction;
  template <TextureFormat kFormat, Bool, Bool, Int kTexelChannels>
  static constexpr Function kMember =
      &FetchByte<kDimensions, kTexelChannels * GetElementSize(kFormat), kFormat == TextureFormat::F32>;
};

Error MakeChannelCountError();
Error MakeFormatError();

template <class Group, Int kChannels, TextureFormat kFormat>
typename Group::Function SelectByFlags(const TextureBindData& bindData) {
  if (bindData._normalizedValues) {
    return bindData._sRGB ? Group::template kMember<kFormat, true, true, kChannels>
                          : Group::template kMember<kFormat, true, false, kChannels>;
  }
  return bindData._sRGB ? Group::template kMember<kFormat, false, true, kChannels>
                        : Group::template kMember<kFormat, false, false, kChannels>;
}

template <class Group, Int kChannels>
Result<typename Group::Function> SelectByFormat(const TextureBindData& bindData) {
  switch (bindData._format) {
    case TextureFormat::U8:
      return SelectByFlags<Group, kChannels, TextureFormat::U8>(bindData);
    case TextureFormat::I8:
      return SelectByFlags<Group, kChannels, TextureFormat::I8>(bindData);
    case TextureFormat::U16:
      return SelectByFlags<Group, kChannels, TextureFormat::U16>(bindData);
    case TextureFormat::I16:
      return SelectByFlags<Group, kChannels, TextureFormat::I16>(bindData);
    case TextureFormat::U32:
      return SelectByFlags<Group, kChannels, TextureFormat::U32>(bindData);
    case TextureFormat::I32:
      return SelectByFlags<Group, kChannels, TextureFormat::I32>(bindData);
    case TextureFormat::F16:
    case TextureFormat::F32:
      return bindData._sRGB ? Group::template kMember<TextureFormat::F32, false, true, kChannels>
                            : Group::template kMember<TextureFormat::F32, false, false, kChannels>;
    default:
      return MakeFormatError();
  }
}

template <class Group>
Result<typename Group::Function> SelectByChannels(const TextureBindData& bindData) {
  PrepareByteTables();
  switch (bindData._numChannels) {
    case 1:
      return SelectByFormat<Group, 1>(bindData);
    case 2:
      return SelectByFormat<Group, 2>(bindData);
    case 3:
      return SelectByFormat<Group, 3>(bindData);
    case 4:
      return SelectByFormat<Group, 4>(bindData);
    default:
      return MakeChannelCountError();
  }
}

}  // namespace ostra::sampler

// Makes the functions of some dimensions and outputs.
#define OSTRA_SAMPLE_FUNCTIONS(dimensions, outputs)                                                          \
  template <>                                                                                                \
  ::ostra::Result<::ostra::SampleFunction> ostra::SelectSampleFunction<dimensions, outputs>(                 \
      const ::ostra::TextureBindData& bindData) {                                                            \
    return ::ostra::sampler::SelectByChannels<::ostra::sampler::SampleGroup<dimensions, outputs>>(bindData); \
  }
#define OSTRA_FETCH_FUNCTIONS(dimensions, outputs)                                                          \
  template <>                                                                                               \
  ::ostra::Result<::ostra::FetchFunction> ostra::SelectFetchFunction<dimensions, outputs>(                  \
      const ::ostra::TextureBindData& bindData) {                                                           \
    return ::ostra::sampler::SelectByChannels<::ostra::sampler::FetchGroup<dimensions, outputs>>(bindData); \
  }
#define OSTRA_BYTE_FETCH_FUNCTIONS(dimensions)                                                         \
  template <>                                                                                          \
  ::ostra::Result<::ostra::FetchFunction> ostra::SelectByteFetchFunction<dimensions>(                  \
      const ::ostra::TextureBindData& bindData) {                                                      \
    return ::ostra::sampler::SelectByChannels<::ostra::sampler::ByteFetchGroup<dimensions>>(bindData); \
  }
