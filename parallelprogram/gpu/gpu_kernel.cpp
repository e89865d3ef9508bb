#include "parallelprogram/gpu/gpu_kernel.h"

#include "ostra/core/format.h"
#include "parallelprogram/program/shader_data_entries.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

Result<KernelDescription> DescribeKernel(const ParsedKernel& parsed) {
  const ShaderParser& parser = *parsed.parser;
  KernelDescription description;
  const Vec3<Int32> size = parser.GetWorkGroupSize();
  if (size.x < 1 || size.y < 1 || size.z < 1)
    return OSTRA_ILLEGAL_ARGUMENT("A work group of @ x @ x @ invocations cannot run.", size.x, size.y, size.z);
  description.workGroupSize = {static_cast<UInt32>(size.x), static_cast<UInt32>(size.y), static_cast<UInt32>(size.z)};
  description.usesNoise = parser.GetNoiseCallCount() > 0;
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries()) {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(texture.name));
    OSTRA_RETURN_IF_ERROR(description.textures.Append(KernelDescription::Texture{name, !texture.readOnly}));
  }
  description.parsed = parsed;
  if (parsed.reportTable.IsPopulated()) {
    OSTRA_ASSIGN_OR_RETURN(description.reports, KernelReportTable::Parse(parsed.reportTable.GetView()));
  }
  return description;
}

void GpuKernel::EndCompile(const Result<void>& result, Bool keepsProgram) {
  const std::scoped_lock guard(lock);
  compileError.reset();
  if (result) {
    state = CompileState::Ready;
    return;
  }
  described.reset();
  if (keepsProgram && state == CompileState::Ready) return;
  state = CompileState::Failed;
  compileError = result.GetError();
}

void GpuKernel::SetDescription(KernelDescription description) {
  const std::scoped_lock guard(lock);
  described = std::move(description);
}

void GpuKernel::SetRead(SourcesRead parsed) {
  const std::scoped_lock guard(lock);
  if (parsed.files.IsPopulated()) read = std::move(parsed);
}

Bool GpuKernel::HasDescription() const {
  const std::scoped_lock guard(lock);
  return described.has_value();
}

CompileState GpuKernel::GetState() const {
  const std::scoped_lock guard(lock);
  return state;
}

Bool GpuKernel::IsWorthCompiling() const {
  const std::scoped_lock guard(lock);
  if (state == CompileState::NotStarted) return true;
  if (state != CompileState::Failed || !compileError) return false;
  // What is wrong in a source is an illegal argument. So is a file that is gone, which may come back.
  const Bool hasReadNothing = sources.files.IsEmpty() && !read;
  return hasReadNothing || !(compileError->GetKind() == kIllegalArgumentError);
}

Result<void> GpuKernel::ApplyCompiled() {
  const std::scoped_lock guard(lock);
  return ApplyCompiledLocked();
}

Result<void> GpuKernel::ApplyCompiledLocked() {
  if (state != CompileState::Running && read) {
    sources = std::move(*read);
    read.reset();
  }
  if (state != CompileState::Ready || !described) return OK;
  for (const KernelDescription::Texture& texture : described->textures) {
    TextureSamplerEntry entry;
    entry._state = texture.isWritable ? TextureSamplerEntry::kWritable : 0;
    // A link that was set while the kernel was compiled stays.
    if (!textures.Contains(texture.name)) OSTRA_RETURN_IF_ERROR(textures.Set(texture.name, std::move(entry)));
  }
  workGroupSize = described->workGroupSize;
  usesNoise = described->usesNoise;
  parsed = std::move(described->parsed);
  reports = std::move(described->reports);
  described.reset();
  return OK;
}

// Under one lock: a compilation that ends in between would have its program run with the work group size of none.
Result<void> GpuKernel::RequireCompiled() {
  const std::scoped_lock guard(lock);
  OSTRA_RETURN_IF_ERROR(ApplyCompiledLocked());
  // Without a size there is nothing to divide a dispatch by: the job was cancelled.
  if (state == CompileState::Ready && workGroupSize.x > 0) return OK;
  if (compileError)
    return OSTRA_ILLEGAL_STATE("The kernel \"@\" cannot run because it could not be compiled: @", id, *compileError);
  if (state == CompileState::NotStarted)
    return OSTRA_ILLEGAL_STATE("The kernel \"@\" cannot run because its compilation has not begun.", id);
  return OSTRA_ILLEGAL_STATE("The kernel \"@\" cannot run because its compilation has not ended.", id);
}

}  // namespace ostra
