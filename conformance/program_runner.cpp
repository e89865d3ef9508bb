#include "conformance/program_runner.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/program/noise_modes.h"
#include "parallelprogram/textures/texture_bind_data.h"

OSTRA_UNIT("parity_program");

namespace ostra::conformance {

namespace {
constexpr Bool kWithBarrier = false;  // what the parameter disableBarrier is then
}

Result<ParallelProgramRef> MakeProgram(const Id& programClass, const Url& kernels) {
  OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(programClass));
  OSTRA_RETURN_IF_ERROR(program->Init(kernels, nullptr, 0, true));
  return program;
}

Result<Url> MakeKernelUrl(std::string_view kernel) { return Url::Create("relative://" + std::string(kernel)); }

Result<std::vector<Byte>> GetArrayBytes(const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& array, data.Get<Array<Generic>>());
  const Block<const Generic> block = array.GetFirstBlock();
  const auto* first = reinterpret_cast<const Byte*>(block.GetFirst());
  return std::vector<Byte>(first, first + block.GetCount() * block.GetStride());
}

// Runs a step that returns Result<void>, unless one has failed.
template <class Step>
void ProgramRunner::Do(Step&& step) {
  if (!_failure.empty()) return;
  const Result<void> done = step();
  if (!done) _failure = std::string(done.GetError().GetMessage().GetView());
}

ProgramRunner::ProgramRunner(const Id& programClass, const Url& kernels, std::string_view kernel) {
  Do([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(_program, MakeProgram(programClass, kernels));
    OSTRA_ASSIGN_OR_RETURN(const Url file, MakeKernelUrl(kernel));
    return _program->AddKernel("kernel"_iid, file, true);
  });
}

void ProgramRunner::SetTypedValue(const char* name, const DataType& type, const void* value) {
  Do([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
    OSTRA_ASSIGN_OR_RETURN(const Data data, Data::CreateCopy(type, value));
    return _program->SetUniform(id, data);
  });
}

void ProgramRunner::SetTypedBuffer(const char* name, const BufferElements& elements) {
  Do([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
    const Block<const Generic> block(static_cast<const Generic*>(elements.first), elements.count,
                                     elements.elementType.GetSize());
    OSTRA_ASSIGN_OR_RETURN(auto array, GenericBaseArray::CreateCopy(elements.elementType, block));
    OSTRA_RETURN_IF_ERROR(_program->StoreUniformBufferData(id, std::move(array)));
    _buffers[name] = elements.elementType;
    return _program->SetBufferToActiveKernelSameId(id);
  });
}

void ProgramRunner::SetCounter(const char* name, UInt32 value) {
  Do([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
    OSTRA_RETURN_IF_ERROR(_program->AddAtomicCounter(id, UInt32(0)));
    OSTRA_RETURN_IF_ERROR(_program->SetAtomicCounter(id, value));
    _counters.emplace_back(name);
    return _program->SetAtomicCounterToActiveKernel(id);
  });
}

void ProgramRunner::SetNoise(const Id& classId, Int32 seed) {
  Do([&]() -> Result<void> {
    Int32 mode = 0;
    while (GetNoiseClass(mode) != classId) ++mode;
    OSTRA_RETURN_IF_ERROR(_program->SetUniform("noiseMode_0"_iid, Int32(mode)));
    return _program->SetUniform("noiseSeed_0"_iid, Int32(seed));
  });
}

void ProgramRunner::SetTexture(const char* name, TextureBindData& description) {
  Do([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
    OSTRA_RETURN_IF_ERROR(_program->StoreTextureBindData(id, description, false));
    return _program->SetTextureToActiveKernelSameId(id);
  });
}

void ProgramRunner::Run(const Vec3<UInt32>& extent) {
  Do([&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(_program->UpdateUniforms());
    OSTRA_RETURN_IF_ERROR(_program->DispatchKernel(extent.x, extent.y, extent.z, kWithBarrier));
    return _program->Execute(true);
  });
}

std::vector<Byte> ProgramRunner::ReadBytes(const std::string& name) {
  std::vector<Byte> bytes;
  Do([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
    OSTRA_ASSIGN_OR_RETURN(const Data data, _program->GetGlobalBufferData(id));
    OSTRA_ASSIGN_OR_RETURN(bytes, GetArrayBytes(data));
    return OK;
  });
  return bytes;
}

UInt32 ProgramRunner::ReadCounter(const std::string& name) {
  UInt32 value = 0;
  Do([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
    OSTRA_ASSIGN_OR_RETURN(value, _program->GetAtomicCounter(id));
    return OK;
  });
  return value;
}

}  // namespace ostra::conformance
