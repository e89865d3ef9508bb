#include "parallelprogram/program/cpu_hand_over.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/textures/texture_factory.h"

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

const KernelDeclaration* CpuHandOver::FindDeclaration(const InternedId& name) {
  const KernelDeclaration* declaration = _checks.Find(name);
  if (declaration || !_kernel.declarations) return declaration;
  const BaseArray<KernelDeclaration>& declarations = _kernel.GetDeclarations();
  _kernel.unknownNames.Report(_kernelId, name, declarations.GetCount(),
                              [&](Int i) { return declarations[i].name.GetView(); });
  return nullptr;
}

Result<void> CpuHandOver::CheckIsSet() const {
  return _kernel.unset ? _checks.MakeUnsetError(*_kernel.unset) : Result<void>(OK);
}

Result<void> CpuHandOver::Give(const InternedId& name, const void* data, const void* resource) {
  OSTRA_RETURN_IF_ERROR(_kernel.kernel->Set(name.ToCString(), data));
  OSTRA_RETURN_IF_ERROR(_kernel.handedOver.Append(HandedOver{name, resource}));  // there is room
  return OK;
}

// Kernels that keep their parameters elsewhere than in their map are not known well enough to be cleared.
void CpuHandOver::Clear(const InternedId& name) {
  const CString text = name.ToCString();
  const KernelParameter* parameter = _kernel.kernel->GetKernelParameterMap().Find(text);
  if (!parameter) return;
  const Block<Generic> none;
  if (parameter->type.IsPointer()) static_cast<void>(_kernel.kernel->Set(text, nullptr));
  if (parameter->type.IsMadeWith(kBlockParametricType)) static_cast<void>(_kernel.kernel->Set(text, &none));
}

void CpuHandOver::Clear(HandedOver& given) {
  Clear(given.name);
  given.resource = nullptr;
  _kernel.FindUnset();
}

void CpuHandOver::TakeBack(const void* resource) {
  for (HandedOver& given : _kernel.handedOver)
    if (given.resource == resource) Clear(given);
}

// The blocks of buffers come first in what was handed over.
void CpuHandOver::UpdateMoved(const BufferSlot& slot) {
  for (Int i = 0; i < _kernel.bufferBlocks.GetCount() && i < _kernel.handedOver.GetCount(); ++i) {
    HandedOver& given = _kernel.handedOver[i];
    if (given.resource != &slot) continue;
    _kernel.bufferBlocks[i] = slot.GetFirstBlock();
    if (!_kernel.kernel->Set(given.name.ToCString(), &_kernel.bufferBlocks[i])) Clear(given);
  }
}

Result<void> CpuHandOver::Update(const CpuNoises& noises) {
  const Int linkCount =
      _kernel.bufferLinks.GetCount() + _kernel.textureLinks.GetCount() + _kernel.atomicLinks.GetCount();
  OSTRA_RETURN_IF_ERROR(_kernel.handedOver.Reserve(linkCount));
  OSTRA_RETURN_IF_ERROR(_kernel.handedOverBefore.Reserve(linkCount));
  std::swap(_kernel.handedOver, _kernel.handedOverBefore);
  _kernel.handedOver.Clear();
  _kernel.cost.isOld = true;
  Result<void> result = GiveAll(noises);
  _kernel.FindUnset();
  const BaseArray<HandedOver>& now = _kernel.handedOver;
  const BaseArray<HandedOver>& before = _kernel.handedOverBefore;
  if (std::equal(before.begin(), before.end(), now.begin(), now.end())) return result;
  for (const HandedOver& given : before) {
    const auto hasName = [&given](const HandedOver& other) { return other.name == given.name; };
    if (std::none_of(now.begin(), now.end(), hasName)) Clear(given.name);
  }
  return result;
}

Result<void> CpuHandOver::GiveAll(const CpuNoises& noises) {
  OSTRA_RETURN_IF_ERROR(GiveUniforms());
  OSTRA_RETURN_IF_ERROR(GiveBuffers());
  OSTRA_RETURN_IF_ERROR(GiveTextures());
  OSTRA_RETURN_IF_ERROR(GiveCounters());
  return noises.HandOver(_kernel);
}

Result<void> CpuHandOver::GiveUniforms() {
  for (const auto& [name, value] : _kernel.uniforms) {
    const KernelDeclaration* declaration = FindDeclaration(name);
    OSTRA_RETURN_IF_ERROR(_checks.CheckValue(declaration, value.GetType()));
    OSTRA_RETURN_IF_ERROR(_kernel.kernel->Set(name.ToCString(), value.GetPointer()));
  }
  return OK;
}

// Kernels may keep the address of a block, so the blocks stay until the next hand-over.
Result<void> CpuHandOver::GiveBuffers() {
  OSTRA_RETURN_IF_ERROR(_kernel.bufferBlocks.Resize(_kernel.bufferLinks.GetCount()));
  Int index = 0;
  for (const auto& [name, value] : _kernel.bufferLinks) {
    const KernelDeclaration* declaration = FindDeclaration(name);
    OSTRA_ASSIGN_OR_RETURN(BufferSlot* const& slot, value.Get<BufferSlot*>());
    Block<Generic>& block = _kernel.bufferBlocks[index++];
    block = slot ? slot->GetFirstBlock() : Block<Generic>();
    if (block.GetCount() < 1) return OSTRA_ILLEGAL_STATE("stored data block has size 0");
    OSTRA_RETURN_IF_ERROR(_checks.CheckBuffer(declaration, slot->GetElementType(), block.GetStride()));
    OSTRA_RETURN_IF_ERROR(Give(name, &block, slot));
  }
  return OK;
}

Result<void> CpuHandOver::GiveTextures() {
  for (const auto& [name, value] : _kernel.textureLinks) {
    const KernelDeclaration* declaration = FindDeclaration(name);
    OSTRA_ASSIGN_OR_RETURN(TextureSamplerDataHelper* const& sampler, value.Get<TextureSamplerDataHelper*>());
    OSTRA_RETURN_IF_ERROR(_checks.CheckTexture(declaration));
    OSTRA_RETURN_IF_ERROR(CheckKind(*_kernel.kernel, name.ToCString(), *sampler));
    OSTRA_RETURN_IF_ERROR(Give(name, sampler, sampler));
  }
  return OK;
}

Result<void> CpuHandOver::GiveCounters() {
  for (const auto& [name, value] : _kernel.atomicLinks) {
    const KernelDeclaration* declaration = FindDeclaration(name);
    OSTRA_ASSIGN_OR_RETURN(AtomicUInt32* const& counter, value.Get<AtomicUInt32*>());
    OSTRA_RETURN_IF_ERROR(_checks.CheckCounter(declaration));
    OSTRA_RETURN_IF_ERROR(Give(name, counter, counter));
  }
  return OK;
}

}  // namespace ostra
