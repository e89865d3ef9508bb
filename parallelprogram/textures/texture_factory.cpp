#include "parallelprogram/textures/texture_factory.h"

#include "ostra/core/diagnostics.h"
#include "ostra/core/format.h"
#include "parallelprogram/textures/sampler_family.h"
#include "parallelprogram/textures/sampler_lanes.h"
#include "parallelprogram/textures/texture_records.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

// The functions of a sampler, each chosen on demand.
struct Slots {
  Result<SampleFunction> (*selectSample)(const TextureBindData&);
  Result<FetchFunction> (*selectFetch)(const TextureBindData&);
};

struct Kind {
  Int32 number;
  Int dimensions;
  Int outputs;  // floats; 0 for a byte
  Slots slots;
  const DataType& (*getType)();
};

// A point sampler's sample function is its fetch function, and takes integers.
template <auto kSelectFetch>
Result<SampleFunction> SelectAsSample(const TextureBindData& bindData) {
  OSTRA_ASSIGN_OR_RETURN(const FetchFunction fetch, kSelectFetch(bindData));
  return reinterpret_cast<SampleFunction>(fetch);
}

template <auto kSelectFetch>
constexpr Slots kPointSlots = {&SelectAsSample<kSelectFetch>, kSelectFetch};
template <Int kDimensions, Int kChannels>
constexpr Slots kLinearSlots = {&SelectSampleFunction<kDimensions, kChannels>,
                                &SelectFetchFunction<kDimensions, kChannels>};

#define OSTRA_LINEAR_KINDS(dimensions, channels, count, base)                   \
  {base + dimensions, dimensions, count, kLinearSlots<dimensions, count>,       \
   &GetDataType<TextureSamplerObj_##dimensions##D_##channels##_F32_LINEAR>},    \
  {                                                                             \
    base + 4 + dimensions, dimensions, count, kLinearSlots<dimensions, count>,  \
        &GetDataType<TextureSamplerObj_##dimensions##D_##channels##_F32_LINEAR> \
  }
#define OSTRA_KINDS(dimensions)                                                              \
  {dimensions, dimensions, 0, kPointSlots<&SelectByteFetchFunction<dimensions>>,             \
   &GetDataType<TextureSamplerObj_##dimensions##D_R_U8_POINT>},                              \
      {28 + dimensions, dimensions, 1, kPointSlots<&SelectFetchFunction<dimensions, 1>>,     \
       &GetDataType<TextureSamplerObj_##dimensions##D_R_F32_POINT>},                         \
      OSTRA_LINEAR_KINDS(dimensions, R, 1, 152), OSTRA_LINEAR_KINDS(dimensions, RG, 2, 184), \
      OSTRA_LINEAR_KINDS(dimensions, RGB, 3, 216), OSTRA_LINEAR_KINDS(dimensions, RGBA, 4, 248)

constexpr Kind kKinds[] = {OSTRA_KINDS(1), OSTRA_KINDS(2), OSTRA_KINDS(3)};

const Kind* FindKind(UInt64 number) {
  for (const Kind& kind : kKinds) {
    if (static_cast<UInt64>(kind.number) == number) return &kind;
  }
  return nullptr;
}

// The bits of the format are not limited to those of the formats that exist: formats from 8 on can give the number of
// a kind, and fail when its functions are chosen.
UInt64 GetKindNumber(const TextureBindData& bindData, Int dimensions) {
  const UInt64 shape = static_cast<UInt64>(dimensions) + 32 * UInt64{bindData._numChannels} - 32;
  const UInt64 format = static_cast<UInt64>(Int64{4} * static_cast<Int64>(bindData._format));
  return shape | format | (bindData._filter == TextureFilter::LINEAR ? 128 : 0);
}

Result<void> FillSampler(TextureSamplerDataHelper& sampler, const Kind& kind, SamplingData&& data,
                         const TextureBindData& bindData) {
  OSTRA_ASSIGN_OR_RETURN(const SampleFunction sample, kind.slots.selectSample(bindData));
  OSTRA_ASSIGN_OR_RETURN(const FetchFunction fetch, kind.slots.selectFetch(bindData));
  sampler._samplingData = std::move(data);
  sampler._kind = kind.number;
  OSTRA_ASSIGN_OR_RETURN(sampler._valueType, GetElementType(bindData));
  sampler._sample = sample;
  sampler._fetch = fetch;
  SetSamplerLanes(sampler, kind.dimensions, kind.outputs, bindData);
  return OK;
}

// Dimensions are counted, so that a texture with a long axis behind one of a single texel is read along the wrong axes.
// The descriptions are accepted; their authors will hardly mean it.
void WarnOfThinAxes(const InternedId& attr, const TextureBindData& bindData, Int dimensions) {
  const Vec3<UInt32>& extent = bindData._dimensions;
  for (Int axis = 0; axis < dimensions; ++axis) {
    if (extent[static_cast<glm::length_t>(axis)] > 1) continue;
    return WarningOutput(
        "The texture \"@\" of @ x @ x @ texels counts as @-dimensional, and axis @ has 1 texel: pad it to 2.", attr,
        extent.x, extent.y, extent.z, dimensions, "xyz"[axis]);
  }
}

}  // namespace

Result<void> StoreTexture(IntrusiveList<SamplerNode>& samplers, DataDictionary& textures, const InternedId& attr,
                          const TextureBindData& bindData) {
  OSTRA_ASSIGN_OR_RETURN(const Int dimensions, CheckBindData(bindData));
  const Kind* kind = FindKind(GetKindNumber(bindData, dimensions));
  if (!kind) {
    return OSTRA_ILLEGAL_ARGUMENT(
        "Combination of input parameters (dimensions/formatOut/numberChannels/sampleLinear) not allowed.");
  }
  OSTRA_ASSIGN_OR_RETURN(SamplingData data, BuildSamplingData(bindData));
  SamplerNode* node = NewObj<SamplerNode>();
  if (!node) return OSTRA_OUT_OF_MEMORY();
  node->sampler._kind = 0;
  node->sampler._sample = nullptr;
  node->sampler._fetch = nullptr;
  samplers.Append(node);
  WarnOfThinAxes(attr, bindData, dimensions);
  OSTRA_RETURN_IF_ERROR(FillSampler(node->sampler, *kind, std::move(data), bindData));
  return textures.Set(attr, &node->sampler);
}

DataType GetSamplerType(Int32 kind) {
  const Kind* found = kind > 0 ? FindKind(static_cast<UInt64>(kind)) : nullptr;
  return found ? found->getType() : DataType();
}

Bool IsSamplerType(DataType type) {
#define OSTRA_COMPARE_SAMPLER_TYPE(dimensions, channels, element, filter, ...) \
  type == GetDataType<TextureSamplerObj_##dimensions##D_##channels##_##element##_##filter>() ||
  return OSTRA_FOR_EACH_SAMPLER_TYPE(OSTRA_COMPARE_SAMPLER_TYPE) false;
#undef OSTRA_COMPARE_SAMPLER_TYPE
}

}  // namespace ostra
