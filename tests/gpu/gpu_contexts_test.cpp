// Where a GPU program's context comes from and when another one takes its place.
#include "ostra/drawport/selector_test.h"
#include "ostra/object/class.h"
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

class SupportedTest final : public Component<SupportedTest, DrawportSelectorTestInterface> {
 public:
  static constexpr const char* kComponentName = "SupportedTest";
  Bool IsSupported() const override { return true; }
};

// The recording layer as the backend that programs find for themselves.
class GpuContextsTest : public GpuCallsTest {
 protected:
  static constexpr Id kTestClass = "net.ostra.drawport.selectortestclass.directx"_id;
  static constexpr Id kCacheClass = "net.ostra.drawport.cache.directx"_id;

  void SetUp() override {
    GpuCallsTest::SetUp();
    RecordingCache::installed = &device;
    ASSERT_THAT(ClassRegistry::GetClasses().Insert(*Class::Create<SupportedTest>(kTestClass)), IsOk());
    ASSERT_THAT(ClassRegistry::GetClasses().Insert(*Class::Create<RecordingCache>(kCacheClass)), IsOk());
    program = *programClass->CreateObject<ParallelProgramInterface>();
  }
  void TearDown() override {
    program = nullptr;
    ClassRegistry::GetClasses().Erase(kTestClass);
    ClassRegistry::GetClasses().Erase(kCacheClass);
    RecordingCache::installed = nullptr;
    GpuCallsTest::TearDown();
  }
};

TEST_F(GpuContextsTest, AnotherContextTakesOverWhereThatIsAllowed) {
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  TakeCalls();
  const DrawportContextRef other = device.MakeContext();
  ASSERT_THAT(program->UpdateDrawportContext(other), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("execute 0", "program net.ostra.kernel.copy"));
  ASSERT_THAT(program->UpdateDrawportContext(other), IsOk());
  ASSERT_THAT(program->UpdateDrawportContext(DrawportContextRef()), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(GpuContextsTest, AnOwnContextOfTheFirstDeviceIsReplacedWhenTheCallerHadOne) {
  ASSERT_THAT(program->Init(Url(), &context, 0, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("context 1 0", "program net.ostra.kernel.copy"));
  ASSERT_THAT(program->UpdateDrawportContext(device.MakeContext()), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("execute 0", "program net.ostra.kernel.copy"));
}

TEST_F(GpuContextsTest, AnOwnContextOfAnotherDeviceStays) {
  ASSERT_THAT(program->Init(Url(), &context, 1, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("context 1 1", "program net.ostra.kernel.copy"));
  ASSERT_THAT(program->UpdateDrawportContext(device.MakeContext()), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(GpuContextsTest, AnOwnContextOfACallerWithoutOneStays) {
  ASSERT_THAT(program->Init(Url(), nullptr, 0, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("context 0 0", "program net.ostra.kernel.copy"));
  ASSERT_THAT(program->UpdateDrawportContext(device.MakeContext()), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(GpuContextsTest, TheBudgetIsThatOfTheOwnContextAfterItsReplacement) {
  ASSERT_THAT(program->Init(Url(), &context, 0, true), IsOk());
  device.budget = {1000, 4000};
  RecordingDevice otherDevice;
  otherDevice.budget = {5, 50};
  ASSERT_THAT(program->UpdateDrawportContext(otherDevice.MakeContext()), IsOk());
  Int64 available = 0, total = 0;
  EXPECT_TRUE(program->GetMemoryInformation(available, total));
  EXPECT_EQ(available, 5);
  EXPECT_EQ(total, 50);
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget(), std::make_pair(Int64{1000}, Int64{4000}));
  program = nullptr;  // before its devices
}

TEST_F(GpuContextsTest, AfterFurtherReplacementsTheBudgetIsStillThatOfTheOwnContext) {
  ASSERT_THAT(program->Init(Url(), &context, 0, true), IsOk());
  device.budget = {1000, 4000};
  RecordingDevice second, third;
  second.budget = {5, 50};
  third.budget = {6, 60};
  for (RecordingDevice* other : {&second, &third}) {
    ASSERT_THAT(program->UpdateDrawportContext(other->MakeContext()), IsOk());
    EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget(), std::make_pair(Int64{1000}, Int64{4000}));
  }
  program = nullptr;  // before its devices
}

TEST_F(GpuContextsTest, AContextThatCannotTakeOverLeavesTheOneBefore) {
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  device.budget = {1000, 4000};
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  ASSERT_THAT(Store("other"_iid, 3), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  RecordingDevice otherDevice;
  otherDevice.failing = "program";
  const DiagnosticRecorder diagnostics;
  const DrawportContextRef other = otherDevice.MakeContext();
  EXPECT_THAT(program->UpdateDrawportContext(other), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget(), std::make_pair(Int64{1000}, Int64{4000}));
  TakeCalls();
  otherDevice.TakeCalls();
  ASSERT_THAT(program->CopyBufferData("values"_iid, "other"_iid, 3, 0, 0), IsOk());
  ASSERT_THAT(program->DispatchKernel(8, 1, 1, false), IsOk());  // what was set holds
  EXPECT_THAT(TakeCalls(), testing::IsSupersetOf({"dispatch 1 1 1", "execute 1", "barrier 16384"}));
  EXPECT_THAT(otherDevice.TakeCalls(), ElementsAre());
  otherDevice.failing = "";
  ASSERT_THAT(program->UpdateDrawportContext(other), IsOk());
  ASSERT_THAT(program->AddMemoryBarrier(), IsOk());
  EXPECT_THAT(otherDevice.TakeCalls(), ElementsAre("program net.ostra.kernel.copy", "barrier 16384"));
  program = nullptr;  // before its devices
}

TEST_F(GpuContextsTest, RecordedWorkThatCannotBeSubmittedKeepsTheContext) {
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  RecordingDevice otherDevice;
  const DrawportContextRef other = otherDevice.MakeContext();
  device.failing = "execute";
  device.failingKind = kOutOfMemoryError;
  EXPECT_THAT(program->UpdateDrawportContext(other), IsErrorWith(kOutOfMemoryError, "made-up failure"));
  EXPECT_THAT(otherDevice.TakeCalls(), ElementsAre());
  TakeCalls();
  ASSERT_THAT(program->AddMemoryBarrier(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("barrier 16384"));
  // What a lost device had is lost, and another context is the way out of it.
  device.failingKind = kIllegalStateError;
  ASSERT_THAT(program->UpdateDrawportContext(other), IsOk());
  ASSERT_THAT(program->AddMemoryBarrier(), IsOk());
  EXPECT_EQ(otherDevice.TakeCalls().back(), "barrier 16384");
  program = nullptr;  // before its devices
}

TEST_F(GpuContextsTest, KernelsThatNobodyUsesAnyMoreKeepNoContext) {
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  const Int before = device.liveContexts;
  DrawportContextRef second = device.MakeContext();
  ASSERT_THAT(program->UpdateDrawportContext(second), IsOk());
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  AddKernel("unused"_iid, kKernel);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  second = nullptr;
  EXPECT_EQ(device.liveContexts, before + 1);
  ASSERT_THAT(program->UpdateDrawportContext(device.MakeContext()), IsOk());
  EXPECT_EQ(device.liveContexts, before + 1);  // that of the third one
  // It can be used again.
  const auto isOld =
      IsErrorWith(kIllegalStateError,
                  "The uniforms of the kernel \"unused\" have not been updated since the context was replaced.");
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), isOld);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsOk());
}

TEST_F(GpuContextsTest, EachWidthOfTexelsIsAskedForByItself) {
  using enum DrawportPixelFormatAccess;
  const auto widths = [&](DrawportPixelFormatAccess access16, DrawportPixelFormatAccess access8) {
    device.access["net.ostra.image.pixelformat.dynamic.redf16"] = access16;
    device.access["net.ostra.image.pixelformat.dynamic.redu8"] = access8;
    program = *programClass->CreateObject<ParallelProgramInterface>();
    EXPECT_THAT(program->Init(Url(), &context, 0, true), IsOk());
    Bool with16bit = true, with8bit = true;
    program->GetSupportReadWritePixelFormats(with16bit, with8bit);
    return std::make_pair(with16bit, with8bit);
  };
  EXPECT_EQ(widths(ShaderReadWrite, ShaderReadWrite), std::make_pair(true, true));
  EXPECT_EQ(widths(Sampled | Filtered | RenderTarget, ShaderReadWrite), std::make_pair(false, true));
  EXPECT_EQ(widths(ShaderReadWrite, Sampled), std::make_pair(true, false));
  EXPECT_EQ(widths(None, None), std::make_pair(false, false));
  EXPECT_EQ(widths(Sampled | ShaderReadWrite, Filtered | ShaderReadWrite), std::make_pair(true, true));
  g_32bitOnlyParallelProgram = true;
  EXPECT_EQ(widths(ShaderReadWrite, ShaderReadWrite), std::make_pair(false, false));
  // The contexts of clients are not asked.
  program = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  Bool with16bit = false, with8bit = false;
  program->GetSupportReadWritePixelFormats(with16bit, with8bit);
  EXPECT_TRUE(with16bit && with8bit);
}

TEST_F(GpuContextsTest, AResetKeepsTheWidthsOfTexels) {
  device.access["net.ostra.image.pixelformat.dynamic.redf16"] = DrawportPixelFormatAccess::None;
  ASSERT_THAT(program->Init(Url(), &context, 0, true), IsOk());
  ASSERT_THAT(program->Reset(), IsOk());
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  Bool with16bit = true, with8bit = false;
  program->GetSupportReadWritePixelFormats(with16bit, with8bit);
  EXPECT_FALSE(with16bit);
  EXPECT_TRUE(with8bit);
}

}  // namespace
}  // namespace ostra::test
