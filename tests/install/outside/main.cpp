// Runs a kernel of its own over as many numbers as its argument says, and checks all of them.
#include <cstdio>
#include <cstdlib>

#include "ostra/host.h"
#include "outside_kernels.h"
#include "parallelprogram/program/kernel_registration.h"
#include "parallelprogram/program/parallel_program.h"

using namespace ostra;

static Result<void> RegisterOwnKernels(ModuleDescriptor& module) {
  return RegisterKernels(module, GetKernels_outside());
}
static constexpr ModuleEntry kUnits[] = {{"kernels", &RegisterOwnKernels}};
OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.outside"_id, .version = "1.0", .units = kUnits};

static Result<Int> CountWrongValues(UInt32 count) {
  OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(kCpuProgramClass));
  OSTRA_RETURN_IF_ERROR(program->Init(Url(), nullptr, 0, false));
  OSTRA_RETURN_IF_ERROR(program->AddKernel("scale"_iid, Url("com.example.scale.krn"_s), true));
  BaseArray<Float32> values;
  OSTRA_RETURN_IF_ERROR(values.Resize(count));
  for (Float32& value : values) value = 1;
  OSTRA_RETURN_IF_ERROR(program->StoreUniformBufferData("values"_iid, std::move(values)));
  OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("values"_iid));
  OSTRA_RETURN_IF_ERROR(program->SetUniform("count"_iid, count));
  OSTRA_RETURN_IF_ERROR(program->SetUniform("factor"_iid, Float32(2)));
  OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
  OSTRA_RETURN_IF_ERROR(program->DispatchKernel(count, 1, 1, false));
  OSTRA_ASSIGN_OR_RETURN(const Data result, program->GetGlobalBufferData("values"_iid));
  OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& numbers, result.Get<Array<Generic>>());
  Int wrong = numbers.GetCount() == count ? 0 : 1;
  for (Int i = 0; i < numbers.GetCount(); ++i)
    wrong += numbers.operator[]<Float32>(i) != 1 + 2 * static_cast<Float32>(i);
  return wrong;
}

static Result<Int> Run(UInt32 count) {
  OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create());
  OSTRA_RETURN_IF_ERROR(host.LoadModule("parallelprogram"));
  OSTRA_RETURN_IF_ERROR(host.RegisterApplication(g_ostra));
  return CountWrongValues(count);
}

int main(int argc, char** argv) {
  const auto wrong = Run(argc > 1 ? static_cast<UInt32>(std::atoi(argv[1])) : 100);
  if (!wrong) {
    const std::string_view message = wrong.GetError().GetMessage().GetView();
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
    return 1;
  }
  std::printf("%lld wrong values\n", static_cast<long long>(*wrong));
  return *wrong == 0 ? 0 : 1;
}
