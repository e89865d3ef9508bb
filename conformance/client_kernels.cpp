// Kernels: by name, compiled in the background, dispatched over long lines and over counts from a buffer.
#include "conformance/client_scenarios.h"

namespace ostra::conformance {
namespace {

using Words = std::vector<UInt32>;

void EveryDispatchSeesTheValuesOfItsUpdate(ClientRun& run) {
  LinkSaxpy(run, {1}, {0});
  RunSaxpy(run, 1, 1);
  RunSaxpy(run, 10, 1);
  RunSaxpy(run, 100, 1);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{111});
}

// Longer than 65535 groups of 256: the line goes on in a second row of groups.
void ALongLineIsOneRange(ClientRun& run) {
  constexpr UInt32 kLong = 65535 * 256 + 1000;
  LinkIndex(run, kLong, 7);
  CONFORMANCE_OK(run, run->DispatchKernel(kLong, 1, 1, false));
  const Words values = run.Read<UInt32>("values"_iid);
  CONFORMANCE_HOLDS(run, values.size() == kLong);
  UInt32 wrong = 0;
  for (UInt32 i = 0; i < kLong; ++i) wrong += values[i] != i;
  CONFORMANCE_HOLDS(run, wrong == 0);
}

void GroupCountsMayComeFromABuffer(ClientRun& run) {
  LinkIndex(run, 600, 0);
  run.Store<Vec4<Int32>>("arguments"_iid, {{9, 9, 9, 9}, {2, 1, 1, 0}});
  CONFORMANCE_OK(run, run->DispatchIndirectKernel("arguments"_iid, 1, false));
  const Words values = run.Read<UInt32>("values"_iid);
  CONFORMANCE_HOLDS(run, values.size() == 600 && values[511] == 511 && values[512] == 0);
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "", run->DispatchIndirectKernel("arguments"_iid, 2, false));
}

void KernelsAreKeptByName(ClientRun& run) {
  run.AddKernel("one"_iid, kSaxpyKernel);
  run.AddKernel("two"_iid, kIndexKernel);
  CONFORMANCE_HOLDS(run, run->GetActiveKernelId() == "two"_iid);
  const auto file = MakeKernelUrl(kSaxpyKernel);
  CONFORMANCE_OK(run, file);
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "Kernel id is already used", run->AddKernel("one"_iid, *file, true));
  CONFORMANCE_HOLDS(run, run->GetActiveKernelId() == "two"_iid);
  run->SetActiveKernel("unknown"_iid);
  CONFORMANCE_HOLDS(run, run->GetActiveKernelId() == "two"_iid);
  run->SetActiveKernel("one"_iid);
  CONFORMANCE_HOLDS(run, run->GetActiveKernelId() == "one"_iid);
  CONFORMANCE_HOLDS(run, run->HasKernel("one"_iid) && !run->HasKernel("unknown"_iid));
  const auto name = String::Create(kSaxpyKernel);
  CONFORMANCE_OK(run, name);
  CONFORMANCE_HOLDS(run, run->GetProgramCount(*name) == 1);
  CONFORMANCE_HOLDS(run, run->GetProgramCount(String()) == 0);
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "Kernel id is already used",
                    run->CopyKernel("one"_iid, "two"_iid, true));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "source kernel could not be found",
                    run->CopyKernel("unknown"_iid, "three"_iid, true));
  CONFORMANCE_OK(run, run->CopyKernel("one"_iid, "one"_iid, true));
}

void KernelsThatAreCompiledInTheBackgroundAreWaitedFor(ClientRun& run) {
  const InternedId ids[] = {"a"_iid, "b"_iid, "c"_iid, "d"_iid};
  const auto file = MakeKernelUrl(kSaxpyKernel);
  CONFORMANCE_OK(run, file);
  for (const InternedId& id : ids) CONFORMANCE_OK(run, run->AddKernel(id, *file, false));
  run->WaitForKernelCompile();
  run.Store<Float32>("x"_iid, {1, 2});
  run.Store<Float32>("y"_iid, {0, 0});
  for (const InternedId& id : ids) {
    run->SetActiveKernel(id);
    CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("x"_iid));
    CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("y"_iid));
    RunSaxpy(run, 1, 2);
  }
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{4, 8});
}

void AProgramThatWasResetHasNothing(ClientRun& run) {
  LinkSaxpy(run, {1}, {2});
  CONFORMANCE_OK(run, run->Reset());
  CONFORMANCE_HOLDS(run, run->GetActiveKernelId().IsEmpty());
  CONFORMANCE_HOLDS(run, !run->HasKernel("saxpy"_iid));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "buffer identifier not found", run->GetGlobalBufferData("x"_iid));
  CONFORMANCE_OK(run, run->Init(run.GetKernels(), nullptr, 0, true));
  LinkSaxpy(run, {1}, {2});
  RunSaxpy(run, 5, 1);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{7});
}

void WithoutAnActiveKernelNothingIsDone(ClientRun& run) {
  constexpr std::string_view kNone = "no active kernel set";
  run.Store<Float32>("a"_iid, {1});
  CONFORMANCE_FAILS(run, kIllegalStateError, kNone, run->SetBufferToActiveKernelSameId("a"_iid));
  CONFORMANCE_FAILS(run, kIllegalStateError, kNone, run->GetKernelBufferData("a"_iid));
  CONFORMANCE_FAILS(run, kIllegalStateError, kNone, run->SetUniform("a"_iid, Float32(1)));
  CONFORMANCE_FAILS(run, kIllegalStateError, kNone, run->UpdateUniforms());
  CONFORMANCE_FAILS(run, kIllegalStateError, kNone, run->DispatchKernel(1, 1, 1, false));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1});
}

// Black also when the parameter was never set: nothing of an earlier program is left in it.
void AnUnsetGradientReadsBlack(ClientRun& run) {
  run.AddKernel("gradient"_iid, "net.ostra.parity.gradient.krn");
  run.Store<Float32>("reds"_iid, {9, 9});
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("reds"_iid));
  CONFORMANCE_OK(run, run->UpdateUniforms());
  CONFORMANCE_OK(run, run->DispatchKernel(1, 1, 1, false));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("reds"_iid) == Floats{0, 9});
}

constexpr ClientScenario kScenarios[] = {
    {"EveryDispatchSeesTheValuesOfItsUpdate", &EveryDispatchSeesTheValuesOfItsUpdate},
    {"ALongLineIsOneRange", &ALongLineIsOneRange},
    {"GroupCountsMayComeFromABuffer", &GroupCountsMayComeFromABuffer},
    {"KernelsAreKeptByName", &KernelsAreKeptByName},
    {"KernelsThatAreCompiledInTheBackgroundAreWaitedFor", &KernelsThatAreCompiledInTheBackgroundAreWaitedFor},
    {"AProgramThatWasResetHasNothing", &AProgramThatWasResetHasNothing},
    {"AnUnsetGradientReadsBlack", &AnUnsetGradientReadsBlack},
    {"WithoutAnActiveKernelNothingIsDone", &WithoutAnActiveKernelNothingIsDone},
};

}  // namespace

std::span<const ClientScenario> GetKernelScenariosOfClients() { return kScenarios; }

}  // namespace ostra::conformance
