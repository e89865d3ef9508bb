// Compiles kernels while it runs: from a file, again after an edit, from a text, and one with a mistake.
//
//   runtime FOLDER      the folder is where the kernel file is written and compiled kernels are kept
#include <cstdio>
#include <fstream>
#include <string>

#include "parallelprogram/kernelruntime/kernel_runtime.h"
#include "parallelprogram/program/parallel_program.h"

using namespace ostra;

static std::string WriteKernel(const std::string& value) {
  return "#define KERNELINPUTS \\\n(Block<Float32>) values\n"
         "OSTRA_PARALLEL_KERNEL(Fill, KERNELINPUTS)\n{\n"
         "\tUNIFORM_BUFFER(values)[LinearInvocation()] = " +
         value + ";\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

// What a kernel writes into the last of 100 values.
static Result<Float32> Run(const LoadedKernel& kernel) {
  OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, CreateObject<ParallelProgramInterface>(kCpuProgramClass));
  OSTRA_RETURN_IF_ERROR(program->Init(Url(), nullptr, 0, false));
  OSTRA_RETURN_IF_ERROR(program->AddKernel("fill"_iid, kernel.GetUrl(), true));
  OSTRA_RETURN_IF_ERROR(program->CreateUniformBuffer("values"_iid, GetDataType<Float32>(), 100));
  OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("values"_iid));
  OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
  OSTRA_RETURN_IF_ERROR(program->DispatchKernel(100, 1, 1, false));
  OSTRA_ASSIGN_OR_RETURN(const Data result, program->GetGlobalBufferData("values"_iid));
  OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& numbers, result.Get<Array<Generic>>());
  return numbers.operator[]<Float32>(99);
}

static Result<Int> CountWrongResults(const std::string& folder) {
  OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create());
  OSTRA_RETURN_IF_ERROR(host.LoadModule("parallelprogram"));
  OSTRA_ASSIGN_OR_RETURN(KernelRuntime runtime, KernelRuntime::Create(host, {.cacheFolder = folder + "/cache"}));
  const std::string path = folder + "/com.example.fill.krn";
  OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(path));
  Int wrong = 0;
  for (const Float32 value : {1.5f, 2.5f}) {  // the second time the file has been edited
    std::ofstream(path) << WriteKernel(std::to_string(value));
    OSTRA_ASSIGN_OR_RETURN(const LoadedKernel kernel, runtime.Load(file));
    OSTRA_ASSIGN_OR_RETURN(const Float32 result, Run(kernel));
    wrong += result != value;
  }
  OSTRA_ASSIGN_OR_RETURN(const LoadedKernel text, runtime.LoadText("com.example.text.krn", WriteKernel("3.5")));
  OSTRA_ASSIGN_OR_RETURN(const Float32 result, Run(text));
  wrong += result != 3.5f;
  const auto mistake = runtime.LoadText("com.example.mistake.krn", WriteKernel("1.0 +* 2.0"));
  const std::string_view message = mistake ? std::string_view() : mistake.GetError().GetMessage().GetView();
  wrong += message.find("com.example.mistake.krn:5:") == std::string_view::npos;
  return wrong;
}

int main(int argc, char** argv) {
  const auto wrong = CountWrongResults(argc > 1 ? argv[1] : ".");
  if (!wrong) {
    const std::string_view message = wrong.GetError().GetMessage().GetView();
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
    return 1;
  }
  std::printf("%lld wrong results\n", static_cast<long long>(*wrong));
  return *wrong == 0 ? 0 : 1;
}
