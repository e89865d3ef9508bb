// Dispatches, kernels and links.
#include "conformance/differences.h"

#include "conformance/client_scenarios.h"
#include "ostra/object/class.h"
#include "ostra/render/gradient.h"

namespace ostra::conformance {
namespace {

using Words = std::vector<UInt32>;

// The first four numbers of "values" after a dispatch; a whole work group writes all of them.
Words DispatchIndex(ClientRun& run, UInt32 x, UInt32 y, UInt32 z) {
  LinkIndex(run, 4, 7);
  run.CheckOk(run->DispatchKernel(x, y, z, false), "DispatchKernel", __FILE__, __LINE__);
  return run.Read<UInt32>("values"_iid);
}

void CheckZeroExtents(ClientRun& run) {
  CONFORMANCE_HOLDS(run, DispatchIndex(run, 8, 8, 0) == (run.IsGpu() ? Words{7, 7, 7, 7} : Words{0, 1, 2, 3}));
}

void CheckPartialGroups(ClientRun& run) {
  CONFORMANCE_HOLDS(run, DispatchIndex(run, 2, 1, 1) == (run.IsGpu() ? Words{0, 1, 2, 3} : Words{0, 1, 7, 7}));
}

void CheckExtentsOfZeroBehindX(ClientRun& run) {
  CONFORMANCE_HOLDS(run, DispatchIndex(run, 2, 0, 0) == Words{0, 1, 2, 3});
}

// What a device does with a count of 0 is not looked at, only that it is no error.
void CheckIndirectCounts(ClientRun& run) {
  LinkIndex(run, 4, 7);
  run.Store<Vec4<Int32>>("arguments"_iid, {{0, 1, 1, 0}});
  CONFORMANCE_OK(run, run->DispatchIndirectKernel("arguments"_iid, 0, false));
  CONFORMANCE_HOLDS(run, run.IsGpu() || run.Read<UInt32>("values"_iid) == Words{0, 1, 2, 3});
}

void CheckUnknownArguments(ClientRun& run) {
  LinkIndex(run, 4, 7);
  if (run.IsGpu())
    CONFORMANCE_FAILS(run, kIllegalStateError, "trying to dispatch indirect from unknown buffer",
                      run->DispatchIndirectKernel("unknown"_iid, 0, false));
  else
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "buffer for update could not be found",
                      run->DispatchIndirectKernel("unknown"_iid, 0, false));
}

void CheckStoredAgain(ClientRun& run) {
  LinkSaxpy(run, {1}, {2});
  run.Store<Float32>("x"_iid, {100});
  RunSaxpy(run, 1, 1);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{run.IsGpu() ? 102.0f : 3.0f});
}

void CheckMissingLink(ClientRun& run) {
  run.AddKernel("index"_iid, kIndexKernel);
  run.Store<UInt32>("values"_iid, {7, 7});
  CONFORMANCE_OK(run, run->SetUniform("count"_iid, UInt32(2)));
  if (!run.IsGpu()) {
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "", run->GetKernelBufferLink("values"_iid));
    return;
  }
  CONFORMANCE_OK(run, run->UpdateUniforms());
  CONFORMANCE_OK(run, run->DispatchKernel(2, 1, 1, false));
  CONFORMANCE_HOLDS(run, run.Read<UInt32>("values"_iid) == Words{0, 1});
}

void CheckUnknownNames(ClientRun& run) {
  const auto linked = run->SetBufferToActiveKernelSameId("unknown"_iid);
  if (run.IsGpu())
    CONFORMANCE_FAILS(run, kIllegalStateError, "no active kernel set", linked);
  else
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "", linked);
}

void CheckCopiedKernels(ClientRun& run) {
  run.AddKernel("one"_iid, kSaxpyKernel);
  run.Store<Float32>("x"_iid, {1});
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("x"_iid));
  CONFORMANCE_OK(run, run->CopyKernel("one"_iid, "two"_iid, true));
  CONFORMANCE_HOLDS(run, run->GetActiveKernelId() == (run.IsGpu() ? "two"_iid : "one"_iid));
  const auto name = String::Create(kSaxpyKernel);
  CONFORMANCE_OK(run, name);
  CONFORMANCE_HOLDS(run, run->GetProgramCount(*name) == (run.IsGpu() ? 2 : 1));
  run->SetActiveKernel("two"_iid);
  CONFORMANCE_HOLDS(run, run->GetKernelBufferLink("x"_iid).IsOk() != run.IsGpu());
}

void CheckReset(ClientRun& run) {
  CONFORMANCE_OK(run, run->Reset());
  const Result<void> stored = run->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 1);
  CONFORMANCE_HOLDS(run, stored.IsOk() != run.IsGpu());
  CONFORMANCE_OK(run, run->Init(run.GetKernels(), nullptr, 0, true));
  CONFORMANCE_OK(run, run->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 1));
}

// One row of texels of a noise.
void PrepareNoise(ClientRun& run) {
  run.AddKernel("noise"_iid, "net.ostra.kernels.noise.krn");
  run.Store("target"_iid, std::vector<Vec4<Float32>>(16));
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("target"_iid));
  CONFORMANCE_OK(run, run->SetUniform("width"_iid, Int32(16)));
  CONFORMANCE_OK(run, run->SetUniform("height"_iid, Int32(1)));
  CONFORMANCE_OK(run, run->SetUniform("cells"_iid, Float32(5)));
  CONFORMANCE_OK(run, run->SetUniform("time"_iid, Float32(0)));
  CONFORMANCE_OK(run, run->SetUniform("noiseMode_0"_iid, Int32(1)));
}

void CheckMissingSeed(ClientRun& run) {
  PrepareNoise(run);
  const Result<void> updated = run->UpdateUniforms();
  if (!run.IsGpu()) {
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "", updated);
    return;
  }
  CONFORMANCE_OK(run, updated);
  CONFORMANCE_OK(run, run->DispatchKernel(16, 1, 1, false));
  const Floats without = run.Read<Float32>("target"_iid);
  CONFORMANCE_OK(run, run->SetUniform("noiseSeed_0"_iid, Int32(42)));
  CONFORMANCE_OK(run, run->UpdateUniforms());
  CONFORMANCE_OK(run, run->DispatchKernel(16, 1, 1, false));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("target"_iid) == without);
}

void CheckGradient(ClientRun& run) {
  auto gradient = CreateObject<GradientInterface>(kGradientClass);
  CONFORMANCE_OK(run, gradient);
  CONFORMANCE_OK(run, (*gradient)->InsertKnot({.color = Vector32(0.75f, 0.5f, 0.25f)}));
  auto ramp = (*gradient)->InitRender();
  CONFORMANCE_OK(run, ramp);
  run.AddKernel("gradient"_iid, "net.ostra.parity.gradient.krn");
  run.Store<Float32>("reds"_iid, {9});
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("reds"_iid));
  CONFORMANCE_OK(run, run->SetUniform("ramp"_iid, std::move(*ramp)));
  CONFORMANCE_OK(run, run->UpdateUniforms());
  CONFORMANCE_OK(run, run->DispatchKernel(1, 1, 1, false));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("reds"_iid) == Floats{run.IsGpu() ? 0.0f : 0.75f});
}

constexpr Difference kDifferences[] = {
    {"extents of 0 in `DispatchKernel`", "raised to one work group", "nothing is dispatched", &CheckZeroExtents,
     "ZeroExtents"},
    {"extents of 0 in y and z", "three-dimensional: whole work groups", "as 1", &CheckExtentsOfZeroBehindX,
     "ZeroExtentsBehindX"},
    {"`DispatchKernel(n, 1, 1)`", "n invocations", "whole work groups", &CheckPartialGroups, "PartialGroups"},
    {"indirect counts below 1", "1", "whatever the device does", &CheckIndirectCounts, "IndirectCounts"},
    {"unknown buffer of an indirect dispatch", "\"buffer for update could not be found\"",
     "\"trying to dispatch indirect from unknown buffer\"", &CheckUnknownArguments, "UnknownArguments"},
    {"links after a buffer was stored again", "the old buffer",
     "the new one, for a parameter that is linked to the buffer of its own name; swapped and explicit links hold",
     &CheckStoredAgain, "StoredAgain"},
    {"a parameter without link", "nothing", "the program's buffer or texture of that name", &CheckMissingLink,
     "MissingLink"},
    {"unknown names in links", "reported first", "after a missing active kernel", &CheckUnknownNames, "UnknownNames"},
    {"`CopyKernel`", "copies links and values, the active kernel stays, not counted",
     "a fresh kernel of the same file, which is active and counted", &CheckCopiedKernels, "CopiedKernels"},
    {"`Reset`", "usable at once", "needs `Init`", &CheckReset, "Reset"},
    {"a missing `noiseSeed_N`", "an error", "42", &CheckMissingSeed, "MissingSeed"},
    {"a gradient", "read", "black", &CheckGradient, "Gradient"},
};

}  // namespace

std::span<const Difference> GetDispatchDifferences() { return kDifferences; }

std::vector<Difference> GetDifferences() {
  std::vector<Difference> all;
  for (const auto& some : {GetDispatchDifferences(), GetBufferDifferences(), GetTextureDifferences()})
    all.insert(all.end(), some.begin(), some.end());
  return all;
}

}  // namespace ostra::conformance
