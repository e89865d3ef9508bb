// Textures of the CPU program. Its samplers do not exist yet: methods that would need them say so.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {
Error MakeUnsupportedError() { return OSTRA_NOT_IMPLEMENTED("Textures are not supported by the CPU program yet."); }
}  // namespace

Result<void> ParallelProgramCPUImpl::SetTextureToActiveKernelSameId(const InternedId&) {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::SetTextureToActiveKernel(const InternedId&, const InternedId&) {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::StoreTextureBindData(const InternedId&, TextureBindData&, Bool) {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::CreateTexture(const InternedId&, TextureBindData&) {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::UpdateTextureBindData(const InternedId&, const TextureBindData&) {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::SetKernelTextureLink(const InternedId&, const Data&) {
  return MakeUnsupportedError();
}
Result<Data> ParallelProgramCPUImpl::GetTextureData(const InternedId&, const Vec3<Int32>&, const Vec3<Int32>&) const {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::CopyTextureBytes(const InternedId&, const InternedId&, Int, Int, Int) {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::SwapTextures(const InternedId&, const InternedId&) {
  return MakeUnsupportedError();
}
Result<void> ParallelProgramCPUImpl::DeleteTexture(const InternedId&, Bool) { return MakeUnsupportedError(); }

// There is no device on the CPU: these never have anything to do or to give.
Result<void> ParallelProgramCPUImpl::SetTextureOutOfCoreDeleteOrder(const BaseArray<InternedId>&) { return OK; }
Result<DrawportTextureSampler*> ParallelProgramCPUImpl::GetTextureSamplerHandle(const InternedId&) { return nullptr; }
Result<DrawportTexture*> ParallelProgramCPUImpl::GetTextureHandle(const InternedId&) { return nullptr; }
Result<DrawportTextureSamplerItemRef> ParallelProgramCPUImpl::GetTextureSamplerCacheRef(const InternedId&) {
  return DrawportTextureSamplerItemRef();
}
Result<DrawportTextureItemRef> ParallelProgramCPUImpl::GetTextureCacheRef(const InternedId&) {
  return DrawportTextureItemRef();
}

}  // namespace ostra
