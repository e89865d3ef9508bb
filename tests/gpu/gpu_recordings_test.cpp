// Recorded dispatches: replays of both programs give what the same dispatches give.
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/cpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/program/recorded_dispatches_interface.h"
#include "parallelprogram/textures/texture_bind_data.h"
#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/gpu/recorded_kernels.h"
#include "tests/support/arrays.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

// With the CPU program, or else the GPU program on a context of its own.
class RecordingsTest : public vulkan::DriverTest, public testing::WithParamInterface<Bool> {
 protected:
  static Bool IsCpu() { return GetParam(); }
  void SetUp() override {
    Take(RegisterRecordedKernels());
    if (!IsCpu()) DriverTest::SetUp();
    if (IsSkipped()) return;
    _class = Take(IsCpu() ? CreateCpuProgramClass() : CreateGpuProgramClass());
    for (const auto& [name, text] :
         {std::pair{kAdvance, kAdvanceText}, std::pair{kTally, kTallyText}, std::pair{kPeek, kPeekText}})
      sources.Write(std::string(name.GetView()), text);
    program = MakeProgram();
    recordings = FindInterface<RecordedDispatchesInterface>(*program);
    ASSERT_TRUE(recordings);
    AddKernel("advance"_iid, kAdvance);
    for (const InternedId& id : {"source"_iid, "target"_iid}) {
      Store<UInt32>(id, {0, 0, 0, 0});
      ASSERT_THAT(program->SetBufferToActiveKernelSameId(id), IsOk());
    }
  }
  void TearDown() override {
    program = nullptr;
    _class = nullptr;
    EraseRecordedKernels();
    DriverTest::TearDown();
  }
  ParallelProgramRef MakeProgram() {
    ParallelProgramRef made = Take(_class->CreateObject<ParallelProgramInterface>());
    const DrawportContextRef context = IsCpu() ? DrawportContextRef() : Take(MakeContext());
    Take(made->Init(Url(), IsCpu() ? nullptr : &context, 0, false));
    return made;
  }
  void AddKernel(InternedId id, const Id& name) {
    ASSERT_THAT(program->AddKernel(id, sources.MakeUrl(name.GetView()), true), IsOk());
  }
  template <class T>
  void Store(InternedId id, const std::vector<T>& values) {
    ASSERT_THAT(program->StoreUniformBufferData(id, MakeArray(values)), IsOk());
  }
  // Adds `step`, and exchanges the buffers.
  void Advance(UInt32 step) {
    program->SetActiveKernel("advance"_iid);
    ASSERT_THAT(program->SetUniform("step"_iid, step), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(4, 1, 1, false), IsOk());
    ASSERT_THAT(program->SwapBuffers("source"_iid, "target"_iid), IsOk());
  }
  template <class Work>
  UInt64 Record(Work&& work) {
    EXPECT_THAT(recordings->BeginRecording(), IsOk());
    work();
    const auto number = recordings->EndRecording();
    EXPECT_THAT(number, IsOk());
    return number ? *number : 0;
  }
  std::vector<UInt32> Read(InternedId id) { return GetElements<UInt32>(program->GetGlobalBufferData(id)); }
  void ExpectReplays(UInt64 recording, Int times = 1) { EXPECT_THAT(recordings->Replay(recording, times), IsOk()); }
  void ExpectChanged(UInt64 recording, const char* part) {
    EXPECT_THAT(recordings->Replay(recording, 1), IsErrorContaining(kIllegalStateError, part));
  }

  ParallelProgramRef program;
  RecordedDispatchesInterface* recordings = nullptr;

  TemporaryFolder sources;

 private:
  ClassRef _class;
};

TEST_P(RecordingsTest, RunWhenTheyAreReplayedAndNotBefore) {
  const UInt64 recording = Record([&] {
    Advance(1);
    Advance(2);
  });
  EXPECT_THAT(Read("source"_iid), ElementsAre(0, 0, 0, 0));
  ExpectReplays(recording, 0);
  EXPECT_THAT(Read("source"_iid), ElementsAre(0, 0, 0, 0));
  ExpectReplays(recording);
  EXPECT_THAT(Read("source"_iid), ElementsAre(3, 6, 9, 12));
  ExpectReplays(recording, 5);
  EXPECT_THAT(Read("source"_iid), ElementsAre(18, 36, 54, 72));
  EXPECT_THAT(Read("target"_iid), ElementsAre(16, 32, 48, 64));
}

TEST_P(RecordingsTest, GiveWhatTheSameDispatchesGive) {
  for (UInt32 i = 0; i < 200; ++i) Advance(i % 7);
  const std::vector<UInt32> expected = Read("source"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("source"_iid, 0, MakeArray<UInt32>({0, 0, 0, 0})), IsOk());
  const UInt64 recording = Record([&] {
    for (UInt32 i = 0; i < 200; ++i) Advance(i % 7);
  });
  ExpectReplays(recording);
  EXPECT_EQ(Read("source"_iid), expected);
}

TEST_P(RecordingsTest, TakeNewValuesOfUniformsFromTheNextReplayOn) {
  const UInt64 recording = Record([&] {
    Advance(1);
    Advance(2);
  });
  UInt32 sum = 0;
  for (UInt32 step = 10; step < 30; ++step) {
    ASSERT_THAT(recordings->SetRecordedUniform(recording, "advance"_iid, "step"_iid, step), IsOk());
    ExpectReplays(recording);
    sum += 2 * step;
    ASSERT_THAT(program->Execute(step % 8 == 0), IsOk());
  }
  EXPECT_THAT(Read("source"_iid), ElementsAre(sum, 2 * sum, 3 * sum, 4 * sum));
}

TEST_P(RecordingsTest, LeaveWhatTheProgramIsDoingAlone) {
  const UInt64 recording = Record([&] {
    Advance(100);
    Advance(100);
  });
  ASSERT_THAT(program->SetUniform("step"_iid, UInt32(1)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(recordings->SetRecordedUniform(recording, "advance"_iid, "step"_iid, UInt32(200)), IsOk());
  ExpectReplays(recording);
  EXPECT_EQ(program->GetActiveKernelId(), "advance"_iid);
  ASSERT_THAT(program->DispatchKernel(4, 1, 1, false), IsOk());  // with what was updated before the replay
  EXPECT_THAT(Read("target"_iid), ElementsAre(401, 802, 1203, 1604));
}

TEST_P(RecordingsTest, CountAndSetCountersAtTheirPlace) {
  AddKernel("tally"_iid, kTally);
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  const UInt64 recording = Record([&] {
    ASSERT_THAT(program->SetAtomicCounter("hits"_iid, 10), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(3, 1, 1, false), IsOk());
    Advance(1);
  });
  EXPECT_EQ(*program->GetAtomicCounter("hits"_iid), 0u);
  ExpectReplays(recording, 3);
  EXPECT_EQ(*program->GetAtomicCounter("hits"_iid), 13u);
}

TEST_P(RecordingsTest, ReadCountsOfWorkGroupsWhenTheyAreReplayed) {
  AddKernel("tally"_iid, kTally);
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  using Counts = Vec4<Int32>;
  Store<Counts>("counts"_iid, {Counts(2, 1, 1, 0)});
  const UInt64 recording = Record([&] {
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchIndirectKernel("counts"_iid, 0, false), IsOk());
  });
  ExpectReplays(recording);
  EXPECT_EQ(*program->GetAtomicCounter("hits"_iid), 2u);
  ASSERT_THAT(program->UpdateUniformBufferData("counts"_iid, 0, MakeArray<Counts>({Counts(5, 2, 1, 0)})), IsOk());
  ExpectReplays(recording);
  EXPECT_EQ(*program->GetAtomicCounter("hits"_iid), 12u);
}

TEST_P(RecordingsTest, AreRefusedWhenABufferOfThemIsAnother) {
  const UInt64 recording = Record([&] {
    Advance(1);
    Advance(1);
  });
  Store<UInt32>("unrelated"_iid, {1});
  ExpectReplays(recording);
  ASSERT_THAT(program->ResizeUniformBuffer("target"_iid, 1000, true), IsOk());
  ExpectChanged(recording, "The buffer \"target\" was replaced, resized or deleted");
  ASSERT_THAT(program->ResizeUniformBuffer("target"_iid, 4, true), IsOk());
  const UInt64 again = Record([&] {
    Advance(1);
    Advance(1);
  });
  ExpectReplays(again);
  Store<UInt32>("target"_iid, std::vector<UInt32>(64));
  ExpectChanged(again, "The buffer \"target\" was replaced");
  ASSERT_THAT(program->DeleteUniformBuffer("target"_iid), IsOk());
  ExpectChanged(again, "The buffer \"target\" was replaced, resized or deleted");
}

TEST_P(RecordingsTest, AreRefusedWhenATextureOfThemIsAnother) {
  AddKernel("peek"_iid, kPeek);
  std::vector<Float32> texels = {1, 2, 3, 4};
  TextureBindData image;
  image._dimensions = Vec3<UInt32>(2, 2, 1);
  image._format = TextureFormat::F32;
  image._numChannels = 1;
  image._filter = TextureFilter::POINT;
  image._normalizedCoordinates = false;
  image._data = reinterpret_cast<const Byte*>(texels.data());
  image._dataSize = 16;
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, image, false), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  Store<Float32>("seen"_iid, {0});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("seen"_iid), IsOk());
  const UInt64 recording = Record([&] {
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  });
  ExpectReplays(recording);
  texels[3] = 10;
  ASSERT_THAT(program->UpdateTextureBindData("image"_iid, image), IsOk());
  ExpectReplays(recording, 2);
  EXPECT_THAT(GetElements<Float32>(program->GetGlobalBufferData("seen"_iid)), ElementsAre(24.0f));
  ASSERT_THAT(program->DeleteTexture("image"_iid, false), IsOk());
  ExpectChanged(recording, "The texture \"image\" was replaced or deleted");
}

// Those of the CPU program are part of the process.
TEST_P(RecordingsTest, AreRefusedWhenAKernelWasCompiledAgain) {
  const UInt64 recording = Record([&] {
    Advance(1);
    Advance(1);
  });
  std::string text = kAdvanceText;
  text.replace(text.find("(i + 1u)"), 8, "(i + 2u)");
  sources.Write(kAdvance.GetView(), text);
  const Bool reloadsBefore = std::exchange(g_reloadKernelsParallelProgram, true);
  program->ReloadKernels();
  g_reloadKernelsParallelProgram = reloadsBefore;
  if (IsCpu())
    ExpectReplays(recording);
  else
    ExpectChanged(recording, "The kernel \"advance\" was compiled again");
}

TEST_P(RecordingsTest, BeginAndEndOnceAndAreNotReplayedInsideOfOthers) {
  EXPECT_THAT(recordings->EndRecording(), IsErrorContaining(kIllegalStateError, "has to begin before it ends"));
  const UInt64 recording = Record([&] {
    Advance(1);
    EXPECT_THAT(recordings->BeginRecording(), IsErrorContaining(kIllegalStateError, "already"));
  });
  ASSERT_THAT(recordings->BeginRecording(), IsOk());
  ExpectChanged(recording, "cannot be replayed while");
  EXPECT_THAT(program->CopyBufferData("source"_iid, "target"_iid, 4, 0, 0),
              IsErrorContaining(kIllegalStateError, "cannot be copied while"));
  program->SetActiveKernel("advance"_iid);
  EXPECT_THAT(program->DispatchKernel(4, 1, 1, false),
              IsErrorContaining(kIllegalStateError, "have not been updated since the recording began"));
  ASSERT_THAT(recordings->EndRecording(), IsOk());
  ExpectReplays(recording);
  EXPECT_THAT(Read("target"_iid), ElementsAre(1, 2, 3, 4));
}

TEST_P(RecordingsTest, NameWhatTheyDoNotKnow) {
  const UInt64 recording = Record([&] { Advance(1); });
  EXPECT_THAT(recordings->Replay(recording + 1, 1), IsErrorContaining(kIllegalStateError, "has no recording"));
  EXPECT_THAT(recordings->Replay(recording, -1), IsErrorOfKind(kIllegalArgumentError));
  const auto set = [&](InternedId kernel, InternedId name, auto value) {
    return recordings->SetRecordedUniform(recording, kernel, name, value);
  };
  EXPECT_THAT(set("other"_iid, "step"_iid, UInt32(1)), IsErrorContaining(kIllegalArgumentError, "\"other\""));
  EXPECT_THAT(set("advance"_iid, "stop"_iid, UInt32(1)), IsErrorContaining(kIllegalArgumentError, "\"stop\""));
  EXPECT_THAT(set("advance"_iid, "step"_iid, 1.5f), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(set("advance"_iid, "source"_iid, UInt32(1)), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(set("advance"_iid, "noiseMode_0"_iid, Int32(1)), IsErrorContaining(kIllegalArgumentError, "noise"));
  EXPECT_THAT(recordings->ReleaseRecording(recording), IsOk());
  EXPECT_THAT(recordings->ReleaseRecording(recording), IsErrorOfKind(kIllegalStateError));
  ExpectChanged(recording, "has no recording");
}

TEST_P(RecordingsTest, EndWithAReset) {
  const UInt64 recording = Record([&] { Advance(1); });
  ASSERT_THAT(recordings->BeginRecording(), IsOk());
  Advance(1);
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_THAT(recordings->EndRecording(), IsErrorOfKind(kIllegalStateError));
  ExpectChanged(recording, "has no recording");
}

TEST_P(RecordingsTest, OfOneProgramAreUnknownToAnother) {
  Record([&] { Advance(1); });
  const UInt64 recording = Record([&] { Advance(1); });
  const ParallelProgramRef other = MakeProgram();
  EXPECT_THAT(FindInterface<RecordedDispatchesInterface>(*other)->Replay(recording, 1),
              IsErrorContaining(kIllegalStateError, "has no recording"));
}

INSTANTIATE_TEST_SUITE_P(Programs, RecordingsTest, testing::Values(true, false),
                         [](const auto& tested) { return std::string(tested.param ? "Cpu" : "Gpu"); });

}  // namespace
}  // namespace ostra::test
