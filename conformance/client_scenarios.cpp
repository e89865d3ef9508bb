#include "conformance/client_scenarios.h"

namespace ostra::conformance {

std::vector<ClientScenario> GetClientScenarios() {
  std::vector<ClientScenario> all;
  for (const auto& some : {GetBufferScenarios(), GetKernelScenariosOfClients(), GetTextureScenarios()})
    all.insert(all.end(), some.begin(), some.end());
  return all;
}

void LinkSaxpy(ClientRun& run, const Floats& x, const Floats& y) {
  run.AddKernel("saxpy"_iid, kSaxpyKernel);
  run.Store("x"_iid, x);
  run.Store("y"_iid, y);
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("x"_iid));
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("y"_iid));
}

void RunSaxpy(ClientRun& run, Float32 a, UInt32 count) {
  CONFORMANCE_OK(run, run->SetUniform("a"_iid, Float32(a)));
  CONFORMANCE_OK(run, run->SetUniform("count"_iid, UInt32(count)));
  CONFORMANCE_OK(run, run->UpdateUniforms());
  CONFORMANCE_OK(run, run->DispatchKernel(count, 1, 1, false));
}

void LinkIndex(ClientRun& run, UInt32 count, UInt32 value) {
  run.AddKernel("index"_iid, kIndexKernel);
  run.Store("values"_iid, std::vector<UInt32>(count, value));
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("values"_iid));
  CONFORMANCE_OK(run, run->SetUniform("count"_iid, UInt32(count)));
  CONFORMANCE_OK(run, run->UpdateUniforms());
}

}  // namespace ostra::conformance
