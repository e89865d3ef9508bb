// The hand-over of all resources to the kernel. What a kernel object holds the address of is noted, so that it can be
// taken back: after an update no kernel holds anything that it is not linked to.
#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

// A kernel parameter is given as a sampler object of its own type, or as what all of them have in common: anything else
// would be read and written in the wrong size.
Result<void> CheckKind(const KernelInterface& kernel, const CString& name, const TextureSamplerDataHelper& sampler) {
  const KernelParameter* parameter = kernel.GetKernelParameterMap().Find(name);
  if (!parameter || !parameter->type.IsPointer()) return OK;
  const DataType wanted = parameter->type.GetInnerType();
  const DataType given = GetSamplerType(sampler._kind);
  if (wanted == given || !IsSamplerType(wanted)) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("The kernel's texture \"@\" is a @, but a @ is linked to it.", name, wanted, given);
}

}  // namespace

ParameterChecks ParallelProgramCPUImpl::GetChecks(const KernelEntry& entry) const {
  return ParameterChecks(entry.GetDeclarations(), _activeKernelId);
}

const KernelDeclaration* ParallelProgramCPUImpl::FindDeclaration(KernelEntry& entry, const InternedId& name) const {
  const KernelDeclaration* declaration = GetChecks(entry).Find(name);
  if (declaration || !entry.declarations) return declaration;
  const BaseArray<KernelDeclaration>& declarations = entry.GetDeclarations();
  entry.unknownNames.Report(_activeKernelId, name, declarations.GetCount(),
                            [&](Int i) { return declarations[i].name.GetView(); });
  return nullptr;
}

// A value of the parameter's own type stands for a buffer. What was handed over has been checked to be of the declared
// kind.
const KernelDeclaration* ParallelProgramCPUImpl::FindUnset(const KernelEntry& entry) {
  for (const KernelDeclaration& declaration : entry.GetDeclarations()) {
    const Data* value = entry.uniforms.FindData(declaration.name);
    if (declaration.name.GetView() == kReportBuffer) continue;  // the program gives it with each dispatch
    if (!declaration.isRequired || (value && ParameterChecks::TakesValue(declaration, value->GetType()))) continue;
    const auto sets = [&](const HandedOver& given) { return given.name == declaration.name && given.resource; };
    if (std::none_of(entry.handedOver.begin(), entry.handedOver.end(), sets)) return &declaration;
  }
  return nullptr;
}

Result<void> ParallelProgramCPUImpl::CheckIsSet(const KernelEntry& entry) const {
  return entry.unset ? GetChecks(entry).MakeUnsetError(*entry.unset) : Result<void>(OK);
}

Result<void> ParallelProgramCPUImpl::HandOver(KernelEntry& entry, const InternedId& name, const void* data,
                                              const void* resource) {
  OSTRA_RETURN_IF_ERROR(entry.kernel->Set(name.ToCString(), data));
  OSTRA_RETURN_IF_ERROR(entry.handedOver.Append(HandedOver{name, resource}));  // there is room
  return OK;
}

// Kernels that keep their parameters elsewhere than in their map are not known well enough to be cleared.
void ParallelProgramCPUImpl::TakeBack(KernelEntry& entry, const InternedId& name) {
  const CString text = name.ToCString();
  const KernelParameter* parameter = entry.kernel->GetKernelParameterMap().Find(text);
  if (!parameter) return;
  const Block<Generic> none;
  if (parameter->type.IsPointer()) static_cast<void>(entry.kernel->Set(text, nullptr));
  if (parameter->type.IsMadeWith(kBlockParametricType)) static_cast<void>(entry.kernel->Set(text, &none));
}

void ParallelProgramCPUImpl::TakeBackEverywhere(const void* resource) {
  for (auto& [id, entry] : _kernels) {
    for (HandedOver& given : entry.handedOver) {
      if (given.resource != resource) continue;
      TakeBack(entry, given.name);
      given.resource = nullptr;
      entry.unset = FindUnset(entry);
    }
  }
}

// The blocks of buffers come first in what was handed over.
void ParallelProgramCPUImpl::HandOverResized(const BufferSlot& slot) {
  for (auto& [id, entry] : _kernels) {
    for (Int i = 0; i < entry.bufferBlocks.GetCount() && i < entry.handedOver.GetCount(); ++i) {
      HandedOver& given = entry.handedOver[i];
      if (given.resource != &slot) continue;
      entry.bufferBlocks[i] = slot.GetFirstBlock();
      if (entry.kernel->Set(given.name.ToCString(), &entry.bufferBlocks[i])) continue;
      TakeBack(entry, given.name);
      given.resource = nullptr;
      entry.unset = FindUnset(entry);
    }
  }
}

Result<void> ParallelProgramCPUImpl::UpdateUniforms() {
  OSTRA_RETURN_IF_ERROR(UpdateActiveKernel());
  return _openRecording ? RecordUpdate() : Result<void>(OK);
}

// An update that fails takes back what it has not handed over again: addresses from the update before may be old.
Result<void> ParallelProgramCPUImpl::UpdateActiveKernel() {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetRunnableKernel());
  const Int linkCount = entry.bufferLinks.GetCount() + entry.textureLinks.GetCount() + entry.atomicLinks.GetCount();
  OSTRA_RETURN_IF_ERROR(entry.handedOver.Reserve(linkCount));
  OSTRA_RETURN_IF_ERROR(entry.handedOverBefore.Reserve(linkCount));
  std::swap(entry.handedOver, entry.handedOverBefore);
  entry.handedOver.Clear();
  entry.cost.isOld = true;
  Result<void> result = HandOverAll(entry);
  entry.unset = FindUnset(entry);
  const BaseArray<HandedOver>& now = entry.handedOver;
  const BaseArray<HandedOver>& before = entry.handedOverBefore;
  if (std::equal(before.begin(), before.end(), now.begin(), now.end())) return result;
  for (const HandedOver& given : before) {
    const auto hasName = [&given](const HandedOver& other) { return other.name == given.name; };
    if (std::none_of(now.begin(), now.end(), hasName)) TakeBack(entry, given.name);
  }
  return result;
}

Result<void> ParallelProgramCPUImpl::HandOverAll(KernelEntry& entry) {
  OSTRA_RETURN_IF_ERROR(HandOverUniforms(entry));
  OSTRA_RETURN_IF_ERROR(HandOverBuffers(entry));
  OSTRA_RETURN_IF_ERROR(HandOverTextures(entry));
  OSTRA_RETURN_IF_ERROR(HandOverCounters(entry));
  return HandOverNoises(entry);
}

Result<void> ParallelProgramCPUImpl::HandOverUniforms(KernelEntry& entry) {
  const ParameterChecks checks = GetChecks(entry);
  for (const auto& [name, value] : entry.uniforms) {
    const KernelDeclaration* declaration = FindDeclaration(entry, name);
    OSTRA_RETURN_IF_ERROR(checks.CheckValue(declaration, value.GetType()));
    OSTRA_RETURN_IF_ERROR(entry.kernel->Set(name.ToCString(), value.GetPointer()));
  }
  return OK;
}

// Kernels may keep the address of a block, so the blocks stay until the next hand-over.
Result<void> ParallelProgramCPUImpl::HandOverBuffers(KernelEntry& entry) {
  OSTRA_RETURN_IF_ERROR(entry.bufferBlocks.Resize(entry.bufferLinks.GetCount()));
  const ParameterChecks checks = GetChecks(entry);
  Int index = 0;
  for (const auto& [name, value] : entry.bufferLinks) {
    const KernelDeclaration* declaration = FindDeclaration(entry, name);
    OSTRA_ASSIGN_OR_RETURN(BufferSlot* const& slot, value.Get<BufferSlot*>());
    Block<Generic>& block = entry.bufferBlocks[index++];
    block = slot ? slot->GetFirstBlock() : Block<Generic>();
    if (block.GetCount() < 1) return OSTRA_ILLEGAL_STATE("stored data block has size 0");
    OSTRA_RETURN_IF_ERROR(checks.CheckBuffer(declaration, slot->GetElementType(), block.GetStride()));
    OSTRA_RETURN_IF_ERROR(HandOver(entry, name, &block, slot));
  }
  return OK;
}

Result<void> ParallelProgramCPUImpl::HandOverTextures(KernelEntry& entry) {
  const ParameterChecks checks = GetChecks(entry);
  for (const auto& [name, value] : entry.textureLinks) {
    const KernelDeclaration* declaration = FindDeclaration(entry, name);
    OSTRA_ASSIGN_OR_RETURN(TextureSamplerDataHelper* const& sampler, value.Get<TextureSamplerDataHelper*>());
    OSTRA_RETURN_IF_ERROR(checks.CheckTexture(declaration));
    OSTRA_RETURN_IF_ERROR(CheckKind(*entry.kernel, name.ToCString(), *sampler));
    OSTRA_RETURN_IF_ERROR(HandOver(entry, name, sampler, sampler));
  }
  return OK;
}

Result<void> ParallelProgramCPUImpl::HandOverCounters(KernelEntry& entry) {
  const ParameterChecks checks = GetChecks(entry);
  for (const auto& [name, value] : entry.atomicLinks) {
    const KernelDeclaration* declaration = FindDeclaration(entry, name);
    OSTRA_ASSIGN_OR_RETURN(AtomicUInt32* const& counter, value.Get<AtomicUInt32*>());
    OSTRA_RETURN_IF_ERROR(checks.CheckCounter(declaration));
    OSTRA_RETURN_IF_ERROR(HandOver(entry, name, counter, counter));
  }
  return OK;
}

}  // namespace ostra
