// Noises of the CPU program: the uniforms "noiseMode_@" and "noiseSeed_@" become noise objects of the host, and the
// kernel gets them as its parameter "noiseData".
#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"
#include "parallelprogram/program/noise_modes.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

// The host may have no noises at all; only kernels that ask for one notice.
Result<RenderNoiseRef> CreateNoise(Int32 mode, Int32 seed) {
  const Id& classId = GetNoiseClass(mode);
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kRenderNoiseRegistry));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef noiseClass, registry.FindEntryValue(classId));
  // A new object has no other holder, so it can be prepared in place.
  OSTRA_ASSIGN_OR_RETURN(RenderNoiseRef noise, noiseClass->CreateObject<RenderNoiseInterface>());
  OSTRA_RETURN_IF_ERROR(noise->Init(seed, kNoiseDepth, classId));
  return noise;
}

Result<Int32> ReadInteger(const DataDictionary& uniforms, const InternedId& name) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, uniforms.GetData(name));
  return data.ConvertTo<Int32>();
}

}  // namespace

// The noises are made anew each time, so that modes and seeds take effect. The first missing mode ends the list. A
// kernel that is not given a new block still has that of the call before: its place is kept and holds no noise.
Result<void> ParallelProgramCPUImpl::HandOverNoises(KernelEntry& entry) {
  for (RenderNoiseRef& noise : entry.noises) noise = nullptr;
  Int count = 0;
  for (; count < std::min(_noiseModeNames.GetCount(), _noiseSeedNames.GetCount()) && count < kMaxNoises; ++count) {
    const Data* modeData = entry.uniforms.FindData(_noiseModeNames[count]);
    if (!modeData) break;
    const auto mode = modeData->ConvertTo<Int32>();
    if (!mode) break;
    OSTRA_ASSIGN_OR_RETURN(const Int32 seed, ReadInteger(entry.uniforms, _noiseSeedNames[count]));
    OSTRA_ASSIGN_OR_RETURN(RenderNoiseRef noise, CreateNoise(*mode, seed));
    OSTRA_RETURN_IF_ERROR(entry.noises.Resize(kMaxNoises));
    entry.noises[count] = std::move(noise);
  }
  if (count == 0) return OK;
  entry.noiseBlock = Block<RenderNoiseRef>(entry.noises.GetFirst(), count);
  return entry.kernel->Set(_noiseDataName.ToCString(), &entry.noiseBlock);
}

}  // namespace ostra
