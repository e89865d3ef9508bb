// Runs a kernel file that it learns of when it starts: run KERNEL.krn TARGET CACHE INPUT=SOURCE... --set
// VALUE=NUMBER... writes the buffer y to TARGET and prints its first number.
#include <cstdio>
#include <string>

#include "plans/run_kernel.h"

using namespace ostra;

static Result<Float32> Run(int argc, char** argv) {
  KernelRunRequest request{.outputs = {{"y", argv[2]}}, .results = {"y"}};
  KernelRunRequest::Texts* texts = &request.inputs;
  for (int i = 4; i < argc; ++i) {
    const std::string text = argv[i];
    const std::size_t mark = text.find('=');
    if (mark == std::string::npos)
      texts = &request.values;  // --set
    else
      texts->emplace_back(text.substr(0, mark), text.substr(mark + 1));
  }
  OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create());
  OSTRA_RETURN_IF_ERROR(host.LoadModule("parallelprogram"));
  OSTRA_ASSIGN_OR_RETURN(KernelRunner runner, KernelRunner::Create(host, {.cacheFolder = argv[3]}));
  OSTRA_ASSIGN_OR_RETURN(const Url kernel, Url::Create(argv[1]));
  OSTRA_ASSIGN_OR_RETURN(const KernelRunResult result, runner.Run(kernel, request));
  return result.FindBuffer("y")->operator[]<Float32>(0);
}

int main(int argc, char** argv) {
  if (argc < 4) return std::fputs("usage: run KERNEL TARGET CACHE INPUT=SOURCE... --set VALUE=NUMBER...\n", stderr), 2;
  const auto first = Run(argc, argv);
  if (first) return std::printf("%g\n", static_cast<double>(*first)), 0;
  return std::fprintf(stderr, "%s\n", std::string(first.GetError().GetMessage().GetView()).c_str()), 1;
}
