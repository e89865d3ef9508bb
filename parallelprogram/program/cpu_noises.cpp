#include "parallelprogram/program/cpu_noises.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/object/class.h"
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

// Adds the names of a pattern for all noises. On error the array is as before.
Result<void> AppendNumberedNames(BaseArray<InternedId>& names, std::string_view pattern) {
  OSTRA_RETURN_IF_ERROR(names.Reserve(names.GetCount() + kMaxNoises));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<InternedId> added, MakeNoiseNames(pattern));
  for (const InternedId& name : added) OSTRA_RETURN_IF_ERROR(names.Append(name));
  return OK;
}

}  // namespace

Result<void> CpuNoises::Init() {
  OSTRA_ASSIGN_OR_RETURN(_dataName, InternedId::Create("noiseData"));
  OSTRA_RETURN_IF_ERROR(AppendNumberedNames(_modeNames, kNoiseModePattern));
  return AppendNumberedNames(_seedNames, kNoiseSeedPattern);
}

// The first missing mode ends the list. A kernel that is not given a new block still has that of the call before: its
// place is kept and holds no noise.
Result<void> CpuNoises::HandOver(CpuKernel& kernel) const {
  for (RenderNoiseRef& noise : kernel.noises) noise = nullptr;
  Int count = 0;
  for (; count < std::min(_modeNames.GetCount(), _seedNames.GetCount()) && count < kMaxNoises; ++count) {
    const Data* modeData = kernel.uniforms.FindData(_modeNames[count]);
    if (!modeData) break;
    const auto mode = modeData->ConvertTo<Int32>();
    if (!mode) break;
    OSTRA_ASSIGN_OR_RETURN(const Int32 seed, ReadInteger(kernel.uniforms, _seedNames[count]));
    OSTRA_ASSIGN_OR_RETURN(RenderNoiseRef noise, CreateNoise(*mode, seed));
    OSTRA_RETURN_IF_ERROR(kernel.noises.Resize(kMaxNoises));
    kernel.noises[count] = std::move(noise);
  }
  if (count == 0) return OK;
  kernel.noiseBlock = Block<RenderNoiseRef>(kernel.noises.GetFirst(), count);
  return kernel.kernel->Set(_dataName.ToCString(), &kernel.noiseBlock);
}

Bool CpuNoises::IsMode(const InternedId& attr) const {
  return std::find(_modeNames.begin(), _modeNames.end(), attr) != _modeNames.end();
}

}  // namespace ostra
