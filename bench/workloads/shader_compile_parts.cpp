#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "bench/gpu_program.h"
#include "bench/workloads/shader_compile.h"
#include "ostra/monitor/monitor.h"

namespace bench {
namespace {

using namespace ostra;

constexpr UInt32 kCount = 4096;
const char* const kSmallKernel = "net.ostra.kernels.index.krn";

// Watches what the compiler does, from construction to Print.
class Watch {
 public:
  Watch() { Need(MonitorStart()); }
  void Start() { _start = std::chrono::steady_clock::now(); }
  void Stop() { _milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - _start); }

  void Print() const {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("ostra_bench_trace_" + std::to_string(getpid()))).string();
    Need(MonitorStop(path));
    std::ifstream file(path);
    const std::string trace((std::istreambuf_iterator<char>(file)), {});
    std::filesystem::remove(path);
    int compiled = 0;
    const std::string scope = "\"compile shader\"";
    for (std::size_t at = trace.find(scope); at != std::string::npos; at = trace.find(scope, at + 1)) ++compiled;
    std::printf("%.6f %d\n", _milliseconds.count(), compiled);
  }

 private:
  std::chrono::steady_clock::time_point _start;
  std::chrono::duration<double, std::milli> _milliseconds{};
};

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
  Watch watch;
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
  Watch watch;
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
  Watch watch;
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
