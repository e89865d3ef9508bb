// What the driver's failures and losses lead to while work is recorded and replayed.
#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/drawport_vulkan/replaced_function.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::Contains;

namespace {

constexpr DrawportStage kStage = DrawportStage::Compute;

class RecordedFaultsTest : public DriverTest {
 protected:
  // A program that adds `step` to the first element of a buffer.
  struct Adder {
    DrawportContextRef context;
    DrawportVertexBufferItemRef item;
    DrawportDeviceBuffer* buffer = nullptr;
    DrawportProgramFactory* factory = nullptr;
    DrawportParameterValueSet* values = nullptr;
    GpuComputeRef compute;

    DrawportCommandList& GetList() const { return context->GetCommandList(); }
    Result<void> UpdateRecorded(UInt64 work, UInt32 step) const {
      const DrawportParameterHandle handle = factory->GetParameterHandle("step"_iid);
      OSTRA_RETURN_IF_ERROR(factory->SetParameterUInt(*values, handle, step));
      return GetList().UpdateRecordedParameter(work, *factory, *values, handle);
    }
    Result<UInt32> Read() const {
      OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                             context->GetDrawport()->GetDrawportCache()->AllocStagingBuffer(
                                 *context, {.bytes = 4, .use = DrawportStagingUse::HostRead}));
      UInt32 value = 0;
      auto mapped = GetList().PrivateMapBuffer(*staging, DrawportMapMode::Read, *buffer, 0, 0, 4);
      if (mapped) MemCopy(&value, *mapped, 4);
      GetList().ReleaseStagingBuffer(staging);
      if (!mapped) return mapped.TakeError();
      return value;
    }
  };

  Result<void> MakeAdder(Adder& adder) {
    OSTRA_ASSIGN_OR_RETURN(adder.context, MakeContext());
    OSTRA_ASSIGN_OR_RETURN(adder.item, adder.context->GetDrawport()->GetDrawportCache()->GetVertexbuffer({{1, 1, 1}}));
    OSTRA_ASSIGN_OR_RETURN(
        const auto fill, DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& vertexBuffer) -> Result<void> {
          OSTRA_ASSIGN_OR_RETURN(adder.buffer,
                                 vertexBuffer.AllocSubBuffer(*adder.context, DrawportSubBufferUse::General, 64, 16));
          return OK;
        }));
    OSTRA_RETURN_IF_ERROR(adder.item->MakeValid(*adder.context, fill));
    OSTRA_ASSIGN_OR_RETURN(
        adder.compute,
        MakeCompute(
            adder.context,
            [](DrawportProgramDescription& program) -> Result<void> {
              OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(kStage, DrawportShaderValueType::UInt, "step"_iid));
              OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage,
                                                               {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                               "data"_iid, DrawportBufferAccess::ReadWrite));
              OSTRA_RETURN_IF_ERROR(
                  program.AddCode(kStage, kAppendCode, "UNIFORM_BUFFER(data)[0] += UNIFORM(step);\n"_s));
              return program.SetComputeShaderProperties(1, 1, 1);
            },
            [&adder](DrawportProgramFactory& factory, DrawportParameterValueSet& values) -> Result<void> {
              adder.factory = &factory;
              adder.values = &values;
              OSTRA_RETURN_IF_ERROR(factory.SetParameterUInt(values, factory.GetParameterHandle("step"_iid), 1));
              return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("data"_iid), adder.buffer);
            }));
    return OK;
  }
  static Result<UInt64> Record(const Adder& adder, int count) {
    OSTRA_RETURN_IF_ERROR(adder.GetList().BeginRecordedWork());
    for (int i = 0; i < count; ++i) {
      OSTRA_RETURN_IF_ERROR(adder.GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
      OSTRA_RETURN_IF_ERROR(adder.compute->Dispatch(1, 1, 1));
    }
    return adder.GetList().EndRecordedWork();
  }

  Result<void> RunReplays() {
    Adder adder;
    OSTRA_RETURN_IF_ERROR(MakeAdder(adder));
    OSTRA_ASSIGN_OR_RETURN(const UInt64 work, Record(adder, 3));
    OSTRA_RETURN_IF_ERROR(adder.GetList().ReplayWork(work));
    OSTRA_RETURN_IF_ERROR(adder.GetList().Execute(false));
    OSTRA_RETURN_IF_ERROR(adder.UpdateRecorded(work, 10));
    OSTRA_RETURN_IF_ERROR(adder.GetList().ReplayWork(work));
    OSTRA_ASSIGN_OR_RETURN(const UInt32 first, adder.Read());
    EXPECT_EQ(first, 33u);
    OSTRA_RETURN_IF_ERROR(adder.UpdateRecorded(work, 100));
    OSTRA_RETURN_IF_ERROR(adder.GetList().ReplayWork(work));
    OSTRA_ASSIGN_OR_RETURN(const UInt32 second, adder.Read());
    EXPECT_EQ(second, 333u);
    adder.GetList().ReleaseRecordedWork(work);
    return adder.context->GetDrawport()->GetDrawportCache()->FreeTrashCaches(*adder.context);
  }
};

TEST_F(RecordedFaultsTest, AFailureOfAnyCallIsAnErrorAndLeavesNothingBehind) {
  for (const Bool isDirect : {true, false})
    FailEveryCall(VK_ERROR_OUT_OF_DEVICE_MEMORY, isDirect, [this] { return RunReplays(); });
  for (const char* call : {"vkCreateCommandPool", "vkAllocateCommandBuffers", "vkBeginCommandBuffer",
                           "vkEndCommandBuffer", "vkCreateDescriptorPool", "vkQueueSubmit"})
    EXPECT_THAT(failedCalls, Contains(call));
}

TEST_F(RecordedFaultsTest, ALossIsAnErrorAndTheNextDeviceWorks) {
  FailEveryCall(VK_ERROR_DEVICE_LOST, true, [this] { return RunReplays(); });
  EXPECT_THAT(RunReplays(), IsOk());
}

// Lets the next submission fail.
class FailingSubmit {
 public:
  explicit FailingSubmit(VkResult result) {
    g_submit = vkQueueSubmit;
    g_result = result;
    _replaced.emplace(vkQueueSubmit, &Submit);
  }

 private:
  static VKAPI_ATTR VkResult VKAPI_CALL Submit(VkQueue queue, uint32_t count, const VkSubmitInfo* infos,
                                               VkFence fence) {
    const VkResult result = std::exchange(g_result, VK_SUCCESS);
    return result == VK_SUCCESS ? g_submit(queue, count, infos, fence) : result;
  }
  static inline PFN_vkQueueSubmit g_submit = nullptr;
  static inline VkResult g_result = VK_SUCCESS;
  std::optional<ReplacedFunction<PFN_vkQueueSubmit>> _replaced;
};

TEST_F(RecordedFaultsTest, NothingIsRecordedOrReplayedOnALostDevice) {
  Adder adder;
  Take(MakeAdder(adder));
  const UInt64 work = Take(Record(adder, 1));
  Take(adder.GetList().ReplayWork(work));
  Take(adder.GetList().BeginRecordedWork());
  Take(adder.compute->Dispatch(1, 1, 1));
  const FailingSubmit failing(VK_ERROR_DEVICE_LOST);
  EXPECT_THAT(adder.GetList().Execute(true), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(adder.compute->Dispatch(1, 1, 1), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(adder.GetList().EndRecordedWork(), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(adder.GetList().BeginRecordedWork(), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(adder.GetList().ReplayWork(work), IsErrorOfKind(kIllegalStateError));
  adder.GetList().ReleaseRecordedWork(work);
}

TEST_F(RecordedFaultsTest, ValuesThatWereNotSubmittedComeWithTheNextReplay) {
  Adder adder;
  Take(MakeAdder(adder));
  const UInt64 work = Take(Record(adder, 2));
  Take(adder.GetList().ReplayWork(work));  // the values are copied while this is recorded
  Take(adder.UpdateRecorded(work, 50));
  Take(adder.GetList().ReplayWork(work));
  const FailingSubmit failing(VK_ERROR_OUT_OF_HOST_MEMORY);
  EXPECT_THAT(adder.GetList().Execute(true), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_EQ(Take(adder.Read()), 0u);
  Take(adder.GetList().ReplayWork(work));
  EXPECT_EQ(Take(adder.Read()), 100u);
}

}  // namespace
