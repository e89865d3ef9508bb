// Ends in ways that an application should not: with a program that outlives its host, or while threads dispatch.
//
//   program_end CASE             with a program of the CPU
//   program_end CASE FILE        with one of the GPU; FILE is the index kernel of the library
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "ostra/drawport/device_list.h"
#include "ostra/host.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/program/kernel_base.h"
#include "parallelprogram/program/parallel_program.h"

using namespace ostra;

namespace {

class CountKernel final : public KernelBase<CountKernel> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.endcount";
  Result<void> Init() override {
    _workGroupSize = {1, 1, 1};
    return AddParameter("total", _total);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    _total->Add(1);
    return OK;
  }

 private:
  AtomicUInt32* _total = nullptr;
};

Result<ParallelProgramRef> MakeProgram() {
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, Class::Create<CountKernel>("net.ostra.test.endcount"_id));
  OSTRA_RETURN_IF_ERROR(registry.Insert(kernelClass));
  OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(kCpuProgramClass));
  OSTRA_RETURN_IF_ERROR(program->Init(Url(), nullptr, 0, false));
  OSTRA_RETURN_IF_ERROR(program->AddKernel("k"_iid, Url("net.ostra.test.endcount"_s), true));
  OSTRA_RETURN_IF_ERROR(program->AddAtomicCounter("total"_iid, UInt32(0)));
  OSTRA_RETURN_IF_ERROR(program->SetAtomicCounterToActiveKernel("total"_iid));
  OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
  return program;
}

Result<void> RunIndexKernel(ParallelProgramInterface& program, const char* word) {
  OSTRA_RETURN_IF_ERROR(program.DispatchKernel(1000, 1, 1, false));
  OSTRA_ASSIGN_OR_RETURN(const Data data, program.GetGlobalBufferData("values"_iid));
  OSTRA_ASSIGN_OR_RETURN(const Array<Generic> values, data.Get<Array<Generic>>());
  if (values.GetFirstBlock<UInt32>()[999] == 999) std::puts(word);
  return OK;
}

// A program that has been used: its device is open.
Result<ParallelProgramRef> MakeGpuProgram(const char* kernelFile) {
  OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(kGpuProgramClass));
  OSTRA_RETURN_IF_ERROR(program->Init(Url(), nullptr, 0, true));
  OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(kernelFile));
  OSTRA_RETURN_IF_ERROR(program->AddKernel("k"_iid, file, true));
  OSTRA_RETURN_IF_ERROR(program->CreateUniformBuffer("values"_iid, GetDataType<UInt32>(), 1000));
  OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("values"_iid));
  OSTRA_RETURN_IF_ERROR(program->SetUniform("count"_iid, UInt32(1000)));
  OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
  OSTRA_RETURN_IF_ERROR(RunIndexKernel(*program, "ready"));
  return program;
}

std::atomic<int> g_dispatches{0};

// Never destroyed, as threads go on until the process is gone.
ParallelProgramRef& GetProgram() {
  static auto* program = new ParallelProgramRef;
  return *program;
}

void DispatchForEver() {
  for (;;) {
    if (!GetProgram()->DispatchKernel(100000, 1, 1, false)) std::abort();
    if (++g_dispatches % 16 == 0 && !GetProgram()->Execute(false)) std::abort();
  }
}

Result<void> UseCounter() {
  OSTRA_RETURN_IF_ERROR(GetProgram()->DispatchKernel(1000, 1, 1, false));
  OSTRA_ASSIGN_OR_RETURN(const UInt32 total, GetProgram()->GetAtomicCounter("total"_iid));
  if (total == 1000) std::puts("counted");
  return OK;
}

// `kernelFile` for a program of the GPU: the index kernel of the library.
Result<void> Run(std::string_view name, const char* kernelFile) {
  std::optional<Host> host;
  OSTRA_ASSIGN_OR_RETURN(Host made, Host::Create({.readsEnvironment = false}));
  host.emplace(std::move(made));
  OSTRA_RETURN_IF_ERROR(host->LoadModule("parallelprogram"));
  if (kernelFile) {
    OSTRA_RETURN_IF_ERROR(host->LoadModule("drawport_vulkan"));
    if (const auto devices = GetDrawportDevices(); !devices) {
      std::printf("skipped without a GPU: %s\n", std::string(devices.GetError().GetMessage().GetView()).c_str());
      return OK;
    }
  }
  OSTRA_ASSIGN_OR_RETURN(GetProgram(), kernelFile ? MakeGpuProgram(kernelFile) : MakeProgram());
  if (name == "outlives") {
    host.reset();
    OSTRA_RETURN_IF_ERROR(kernelFile ? RunIndexKernel(*GetProgram(), "counted") : UseCounter());
    GetProgram() = nullptr;
    return OK;
  }
  std::thread(DispatchForEver).detach();
  while (g_dispatches < 10) std::this_thread::yield();
  if (name == "exits") std::exit(0);
  return OK;  // the host ends while the thread dispatches
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 1;
  const Result<void> result = Run(arguments[1], count > 2 ? arguments[2] : nullptr);
  if (!result) std::puts(std::string(result.GetError().GetMessage().GetView()).c_str());
  return result ? 0 : 1;
}
