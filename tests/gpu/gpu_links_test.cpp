// Which buffer a parameter of a kernel is given: the one that a client has linked, or the one of the parameter's name.
#include "parallelprogram/program/shader_data_entries.h"
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

constexpr const char* kTwoBuffers = R"(#define KERNELINPUTS \
(Block<Float32>) source, \
(Block<Float32>) target

GROUPSIZE(8, 1, 1)

OSTRA_PARALLEL_KERNEL(Two, KERNELINPUTS)
{
	UNIFORM_BUFFER(target)[0] = UNIFORM_BUFFER(source)[0];
}
OSTRA_PARALLEL_KERNEL_END
)";

class GpuLinksTest : public GpuCallsTest {
 protected:
  void SetUp() override {
    GpuCallsTest::SetUp();
    AddKernel("k"_iid, kTwoBuffers);
    ASSERT_THAT(Store("target"_iid, 100), IsOk());
  }
  // Updates, and returns the numbers of elements that the parameters were given.
  std::vector<std::string> Bind() {
    TakeCalls();
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    return TakeCalls();
  }
  // Has a name of the program stand for another of its buffers.
  Result<void> Alias(InternedId name, InternedId buffer) {
    OSTRA_ASSIGN_OR_RETURN(const Data link, program->GetGlobalBufferLink(buffer));
    return program->SetGlobalBufferLink(name, link);
  }
};

TEST_F(GpuLinksTest, AParameterWithoutLinkFollowsItsNameWhateverTheBufferWasCalledBefore) {
  ASSERT_THAT(Store("a"_iid, 3), IsOk());
  ASSERT_THAT(Store("b"_iid, 5), IsOk());
  ASSERT_THAT(Alias("source"_iid, "a"_iid), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  ASSERT_THAT(Alias("source"_iid, "b"_iid), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 20", "buffer target = 400"));
  ASSERT_THAT(Store("source"_iid, 7), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 28", "buffer target = 400"));
  ASSERT_THAT(Alias("source"_iid, "a"_iid), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  // What a name of the program stands for is seen through the link as well.
  const auto link = program->GetKernelBufferLink("source"_iid);
  ASSERT_THAT(link, IsOk());
  EXPECT_EQ(link->GetIf<DataBufferEntry>()->_deviceBuffer,
            program->GetGlobalBufferLink("a"_iid)->GetIf<DataBufferEntry>()->_deviceBuffer);
}

TEST_F(GpuLinksTest, ABufferOfAnotherProgramIsFollowedToo) {
  const ParallelProgramRef other = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(other->Init(Url(), &context, 0, false), IsOk());
  for (const Int count : {3, 5}) {
    ASSERT_THAT(other->CreateUniformBuffer("result"_iid, GetDataType<Float32>(), count), IsOk());
    ASSERT_THAT(program->SetGlobalBufferLink("source"_iid, *other->GetGlobalBufferLink("result"_iid)), IsOk());
    EXPECT_THAT(Bind(), testing::Contains(count == 3 ? "buffer source = 12" : "buffer source = 20"));
  }
}

TEST_F(GpuLinksTest, ALinkToAnotherBufferHolds) {
  ASSERT_THAT(Store("a"_iid, 3), IsOk());
  ASSERT_THAT(Store("source"_iid, 5), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("a"_iid, "source"_iid), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  ASSERT_THAT(Store("source"_iid, 6), IsOk());
  ASSERT_THAT(Store("a"_iid, 8), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  // A link to the buffer of its own name follows it.
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("source"_iid), IsOk());
  ASSERT_THAT(Store("source"_iid, 9), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 36", "buffer target = 400"));
}

TEST_F(GpuLinksTest, ExchangedLinksHold) {
  ASSERT_THAT(Store("source"_iid, 5), IsOk());
  const auto swap = [&] { return program->SwapBuffers("source"_iid, "target"_iid); };
  EXPECT_THAT(swap(), IsErrorWith(kIllegalArgumentError, "buffer one could not be found"));
  // Links that the update has made are there to be exchanged.
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 20", "buffer target = 400"));
  for (int round = 0; round < 3; ++round) {
    ASSERT_THAT(swap(), IsOk());
    EXPECT_THAT(Bind(), ElementsAre("buffer source = 400", "buffer target = 20"));
    ASSERT_THAT(swap(), IsOk());
    EXPECT_THAT(Bind(), ElementsAre("buffer source = 20", "buffer target = 400"));
  }
}

TEST_F(GpuLinksTest, ExchangedLinksToBuffersOfOtherNamesHold) {
  ASSERT_THAT(Store("a"_iid, 3), IsOk());
  ASSERT_THAT(Alias("source"_iid, "a"_iid), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  for (int round = 0; round < 3; ++round) {
    ASSERT_THAT(program->SwapBuffers("source"_iid, "target"_iid), IsOk());
    EXPECT_THAT(Bind(), ElementsAre("buffer source = 400", "buffer target = 12"));
    ASSERT_THAT(program->SwapBuffers("source"_iid, "target"_iid), IsOk());
    EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  }
}

TEST_F(GpuLinksTest, ADeletedBufferTakesTheLinksWithItThatTheUpdateHasMade) {
  ASSERT_THAT(Store("a"_iid, 3), IsOk());
  ASSERT_THAT(Alias("source"_iid, "a"_iid), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  ASSERT_THAT(program->DeleteUniformBuffer("source"_iid), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = -1", "buffer target = 400"));
  ASSERT_THAT(Store("source"_iid, 4), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 16", "buffer target = 400"));
}

TEST_F(GpuLinksTest, NamesThatTheKernelHasNoLinkOfAreNotFound) {
  EXPECT_THAT(program->GetKernelBufferLink("none"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->GetKernelBufferData("none"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->SetBufferToActiveKernel("none"_iid, "source"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->SetBufferToActiveKernelSameId("none"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->SetAtomicCounterToActiveKernel("none"_iid),
              IsErrorWith(kIllegalArgumentError, "atomic identifier not found"));
  EXPECT_THAT(program->SetKernelBufferLink("source"_iid, *Data::Create(Float32(1))),
              IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(GpuLinksTest, AnIdThatIsInUseChangesNothingOfTheActiveKernel) {
  ASSERT_THAT(Store("source"_iid, 5), IsOk());
  ASSERT_THAT(Store("a"_iid, 3), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("a"_iid, "source"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(3)), IsOk());
  EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  const Url other = Write("other.krn", kKernel);
  for (const Bool wait : {true, false}) {
    EXPECT_THAT(program->AddKernel("k"_iid, other, wait),
                IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
    EXPECT_EQ(program->GetActiveKernelId(), "k"_iid);
    EXPECT_EQ(program->GetProgramCount("other.krn"_s), 0);
    // The program that was bound before is dispatched, without an update in between.
    EXPECT_THAT(program->DispatchKernel(9, 1, 1, true), IsOk());
    EXPECT_THAT(TakeCalls(), ElementsAre("dispatch 2 1 1"));
    EXPECT_THAT(Bind(), ElementsAre("buffer source = 12", "buffer target = 400"));
  }
}

}  // namespace
}  // namespace ostra::test
