// A GPU program that outlives its host: the application is told, and nothing crashes.
//
//   gpu_program_end outlives|stays SAXPY_KERNEL_FILE
#include <cstdio>
#include <optional>

#include "ostra/drawport/cache.h"
#include "ostra/host.h"
#include "ostra/io/url.h"
#include "parallelprogram/program/parallel_program.h"

using namespace ostra;

namespace {

Result<ParallelProgramRef> MakeProgram(const char* path) {
  OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(kGpuProgramClass));
  OSTRA_RETURN_IF_ERROR(program->Init(Url(), nullptr, 0, true));
  OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(path));
  OSTRA_RETURN_IF_ERROR(program->AddKernel("k"_iid, file, true));
  OSTRA_RETURN_IF_ERROR(program->AddKernel("late"_iid, file, false));
  BaseArray<Float32> ones;
  for (int i = 0; i < 100; ++i) OSTRA_RETURN_IF_ERROR(ones.Append(1));
  OSTRA_RETURN_IF_ERROR(program->StoreUniformBufferData("x"_iid, std::move(ones)));
  OSTRA_RETURN_IF_ERROR(program->CreateUniformBuffer("y"_iid, GetDataType<Float32>(), 100));
  program->SetActiveKernel("k"_iid);
  OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("x"_iid));
  OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("y"_iid));
  OSTRA_RETURN_IF_ERROR(program->SetUniform("a"_iid, Float32(2)));
  OSTRA_RETURN_IF_ERROR(program->SetUniform("count"_iid, UInt32(100)));
  OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
  return program;
}

// As an application's global variable: what is still in it goes after main().
ParallelProgramRef g_program;

Result<void> Run(const char* path, Bool keep) {
  {
    OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create({.readsEnvironment = false}));
    OSTRA_RETURN_IF_ERROR(host.LoadModule("parallelprogram"));
    OSTRA_RETURN_IF_ERROR(host.LoadModule("drawport_vulkan"));
    const auto cache = GetDefaultDrawportCache();
    if (!cache || (*cache)->GetCacheType().IsEmpty()) {
      std::puts("There is no GPU device on this machine.");
      return OK;
    }
    OSTRA_ASSIGN_OR_RETURN(g_program, MakeProgram(path));
    OSTRA_RETURN_IF_ERROR(g_program->DispatchKernel(100, 1, 1, false));  // recorded, and not submitted
  }
  OSTRA_RETURN_IF_ERROR(g_program->DispatchKernel(100, 1, 1, false));
  OSTRA_ASSIGN_OR_RETURN(const Data values, g_program->GetGlobalBufferData("y"_iid));
  const auto* array = values.GetIf<Array<Float32>>();
  if (array && array->GetCount() == 100 && (*array)[99] == 4) std::puts("The program works.");
  if (!keep) g_program = nullptr;
  return OK;
}

}  // namespace

int main(int count, char** arguments) {
  const Result<void> result = count == 3 ? Run(arguments[2], arguments[1][0] == 's') : Result<void>(OK);
  if (!result) {
    const std::string_view message = result.GetError().GetMessage().GetView();
    std::printf("%.*s\n", static_cast<int>(message.size()), message.data());
  }
  return 0;
}
