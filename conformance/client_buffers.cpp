// Buffers: storing, reading, updating, resizing, copying, and the links to them.
#include "conformance/client_scenarios.h"

namespace ostra::conformance {
namespace {

using Words = std::vector<UInt32>;

void StoredElementsAreReadBackWholeAndInParts(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1, 2, 3, 4});
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2, 3, 4});
  CONFORMANCE_HOLDS(run, run.GetElements<Float32>(run->GetGlobalBufferData("a"_iid, 1, 3)) == Floats{2, 3, 4});
  CONFORMANCE_HOLDS(run, run.GetElements<Float32>(run->GetGlobalBufferData("a"_iid, 2, -1)) == Floats{1, 2, 3, 4});
  constexpr std::string_view kOutside = "Requested data range is out of bounds";
  CONFORMANCE_FAILS(run, kIllegalArgumentError, kOutside, run->GetGlobalBufferData("a"_iid, 1, 4));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, kOutside, run->GetGlobalBufferData("a"_iid, -1, 2));
}

void LargeBuffersKeepEveryByte(ClientRun& run) {
  Words values(9'000'001);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<UInt32>(i * 2654435761u);
  run.Store("a"_iid, values);
  CONFORMANCE_HOLDS(run, run.Read<UInt32>("a"_iid) == values);
  const Words part(values.begin() + 5'000'000, values.begin() + 5'000'010);
  CONFORMANCE_HOLDS(run, run.GetElements<UInt32>(run->GetGlobalBufferData("a"_iid, 5'000'000, 10)) == part);
}

void VectorsOfThreeLieTightlyPacked(ClientRun& run) {
  run.Store<Vec3<Float32>>("a"_iid, {{1, 2, 3}, {4, 5, 6}});
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2, 3, 4, 5, 6});
}

void CreatedBuffersHoldZerosAlsoTheSecondTime(ClientRun& run) {
  CONFORMANCE_OK(run, run->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 3));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{0, 0, 0});
  CONFORMANCE_OK(run, run->UpdateUniformBufferData("a"_iid, 1, ClientRun::MakeArray<Float32>({7, 8})));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{0, 7, 8});
  CONFORMANCE_OK(run, run->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 3));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{0, 0, 0});
}

void StoringTheSameBytesAgainUndoesWhatAKernelWrote(ClientRun& run) {
  LinkSaxpy(run, {1, 2}, {3, 4});
  RunSaxpy(run, 1, 2);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{4, 6});
  run.Store<Float32>("y"_iid, {3, 4});
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{3, 4});
}

void UpdatesBeyondTheEndAreRefused(ClientRun& run) {
  constexpr std::string_view kTooLong = "Data update does not fit into existing buffer";
  run.Store<Float32>("a"_iid, {1, 2, 3});
  CONFORMANCE_FAILS(run, kIllegalArgumentError, kTooLong,
                    run->UpdateUniformBufferData("a"_iid, 2, ClientRun::MakeArray<Float32>({1, 2})));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, kTooLong,
                    run->UpdateUniformBufferData("a"_iid, -1, ClientRun::MakeArray<Float32>({1})));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2, 3});
}

void AGrownBufferKeepsItsElementsAndAddsZeros(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1, 2, 3});
  CONFORMANCE_OK(run, run->ResizeUniformBuffer("a"_iid, 5, false));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2, 3, 0, 0});
  CONFORMANCE_OK(run, run->ResizeUniformBuffer("a"_iid, 2, true));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2});
}

void ElementsAreCopiedBetweenBuffers(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1, 2, 3, 4});
  run.Store<Float32>("b"_iid, {9, 9, 9});
  run.Store<Int32>("c"_iid, {1});
  CONFORMANCE_OK(run, run->CopyBufferData("a"_iid, "b"_iid, 2, 1, 1));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("b"_iid) == Floats{9, 2, 3});
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "Buffers have mismatching data types",
                    run->CopyBufferData("a"_iid, "c"_iid, 1, 0, 0));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "count and offset out of range for source buffer",
                    run->CopyBufferData("a"_iid, "b"_iid, 2, 3, 0));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "count and offset out of range for target buffer",
                    run->CopyBufferData("a"_iid, "b"_iid, 2, 0, 2));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "target buffer could not be found",
                    run->CopyBufferData("a"_iid, "x"_iid, 1, 0, 0));
  CONFORMANCE_OK(run, run->CopyBufferDataBytes("a"_iid, "c"_iid, 4, 8, 0));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("c"_iid) == Floats{3});
}

void SwappedLinksHold(ClientRun& run) {
  LinkSaxpy(run, {1, 2}, {10, 20});
  RunSaxpy(run, 1, 2);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{11, 22});
  CONFORMANCE_OK(run, run->SwapBuffers("x"_iid, "y"_iid));
  RunSaxpy(run, 1, 2);  // x = y + x
  CONFORMANCE_HOLDS(run, run.Read<Float32>("x"_iid) == Floats{12, 24});
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{11, 22});
  CONFORMANCE_HOLDS(run, run.GetElements<Float32>(run->GetKernelBufferData("y"_iid)) == Floats{12, 24});
  CONFORMANCE_OK(run, run->SwapBuffers("x"_iid, "y"_iid));
  RunSaxpy(run, 1, 2);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("y"_iid) == Floats{23, 46});
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "buffer one could not be found", run->SwapBuffers("z"_iid, "y"_iid));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "buffer two could not be found", run->SwapBuffers("x"_iid, "z"_iid));
}

void BuffersAreLinkedUnderOtherNames(ClientRun& run) {
  run.AddKernel("saxpy"_iid, kSaxpyKernel);
  run.Store<Float32>("values"_iid, {1, 2});
  run.Store<Float32>("sums"_iid, {10, 20});
  CONFORMANCE_OK(run, run->SetBufferToActiveKernel("values"_iid, "x"_iid));
  const auto link = run->GetGlobalBufferLink("sums"_iid);
  CONFORMANCE_OK(run, link);
  CONFORMANCE_OK(run, run->SetKernelBufferLink("y"_iid, *link));
  RunSaxpy(run, 3, 2);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("sums"_iid) == Floats{13, 26});
  CONFORMANCE_OK(run, run->SetGlobalBufferLink("other"_iid, *link));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("other"_iid) == Floats{13, 26});
}

void DeletedBuffersAreUnknown(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1});
  CONFORMANCE_OK(run, run->DeleteUniformBuffer("a"_iid));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "buffer identifier not found", run->GetGlobalBufferData("a"_iid));
  CONFORMANCE_OK(run, run->DeleteUniformBuffer("a"_iid));
}

void CountersStartAtZeroAndAreSet(ClientRun& run) {
  const auto counts = [&run](UInt32 expected) {
    const auto value = run->GetAtomicCounter("c"_iid);
    return value && *value == expected;
  };
  CONFORMANCE_OK(run, run->AddAtomicCounter("c"_iid, UInt32(9)));
  CONFORMANCE_HOLDS(run, counts(0));
  CONFORMANCE_OK(run, run->SetAtomicCounter("c"_iid, 41));
  CONFORMANCE_HOLDS(run, counts(41));
  CONFORMANCE_OK(run, run->AddAtomicCounter("c"_iid, UInt32(0)));
  CONFORMANCE_HOLDS(run, counts(0));
}

constexpr ClientScenario kScenarios[] = {
    {"StoredElementsAreReadBackWholeAndInParts", &StoredElementsAreReadBackWholeAndInParts},
    {"LargeBuffersKeepEveryByte", &LargeBuffersKeepEveryByte},
    {"VectorsOfThreeLieTightlyPacked", &VectorsOfThreeLieTightlyPacked},
    {"CreatedBuffersHoldZerosAlsoTheSecondTime", &CreatedBuffersHoldZerosAlsoTheSecondTime},
    {"StoringTheSameBytesAgainUndoesWhatAKernelWrote", &StoringTheSameBytesAgainUndoesWhatAKernelWrote},
    {"UpdatesBeyondTheEndAreRefused", &UpdatesBeyondTheEndAreRefused},
    {"AGrownBufferKeepsItsElementsAndAddsZeros", &AGrownBufferKeepsItsElementsAndAddsZeros},
    {"ElementsAreCopiedBetweenBuffers", &ElementsAreCopiedBetweenBuffers},
    {"SwappedLinksHold", &SwappedLinksHold},
    {"BuffersAreLinkedUnderOtherNames", &BuffersAreLinkedUnderOtherNames},
    {"DeletedBuffersAreUnknown", &DeletedBuffersAreUnknown},
    {"CountersStartAtZeroAndAreSet", &CountersStartAtZeroAndAreSet},
};

}  // namespace

std::span<const ClientScenario> GetBufferScenarios() { return kScenarios; }

}  // namespace ostra::conformance
