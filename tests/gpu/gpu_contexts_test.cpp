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
  EXPECT_THAT(TakeCalls(), ElementsAre("program net.ostra.kernel.copy", "execute 0"));
  ASSERT_THAT(program->UpdateDrawportContext(other), IsOk());
  ASSERT_THAT(program->UpdateDrawportContext(DrawportContextRef()), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(GpuContextsTest, AnOwnContextOfTheFirstDeviceIsReplacedWhenTheCallerHadOne) {
  ASSERT_THAT(program->Init(Url(), &context, 0, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("context 1 0", "program net.ostra.kernel.copy"));
  ASSERT_THAT(program->UpdateDrawportContext(device.MakeContext()), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program net.ostra.kernel.copy", "execute 0"));
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

}  // namespace
}  // namespace ostra::test
