// Devices that a layer of Vulkan pretends and that are lost in the middle of something: tests/pretended_device. Skipped
// without that layer.
#include <algorithm>

#include "ostra/drawport_vulkan/snapshot.h"
#include "tests/drawport_vulkan/internal_fixture.h"

using namespace ostra;
using namespace ostra::vulkan;

namespace {

constexpr Int kCount = Int(1) << 16;
constexpr Int kChain = 16;  // buffers of a chain

class PretendedFaultsTest : public DriverTest {
 protected:
  void SetUp() override {
    if (!std::getenv("OSTRA_PRETENDED_DEVICE")) GTEST_SKIP() << "No device is pretended.";
    DriverTest::SetUp();
  }
  void TearDown() override {
    for (const char* variable : {"OSTRA_PRETENDED_LOSS", "OSTRA_PRETENDED_HANG", "OSTRA_PRETENDED_BUDGET"})
      unsetenv(variable);
    SetDrawportTimeLimit(0);
    if (std::getenv("OSTRA_PRETENDED_DEVICE")) DriverTest::TearDown();
  }

  static Result<void> Upload(CommandList& list, BufferResource& buffer, UInt32 value) {
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           list.AllocStagingBuffer(buffer.GetSize(), DrawportStagingUse::BufferUpload));
    Result<Byte*> mapped =
        list.PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, buffer, 0, 0, buffer.GetSize());
    if (mapped) std::fill_n(reinterpret_cast<UInt32*>(*mapped), buffer.GetSize() / 4, value);
    Result<void> done = mapped ? list.UnmapBuffer(*staging, DrawportUnmapMode::Commit) : mapped.TakeError();
    list.ReleaseStagingBuffer(staging);
    return done;
  }
  static Result<void> ExpectFirst(CommandList& list, BufferResource& buffer, UInt32 value) {
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           list.AllocStagingBuffer(buffer.GetSize(), DrawportStagingUse::HostRead));
    const Result<Byte*> mapped = list.PrivateMapBuffer(*staging, DrawportMapMode::Read, buffer, 0, 0, buffer.GetSize());
    if (mapped) {
      EXPECT_EQ(reinterpret_cast<const UInt32*>(*mapped)[0], value);
    }
    list.ReleaseStagingBuffer(staging);
    return mapped ? Result<void>(OK) : Result<void>(Error(mapped.GetError()));
  }
  static Result<GpuComputeRef> MakeAdd(const DrawportContextRef& context, DrawportDeviceBuffer* buffer) {
    return MakeCompute(
        context,
        [](DrawportProgramDescription& program) -> Result<void> {
          constexpr DrawportStage kStage = DrawportStage::Compute;
          OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage, {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                           "data"_iid, DrawportBufferAccess::ReadWrite));
          OSTRA_RETURN_IF_ERROR(program.AddCode(kStage, kAppendCode, "UNIFORM_BUFFER(data)[0] += 1u;\n"_s));
          return program.SetComputeShaderProperties(1, 1, 1);
        },
        [buffer](DrawportProgramFactory& factory, DrawportParameterValueSet& values) {
          return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("data"_iid), buffer);
        });
  }

  static Result<GpuComputeRef> MakeStep(const DrawportContextRef& context, DrawportDeviceBuffer* source,
                                        DrawportDeviceBuffer* target) {
    return MakeCompute(
        context,
        [](DrawportProgramDescription& program) -> Result<void> {
          constexpr DrawportStage kStage = DrawportStage::Compute;
          OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage, {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                           "source"_iid, DrawportBufferAccess::ReadOnly));
          OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage, {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                           "target"_iid, DrawportBufferAccess::ReadWrite));
          OSTRA_RETURN_IF_ERROR(program.AddCode(
              kStage, kAppendCode,
              "uint i = InGlobalInvocationID.x; UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * 1664525u + i;\n"_s));
          return program.SetComputeShaderProperties(64, 1, 1);
        },
        [=](DrawportProgramFactory& factory, DrawportParameterValueSet& values) -> Result<void> {
          OSTRA_RETURN_IF_ERROR(
              factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("source"_iid), source));
          return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("target"_iid), target);
        });
  }

  static Bool IsPretended(std::string_view key) { return std::getenv("OSTRA_PRETENDED_DEVICE") == key; }

  // Whether buffers have somewhere else to go, and the device tells its budget.
  Bool HasHostMemoryAndBudget() {
    const DrawportContextRef context = Take(MakeContext());
    const Device& device = static_cast<Context&>(*context).GetDevice();
    const DriverRef driver = Take(Driver::Get());
    const auto& types = driver->GetSnapshot(device.GetIndex()).memoryTypes;
    return Take(HasDeviceExtension(device.GetPhysicalDevice(), VK_EXT_MEMORY_BUDGET_EXTENSION_NAME)) &&
           std::any_of(types.begin(), types.end(), [](const auto& type) { return !type.isDeviceLocal; });
  }

  // Bytes go up, two dispatches of one submission and one of another count, bytes come down.
  Result<void> Run(Int count = kCount) {
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
    CommandList& list = static_cast<Context&>(*context).GetCommands();
    OSTRA_ASSIGN_OR_RETURN(const BufferRef buffer,
                           BufferResource::Create(list.GetDevice(), 4 * count, MemoryUse::Device, true));
    OSTRA_RETURN_IF_ERROR(Upload(list, *buffer, 7));
    OSTRA_ASSIGN_OR_RETURN(const GpuComputeRef add, MakeAdd(context, buffer.GetPointer()));
    for (const Bool isSubmitted : {false, true, true}) {
      OSTRA_RETURN_IF_ERROR(add->Dispatch(1, 1, 1));
      OSTRA_RETURN_IF_ERROR(list.AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
      if (isSubmitted) OSTRA_RETURN_IF_ERROR(list.Execute(false));
    }
    OSTRA_RETURN_IF_ERROR(ExpectFirst(list, *buffer, 10));
    return context->GetDrawport()->GetDrawportCache()->FreeTrashCaches(*context);
  }

  // Each buffer is computed from the one before it; the last one is returned.
  std::vector<UInt32> RunChain() {
    const DrawportContextRef context = Take(MakeContext());
    CommandList& list = static_cast<Context&>(*context).GetCommands();
    std::vector<BufferRef> buffers;
    for (Int i = 0; i < kChain; ++i)
      buffers.push_back(Take(BufferResource::Create(list.GetDevice(), 4 * kCount, MemoryUse::Device, true)));
    Take(Upload(list, *buffers[0], 7));
    std::vector<GpuComputeRef> steps;
    for (std::size_t i = 1; i < buffers.size(); ++i) {
      steps.push_back(Take(MakeStep(context, buffers[i - 1].GetPointer(), buffers[i].GetPointer())));
      Take(steps.back()->Dispatch(kCount / 64, 1, 1));
      Take(list.AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    }
    std::vector<UInt32> result(kCount);
    DrawportStagingBuffer* staging = Take(list.AllocStagingBuffer(4 * kCount, DrawportStagingUse::HostRead));
    MemCopy(result.data(),
            Take(list.PrivateMapBuffer(*staging, DrawportMapMode::Read, *buffers.back(), 0, 0, 4 * kCount)),
            4 * kCount);
    list.ReleaseStagingBuffer(staging);
    return result;
  }
  static UInt32 ComputeChain(Int index) {
    UInt32 value = 7;
    for (Int i = 1; i < kChain; ++i) value = value * 1664525u + static_cast<UInt32>(index);
    return value;
  }

  // Whether the device was lost in call `n`.
  Bool RunAndLose(int n) {
    setenv("OSTRA_PRETENDED_LOSS", std::to_string(n).c_str(), 1);
    const Result<void> result = Run();
    unsetenv("OSTRA_PRETENDED_LOSS");
    if (result) return false;
    EXPECT_THAT(result, IsErrorContaining(kIllegalStateError, "The GPU device is lost."));
    return true;
  }
};

TEST_F(PretendedFaultsTest, ALossInAnyCallIsAnErrorLeavesNothingBehindAndANewProgramWorks) {
  for (const Bool isDirect : {true, false}) {
    SetDrawportDirectMapping(isDirect);
    ASSERT_THAT(Run(), IsOk());  // names, and what is kept on disk
    const Int liveBefore = AllocationFaults::GetLiveCount();
    for (int n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << "lost in call " << n << (isDirect ? "" : ", through staging memory"));
      ASSERT_LT(n, 200);
      const Bool isLost = RunAndLose(n);
      EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
      if (HasFailure()) return;
      if (isLost) continue;
      EXPECT_GT(n, 5);
      break;
    }
    EXPECT_THAT(Run(), IsOk());
  }
}

// The layer says where, on devices that do: see PretendedDevice::hasDeviceFault.
TEST_F(PretendedFaultsTest, ADeviceThatSaysWhereItWasLostIsQuoted) {
  if (!IsPretended("discrete")) GTEST_SKIP() << "Only the pretended device \"discrete\" says where it was lost.";
  constexpr std::string_view kWhere = "The driver says: pretended fault; invalid write at 0x12345000 to 0x12345fff.";
  int quotedCount = 0;
  for (int n = 1; n <= 6; ++n) {
    const DiagnosticRecorder told;
    setenv("OSTRA_PRETENDED_LOSS", std::to_string(n).c_str(), 1);
    const Result<void> result = Run();
    ASSERT_THAT(result, IsErrorContaining(kIllegalStateError, "The GPU device is lost.")) << n;
    quotedCount += result.GetError().GetMessage().GetView().ends_with(kWhere);
    EXPECT_THAT(told.GetLines(), testing::Contains(testing::HasSubstr(kWhere)).Times(1)) << n;
  }
  EXPECT_GT(quotedCount, 0);  // the error of the submission or wait itself
}

// Each hung device stays until the process ends, so there are few.
TEST_F(PretendedFaultsTest, WorkThatNeverEndsIsAnErrorWithinTheTimeLimitAndANewProgramWorks) {
  ASSERT_THAT(Run(), IsOk());
  for (const char* submission : {"1", "2"}) {
    const DiagnosticRecorder told;
    SetDrawportTimeLimit(0.02);
    setenv("OSTRA_PRETENDED_HANG", submission, 1);
    EXPECT_THAT(Run(), IsErrorContaining(kIllegalStateError,
                                         "The GPU device is lost. Its work did not end within 0.02 seconds"));
    EXPECT_THAT(told.GetLines(),
                testing::Contains(testing::HasSubstr("\" is lost. Its work did not end within 0.02 seconds")).Times(1));
    unsetenv("OSTRA_PRETENDED_HANG");
    SetDrawportTimeLimit(0);
    EXPECT_THAT(Run(), IsOk());
  }
}

TEST_F(PretendedFaultsTest, WorkThatNeverEndsIsToldWhenAContextIsDestroyed) {
  const DiagnosticRecorder told;
  setenv("OSTRA_PRETENDED_HANG", "1", 1);
  {
    const DrawportContextRef context = Take(MakeContext());
    Recorder& recorder = static_cast<Context&>(*context).GetCommands().GetRecorder();
    Take(recorder.BeginBatch());
    Take(recorder.Submit());
    SetDrawportTimeLimit(0.02);
  }
  EXPECT_THAT(told.GetLines(), testing::Contains(testing::HasSubstr("Its work did not end within 0.02 seconds")));
}

TEST_F(PretendedFaultsTest, ATimeLimitThatIsNoTimeIsRefused) {
  for (const char* limit : {"", "soon", "-1", "0", "nan", "1e9", "2s"}) {
    setenv("OSTRA_GPU_TIME_LIMIT", limit, 1);
    EXPECT_THAT(MakeContext(), IsErrorContaining(kIllegalArgumentError, "OSTRA_GPU_TIME_LIMIT is")) << limit;
  }
  setenv("OSTRA_GPU_TIME_LIMIT", "off", 1);
  EXPECT_THAT(MakeContext(), IsOk());
  unsetenv("OSTRA_GPU_TIME_LIMIT");
}

// Other programs use all memory of the device.
TEST_F(PretendedFaultsTest, BuffersMoveToTheHostWhenTheBudgetShrinksToNothing) {
  ASSERT_THAT(Run(), IsOk());
  const Bool hasHostMemory = HasHostMemoryAndBudget();
  if (IsPretended("discrete")) {
    EXPECT_TRUE(hasHostMemory);
  }
  const DiagnosticRecorder told;
  setenv("OSTRA_PRETENDED_BUDGET", "1", 1);  // MiB, half of what the buffer needs
  EXPECT_THAT(Run(Int(1) << 19), IsOk());
  EXPECT_THAT(told.GetLines(),
              testing::Contains(testing::HasSubstr("is full: a piece of 2097152 bytes lies in memory of the host"))
                  .Times(hasHostMemory ? 1 : 0));
}

TEST_F(PretendedFaultsTest, AChainOverMoreBuffersThanTheBudgetHoldsGivesTheSameBits) {
  const std::vector<UInt32> expected = RunChain();
  EXPECT_EQ(expected[5], ComputeChain(5));
  EXPECT_EQ(expected.back(), ComputeChain(kCount - 1));
  const DiagnosticRecorder told;
  setenv("OSTRA_PRETENDED_BUDGET", "1", 1);  // MiB, for buffers of 4 MiB in all
  EXPECT_EQ(RunChain(), expected);
  EXPECT_THAT(
      told.GetLines(),
      testing::Contains(testing::HasSubstr("lies in memory of the host")).Times(HasHostMemoryAndBudget() ? 1 : 0));
}

}  // namespace
