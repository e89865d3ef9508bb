#include "bench/program.h"

namespace bench {

using namespace ostra;

Program::Program(const char* kernelFile) : _program(Need(CreateObject<ParallelProgramInterface>(kCpuProgramClass))) {
  Need(_program->Init(Url(), nullptr, 0, false));
  Need(_program->AddKernel("kernel"_iid, Need(Url::Create(kernelFile)), true));
}

// The program keeps the array where it is, shared with the value that it returns.
void* Program::GetBuffer(const char* name) {
  const Data data = Need(_program->GetGlobalBufferData(Name(name)));
  return Need(data.Get<Array<Generic>>()).GetFirstBlock<Generic>().GetFirst();
}

}  // namespace bench
