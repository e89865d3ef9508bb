// What kernels print and assert, as clients in C++ get it: the same from both programs.
#include "gpu_reports_test_kernels.h"
#include "ostra/object/class.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_report_interface.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

using testing::HasSubstr;

constexpr UInt32 kCount = 600;

class ReportsTest : public testing::TestWithParam<Id> {
 protected:
  static void SetUpTestSuite() {
    auto registry = ClassRegistry::Find(kKernelClassRegistry);
    ASSERT_THAT(registry, IsOk());
    for (const auto& kernel : GetKernels_gpu_reports_test()) {
      const auto kernelClass = kernel.create();
      ASSERT_THAT(kernelClass, IsOk());
      ASSERT_THAT(registry->Insert(*kernelClass), IsOk());
    }
  }
  void SetUp() override {
    if (GetParam() == kGpuProgramClass && !HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
    program = MakeProgram(GetParam());
    ASSERT_TRUE(program);
    reports = FindInterface<KernelReportInterface>(*program);
    ASSERT_TRUE(reports);
  }
  void Prepare(Float32 limit = 1e9f) {
    const auto file = Url::Create(OSTRA_TEST_KERNELS "/net.example.report.krn");
    ASSERT_THAT(program->AddKernel("report"_iid, *file, true), IsOk());
    std::vector<Float32> values(kCount);
    for (UInt32 i = 0; i < kCount; ++i) values[i] = static_cast<Float32>(i);
    StoreBuffer<Float32>(*program, "source"_iid, values);
    StoreBuffer<Float32>(*program, "target"_iid, std::vector<Float32>(kCount));
    for (const InternedId& id : {"source"_iid, "target"_iid})
      ASSERT_THAT(program->SetBufferToActiveKernelSameId(id), IsOk());
    ASSERT_THAT(program->SetUniform("count"_iid, kCount), IsOk());
    ASSERT_THAT(program->SetUniform("scale"_iid, 1.0f), IsOk());
    ASSERT_THAT(program->SetUniform("limit"_iid, limit), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
  }
  KernelPrints Take() {
    auto taken = reports->TakePrints();
    EXPECT_THAT(taken, IsOk());
    return std::move(*taken);
  }

  ParallelProgramRef program;
  KernelReportInterface* reports = nullptr;
};

TEST_P(ReportsTest, PrintsComeInTheOrderOfInvocations) {
  Prepare();
  ASSERT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
  const KernelPrints taken = Take();
  EXPECT_EQ(taken.lostCount, 0);
  // Invocation 0 prints four lines, others one more.
  ASSERT_EQ(taken.prints.GetCount(), 5 * Int{kCount} - 1);
  UInt32 last = 0;
  for (const KernelPrint& print : taken.prints) {
    EXPECT_GE(print.invocation.x, last);
    last = print.invocation.x;
    EXPECT_EQ(print.kernel, "report"_iid);
  }
  const KernelPrint& first = taken.prints[4];
  EXPECT_EQ(first.text, "i = 1, x = 1, 100%");
  EXPECT_EQ(first.line, 21);
  EXPECT_EQ(first.dimensions, 1);
  EXPECT_THAT(std::string(first.file.GetView()), HasSubstr("net.example.report.krn"));
  EXPECT_EQ(Take().prints.GetCount(), 0);
  EXPECT_EQ(ReadBuffer<Float32>(*program, "target"_iid)[5], 10.0f);
}

TEST_P(ReportsTest, DispatchesAddUpAndLostPrintsAreCounted) {
  Prepare();
  ASSERT_THAT(program->DispatchKernel(3, 1, 1, false), IsOk());
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  const Bool isWhole = GetParam() == kGpuProgramClass;  // whole work groups run there
  const Int expected = isWhole ? 2 * (5 * 256 - 1) : 14 + 9;
  EXPECT_EQ(Take().prints.GetCount(), expected);
  ASSERT_THAT(reports->SetPrintRoom(100), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_FALSE(reports->SetPrintRoom(-1));
  EXPECT_FALSE(reports->SetPrintRoom(Int{1} << 40));
}

TEST_P(ReportsTest, TheSmallestInvocationThatFailsIsTheError) {
  Prepare(333.5f);
  const auto dispatched = program->DispatchKernel(kCount, 1, 1, false);
  ASSERT_THAT(dispatched, IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(std::string(dispatched.GetError().GetMessage().GetView()),
              HasSubstr("report.krn:26:2: error: the ASSERT does not hold: x is \"small\", in invocation 334"));
  EXPECT_GT(Take().prints.GetCount(), 100);
  // The next dispatch starts anew.
  ASSERT_THAT(program->SetUniform("limit"_iid, 1e9f), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
}

TEST_P(ReportsTest, KernelsMayBeBuiltWithoutReports) {
  const Bool isGpu = GetParam() == kGpuProgramClass;
  if (!isGpu) {
    EXPECT_FALSE(reports->SetReportOptions({.hasReports = false}));
    return;
  }
  ASSERT_THAT(reports->SetReportOptions({.hasReports = false}), IsOk());
  Prepare(0.0f);
  EXPECT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
  EXPECT_EQ(Take().prints.GetCount(), 0);
  EXPECT_EQ(ReadBuffer<Float32>(*program, "target"_iid)[5], 10.0f);
  // Another form of the same file beside it.
  ASSERT_THAT(reports->SetReportOptions({}), IsOk());
  const auto file = Url::Create(OSTRA_TEST_KERNELS "/net.example.report.krn");
  ASSERT_THAT(program->AddKernel("again"_iid, *file, true), IsOk());
  EXPECT_FALSE(program->DispatchKernel(kCount, 1, 1, false)) << "it has not been updated";
}

INSTANTIATE_TEST_SUITE_P(Programs, ReportsTest, testing::Values(kCpuProgramClass, kGpuProgramClass),
                         [](const auto& tested) { return tested.param == kCpuProgramClass ? "Cpu" : "Gpu"; });

}  // namespace
}  // namespace ostra::test
