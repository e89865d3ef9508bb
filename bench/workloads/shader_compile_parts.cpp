#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "bench/gpu_program.h"
#include "bench/workloads/compiler_watch.h"
#include "bench/workloads/shader_compile.h"

namespace bench {
namespace {

using namespace ostra;

constexpr UInt32 kCount = 4096;
const char* const kSmallKernel = "net.ostra.kernels.index.krn";

ParallelProgramRef MakeProgram() {
  ParallelProgramRef program = Need(CreateObject<ParallelProgramInterface>(kGpuProgramClass));
  Need(program->Init(Need(Url::Create(GetProgramFolder())), nullptr, 0, true));
  return program;
}

// Software devices take seconds over the noises, whatever is in the caches.
bool HasNoises(const std::string& name) {
  return name == "net.ostra.kernels.noise.krn" || name == "net.ostra.kernels.terrain.krn";
}

std::vector<std::string> FindLibrary(bool withNoises) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(GetProgramFolder() + "/shaders")) {
    const std::string name = entry.path().filename().string();
    const bool isOfLibrary =
        name.starts_with("net.ostra.kernels.") && name.ends_with(".krn") && !name.ends_with(".fast.krn");
    if (isOfLibrary && (withNoises || !HasNoises(name))) files.push_back(name);
  }
  std::ranges::sort(files);
  return files;
}

bool CompileAll(bool inJobs, bool withNoises) {
  const std::vector<std::string> files = FindLibrary(withNoises);
  CompilerWatch watch;
  const ParallelProgramRef program = MakeProgram();
  watch.Start();
  for (const std::string& file : files)
    Need(program->AddKernel(Need(InternedId::Create(file)), Need(Url::Create("relative://" + file)), !inJobs));
  if (inJobs) program->WaitForKernelCompile();
  watch.Stop();
  // Each of them can be used.
  for (const std::string& file : files) {
    program->SetActiveKernel(Need(InternedId::Create(file)));
    Need(program->UpdateUniforms());
  }
  watch.Print();
  return !files.empty();
}

bool AreIndices(const std::vector<std::uint8_t>& bytes) {
  const auto* values = reinterpret_cast<const std::uint32_t*>(bytes.data());
  for (UInt32 i = 0; i < kCount; ++i)
    if (values[i] != i) return false;
  return bytes.size() == kCount * sizeof(std::uint32_t);
}

}  // namespace

bool RunFirstDispatch(const Options&) {
  CompilerWatch watch;
  const ParallelProgramRef program = MakeProgram();
  watch.Start();
  Need(program->AddKernel("index"_iid, Need(Url::Create(std::string("relative://") + kSmallKernel)), true));
  Need(program->CreateUniformBuffer("values"_iid, GetDataType<UInt32>(), kCount));
  Need(program->SetBufferToActiveKernelSameId("values"_iid));
  Need(program->SetUniform("count"_iid, kCount));
  Need(program->UpdateUniforms());
  Need(program->DispatchKernel(kCount, 1, 1, false));
  Need(program->Execute(true));
  watch.Stop();
  watch.Print();
  return AreIndices(ReadBuffer(*program, "values"));
}

bool RunRawFirstDispatch(const Options& options) {
  const auto device = std::make_shared<RawDevice>(FindGpu(options));
  const Shader shader = MakeShader(GetKernelPath(kSmallKernel));
  CompilerWatch watch;
  watch.Start();
  RawKernel kernel(device, shader);
  const auto buffer = std::make_shared<RawBuffer>(device, kCount * sizeof(std::uint32_t), RawMemory::Device);
  kernel.SetBuffer("values", buffer);
  kernel.SetUniform("count", &kCount, sizeof(kCount));
  kernel.Run(GetGroupCounts(shader, kCount, 1), 1);
  watch.Stop();
  watch.Print();
  std::vector<std::uint8_t> bytes(buffer->GetSize());
  buffer->Read(bytes.data());
  return AreIndices(bytes);
}

bool RunCompileInJobs(const Options&) { return CompileAll(true, false); }
bool RunCompileInTurn(const Options&) { return CompileAll(false, false); }
bool RunCompileNoisesInJobs(const Options&) { return CompileAll(true, true); }
bool RunCompileNoisesInTurn(const Options&) { return CompileAll(false, true); }

}  // namespace bench
