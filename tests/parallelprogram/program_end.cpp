// Ends in ways that an application should not: with a program that outlives its host, or while threads dispatch.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <thread>

#include "ostra/host.h"
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

std::atomic<int> g_dispatches{0};

// Never destroyed, as threads go on until the process is gone.
ParallelProgramRef& GetProgram() {
  static auto* program = new ParallelProgramRef;
  return *program;
}

void DispatchForEver() {
  for (;;) {
    if (!GetProgram()->DispatchKernel(100000, 1, 1, false)) std::abort();
    ++g_dispatches;
  }
}

Result<void> Run(const char* name) {
  std::optional<Host> host;
  OSTRA_ASSIGN_OR_RETURN(Host made, Host::Create({.readsEnvironment = false}));
  host.emplace(std::move(made));
  OSTRA_RETURN_IF_ERROR(host->LoadModule("parallelprogram"));
  OSTRA_ASSIGN_OR_RETURN(GetProgram(), MakeProgram());
  if (std::strcmp(name, "outlives") == 0) {
    host.reset();
    OSTRA_RETURN_IF_ERROR(GetProgram()->DispatchKernel(1000, 1, 1, false));
    OSTRA_ASSIGN_OR_RETURN(const UInt32 total, GetProgram()->GetAtomicCounter("total"_iid));
    if (total == 1000) std::puts("counted");
    GetProgram() = nullptr;
    return OK;
  }
  std::thread(DispatchForEver).detach();
  while (g_dispatches < 10) std::this_thread::yield();
  if (std::strcmp(name, "exits") == 0) std::exit(0);
  return OK;  // the host ends while the thread dispatches
}

}  // namespace

int main(int count, char** arguments) { return count == 2 && Run(arguments[1]) ? 0 : 1; }
