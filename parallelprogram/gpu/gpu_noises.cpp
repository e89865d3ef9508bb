#include "parallelprogram/gpu/gpu_noises.h"

#include <algorithm>

#include "ostra/render/render_noise.h"

namespace ostra {
namespace {

constexpr Int32 kDefaultNoiseSeed = 42;

// The kernel's own noiseSeed_N has the same bits.
Int32 GetSeed(const Data& value) {
  if (const auto* bits = value.GetIf<UInt32>()) return static_cast<Int32>(*bits);
  const auto seed = value.ConvertTo<Int32>();
  return seed ? *seed : kDefaultNoiseSeed;
}

Int32 GetMode(const Data* value) {
  const auto mode = value ? value->ConvertTo<Int32>() : Result<Int32>(0);
  return mode ? *mode : 0;
}

}  // namespace

Result<void> BindNoiseTable(const ParameterTarget& target, DrawportParameterHandle handle, const Data* seed) {
  if (!handle) return OK;
  return target.factory.SetParameterNoise(target.values, handle, seed ? GetSeed(*seed) : kDefaultNoiseSeed,
                                          kNoiseDepth);
}

Result<void> GpuNoises::Init() {
  if (!_seedNames.IsEmpty()) return OK;
  OSTRA_ASSIGN_OR_RETURN(BaseArray<InternedId> seeds, MakeNoiseNames(kNoiseSeedPattern));
  OSTRA_ASSIGN_OR_RETURN(_tableNames, MakeNoiseNames("noiseData_@"));
  OSTRA_ASSIGN_OR_RETURN(_modeNames, MakeNoiseNames(kNoiseModePattern));
  _seedNames = std::move(seeds);
  return OK;
}

Result<void> GpuNoises::Bind(const GpuKernel& kernel, const ParameterTarget& target) const {
  for (Int i = 0; i < _tableNames.GetCount(); ++i)
    OSTRA_RETURN_IF_ERROR(BindNoiseTable(target, target.factory.GetParameterHandle(_tableNames[i]),
                                         kernel.uniforms.FindData(_seedNames[i])));
  return BindNoiseTable(target, target.factory.GetParameterHandle("noiseData"_iid), nullptr);
}

Int GpuNoises::FindModes(const GpuKernel& kernel, Int32 (&modes)[kMaxNoises]) const {
  Int used = 0;
  for (Int i = 0; i < _modeNames.GetCount(); ++i) {
    const Data* mode = kernel.uniforms.FindData(_modeNames[i]);
    modes[i] = GetMode(mode);
    if (mode || kernel.uniforms.FindData(_seedNames[i])) used = i + 1;
  }
  return used;
}

Bool GpuNoises::IsMode(const InternedId& attr) const {
  return std::find(_modeNames.begin(), _modeNames.end(), attr) != _modeNames.end();
}

const InternedId* GpuNoises::FindTableOfSeed(const InternedId& attr) const {
  const Int i = std::find(_seedNames.begin(), _seedNames.end(), attr) - _seedNames.begin();
  return i < _seedNames.GetCount() ? &_tableNames[i] : nullptr;
}

}  // namespace ostra
