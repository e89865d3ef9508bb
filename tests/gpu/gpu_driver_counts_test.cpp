// What workloads ask of the driver, beside the numbers in driver_counts.txt: a change of any of them is seen.
#include <fstream>
#include <sstream>

#include "parallelprogram/program/counter_reads_interface.h"
#include "parallelprogram/program/recorded_dispatches_interface.h"
#include "parallelprogram/textures/sampling_data.h"
#include "parallelprogram/textures/texture_bind_data.h"
#include "tests/gpu/counted_programs_fixture.h"
#include "tests/gpu/recorded_kernels.h"

namespace ostra::test {
namespace {

constexpr const char* kBrighten = R"(#define KERNELINPUTS \
(const TextureSampler_2D_R_F32_POINT) source, \
(TextureSampler_2D_R_F32_POINT) target

GROUPSIZE(1, 1, 1)

OSTRA_PARALLEL_KERNEL(Brighten, KERNELINPUTS)
{
	int2 at = int2(int(InGlobalInvocationID.x), int(InGlobalInvocationID.y));
	StoreImage(target, at, FetchTexture(source, at) + 1.0);
}
OSTRA_PARALLEL_KERNEL_END
)";

constexpr Int kLarge = Int{64} << 20;  // bytes

std::string GetRow(const std::string& workload, const DriverCounts& counts) {
  std::ostringstream row;
  row << workload;
  for (const Int count : {counts.submissions, counts.stops, counts.barriers, counts.sets, counts.allocations,
                          counts.bytes, counts.clears})
    row << " " << count;
  return row.str();
}

// The row of the table, with one space between its columns; empty when there is none.
std::string FindRow(const std::string& workload) {
  std::ifstream table(OSTRA_TEST_DRIVER_COUNTS);
  for (std::string line; std::getline(table, line);) {
    std::istringstream words(line);
    std::string word, row;
    while (words >> word) row += (row.empty() ? "" : " ") + word;
    if (row.starts_with(workload + " ")) return row;
  }
  return {};
}

class GpuDriverCountsTest : public CountedProgramsTest {
 protected:
  void SetUp() override {
    CountedProgramsTest::SetUp();
    if (IsSkipped()) return;
    const DrawportContextRef context = Take(MakeContext());
    if (static_cast<vulkan::Context&>(*context).GetDevice().GetProperties().deviceType != VK_PHYSICAL_DEVICE_TYPE_CPU)
      GTEST_SKIP() << "The table has the counts of the software driver; other devices have memory of other kinds.";
  }

  template <class Work>
  void ExpectCounts(const std::string& workload, Work&& work) {
    EXPECT_EQ(GetRow(workload, Count(std::forward<Work>(work))), FindRow(workload))
        << "columns: submissions, stops, barriers, sets, allocations, bytes, clears";
  }
};

// Whether the host sees the memory of buffers, as here, or not, as on most devices with memory of their own.
class GpuBufferCountsTest : public GpuDriverCountsTest, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    SetDrawportDirectMapping(GetParam());
    GpuDriverCountsTest::SetUp();
  }
  // Dispatches with the steps 0, 1 and so on, each with values of its own.
  static UInt64 Record(ParallelProgramInterface& program, RecordedDispatchesInterface& recordings, int count) {
    Take(recordings.BeginRecording());
    for (int i = 0; i < count; ++i) {
      Take(program.SetUniform("step"_iid, Float32(i)));
      Dispatch(program);
    }
    return Take(recordings.EndRecording());
  }
  std::string GetName(const char* workload) const { return std::string(workload) + (GetParam() ? "/seen" : "/unseen"); }
};
INSTANTIATE_TEST_SUITE_P(Memory, GpuBufferCountsTest, testing::Bool(),
                         [](const auto& instance) { return std::string(instance.param ? "Seen" : "Unseen"); });

TEST_P(GpuBufferCountsTest, OneDispatchIsOneSubmission) {
  const ParallelProgramRef program = MakeStepProgram();
  Take(program->Execute(true));
  ExpectCounts(GetName("one_dispatch"), [&] {
    Dispatch(*program);
    Take(program->Execute(true));
  });
  EXPECT_EQ(ReadFirst(*program, "target"_iid), 1);
}

TEST_P(GpuBufferCountsTest, AThousandDispatchesAreOneSubmission) {
  const ParallelProgramRef program = MakeStepProgram();
  Take(program->Execute(true));
  ExpectCounts(GetName("dispatches_1000"), [&] {
    for (int i = 0; i < 1000; ++i) {
      Take(program->SetUniform("step"_iid, Float32(i)));
      Dispatch(*program);
    }
    Take(program->Execute(true));
  });
  EXPECT_EQ(ReadFirst(*program, "target"_iid), 999);
}

TEST_P(GpuBufferCountsTest, AThousandDispatchesAreRecordedWithoutASubmission) {
  const ParallelProgramRef program = MakeStepProgram();
  auto& recordings = *FindInterface<RecordedDispatchesInterface>(*program);
  Take(program->Execute(true));
  UInt64 recording = 0;
  ExpectCounts(GetName("recording_1000"), [&] { recording = Record(*program, recordings, 1000); });
  Take(recordings.Replay(recording, 1));
  EXPECT_EQ(ReadFirst(*program, "target"_iid), 999);
}

TEST_P(GpuBufferCountsTest, AReplayOfAThousandDispatchesCostsASubmission) {
  const ParallelProgramRef program = MakeStepProgram();
  auto& recordings = *FindInterface<RecordedDispatchesInterface>(*program);
  const UInt64 recording = Record(*program, recordings, 1000);
  Take(recordings.Replay(recording, 1));
  Take(program->Execute(true));
  ExpectCounts(GetName("replays_10_of_1000"), [&] {
    for (int i = 0; i < 10; ++i) {
      Take(recordings.Replay(recording, 1));
      Take(program->Execute(false));
    }
    Take(program->Execute(true));
  });
  EXPECT_EQ(ReadFirst(*program, "target"_iid), 999);
  ExpectCounts(GetName("new_values_10_of_1000"), [&] {
    for (int i = 0; i < 10; ++i) {
      Take(recordings.SetRecordedUniform(recording, "k"_iid, "step"_iid, Float32(i)));
      Take(recordings.Replay(recording, 1));
      Take(program->Execute(false));
    }
    Take(program->Execute(true));
  });
  EXPECT_EQ(ReadFirst(*program, "target"_iid), 9);
}

TEST_P(GpuBufferCountsTest, EachReadOfACounterStopsTheHost) {
  const ParallelProgramRef program = MakeProgram(kTallyText);
  Take(program->AddAtomicCounter("hits"_iid, UInt32(0)));
  Take(program->SetAtomicCounterToActiveKernel("hits"_iid));
  ExpectCounts(GetName("counter_reads_100"), [&] {
    for (UInt32 i = 1; i <= 100; ++i) {
      Dispatch(*program);
      EXPECT_EQ(Take(program->GetAtomicCounter("hits"_iid)), i);
    }
  });
}

TEST_P(GpuBufferCountsTest, CountersThatWereCopiedAreReadWithOneStop) {
  const ParallelProgramRef program = MakeProgram(kTallyText);
  auto& reads = *FindInterface<CounterReadsInterface>(*program);
  Take(program->AddAtomicCounter("hits"_iid, UInt32(0)));
  Take(program->SetAtomicCounterToActiveKernel("hits"_iid));
  ExpectCounts(GetName("counter_copies_100"), [&] {
    std::vector<UInt64> numbers;
    for (int i = 0; i < 100; ++i) {
      Dispatch(*program);
      numbers.push_back(Take(reads.RecordCounterRead("hits"_iid)));
    }
    for (UInt32 i = 0; i < 100; ++i) EXPECT_EQ(Take(reads.TakeCounterRead(numbers[i])), i + 1);
  });
  EXPECT_THAT(reads.TakeCounterRead(1),
              IsErrorWith(kIllegalStateError,
                          "There is no value of the counter read 1: it was taken, was dropped, or is too old."));
  EXPECT_THAT(reads.RecordCounterRead("misses"_iid), IsErrorWith(kIllegalArgumentError, "atomic identifier not found"));
}

TEST_P(GpuBufferCountsTest, AnUploadADispatchAndAReadBackStopOnce) {
  const ParallelProgramRef program = MakeProgram(kStep);
  Take(program->SetUniform("step"_iid, Float32(1)));
  Take(program->StoreUniformBufferData("target"_iid, Take(BaseArray<Float32>::Create({0}))));
  BaseArray<Float32> values;
  Take(values.Resize(kLarge / 4));
  values.GetLast() = 7;
  ExpectCounts(GetName("round_trip_64_mib"), [&] {
    Take(program->StoreUniformBufferData("source"_iid, std::move(values)));
    Dispatch(*program);
    const Data read = Take(program->GetGlobalBufferData("source"_iid));
    EXPECT_EQ(Take(read.Get<Array<Float32>>())[kLarge / 4 - 1], 7);
  });
  EXPECT_EQ(ReadFirst(*program, "target"_iid), 1);
}

TEST_F(GpuDriverCountsTest, TwoBuffersThatChangePlacesNeedTwoDescriptorSets) {
  const ParallelProgramRef program = MakeStepProgram();
  Take(program->Execute(true));
  ExpectCounts("ping_pong_3000", [&] {
    for (int i = 0; i < 3000; ++i) {
      Dispatch(*program);
      Take(program->SwapBuffers("source"_iid, "target"_iid));
    }
    Take(program->Execute(true));
  });
  EXPECT_EQ(ReadFirst(*program, "source"_iid), 3000);
}

TEST_F(GpuDriverCountsTest, FortyBuffersInTurnNeedFortyDescriptorSets) {
  const ParallelProgramRef program = MakeStepProgram();
  std::vector<InternedId> places;
  for (int i = 0; i < 40; ++i) {
    places.push_back(Take(InternedId::Create("place" + std::to_string(i))));
    Take(program->StoreUniformBufferData(places.back(), Take(BaseArray<Float32>::Create({0}))));
  }
  Take(program->Execute(true));
  ExpectCounts("buffers_in_turn_40", [&] {
    for (std::size_t i = 0; i < 1000; ++i) {
      Take(program->SetBufferToActiveKernel(places[i % 40], "source"_iid));
      Take(program->SetBufferToActiveKernel(places[(i + 1) % 40], "target"_iid));
      Dispatch(*program);
    }
    Take(program->Execute(true));
  });
  EXPECT_EQ(ReadFirst(*program, places[1000 % 40]), 1000);
}

TEST_F(GpuDriverCountsTest, TwoProgramsInTurnStopOnce) {
  const ParallelProgramRef programs[] = {MakeStepProgram(), MakeStepProgram()};
  for (const ParallelProgramRef& program : programs) Take(program->Execute(true));
  ExpectCounts("two_programs_100", [&] {
    for (int i = 0; i < 100; ++i) {
      for (const ParallelProgramRef& program : programs) {
        Dispatch(*program);
        Take(program->SwapBuffers("source"_iid, "target"_iid));
        Take(program->Execute(false));
      }
    }
    for (const ParallelProgramRef& program : programs) Take(program->Execute(true));
  });
  for (const ParallelProgramRef& program : programs) EXPECT_EQ(ReadFirst(*program, "source"_iid), 100);
}

TextureBindData DescribeTexture(UInt32 size) {
  TextureBindData data;
  data._dimensions = Vec3<UInt32>(size, size, 1);
  data._format = TextureFormat::F32;
  data._numChannels = 1;
  data._filter = TextureFilter::POINT;
  data._dataSize = Int64{4} * size * size;
  return data;
}

TEST_F(GpuDriverCountsTest, ANewTextureIsFilledWithoutBeingCleared) {
  const ParallelProgramRef program = MakeProgram();
  std::vector<Float32> texels(kLarge / 4, 3.0f);
  TextureBindData bindData = DescribeTexture(4096);
  bindData._data = reinterpret_cast<const Byte*>(texels.data());
  ExpectCounts("texture_write_64_mib", [&] {
    Take(program->StoreTextureBindData("image"_iid, bindData, false));
    Take(program->Execute(true));
  });
}

TEST_F(GpuDriverCountsTest, ReadingATextureBackStopsOnce) {
  const ParallelProgramRef program = MakeProgram();
  std::vector<Float32> texels(kLarge / 4, 3.0f);
  TextureBindData bindData = DescribeTexture(4096);
  bindData._data = reinterpret_cast<const Byte*>(texels.data());
  Take(program->StoreTextureBindData("image"_iid, bindData, false));
  Take(program->Execute(true));
  ExpectCounts("texture_read_64_mib", [&] {
    const Data read = Take(program->GetTextureData("image"_iid, Vec3<Int32>(0), Vec3<Int32>(1 << 30)));
    const SamplingData& record = *read.GetIf<SamplingData>();
    EXPECT_EQ(record._dataSize, kLarge);
    EXPECT_EQ(std::memcmp(record._texels, texels.data(), static_cast<std::size_t>(kLarge)), 0);
  });
}

TEST_F(GpuDriverCountsTest, AChainOverTexturesIsOneSubmission) {
  const ParallelProgramRef program = MakeProgram(kBrighten);
  for (const InternedId& id : {"source"_iid, "target"_iid}) {
    TextureBindData bindData = DescribeTexture(16);
    Take(program->CreateTexture(id, bindData));
  }
  ExpectCounts("texture_chain_50", [&] {
    for (int i = 0; i < 50; ++i) {
      for (const InternedId& id : {"source"_iid, "target"_iid}) Take(program->SetTextureToActiveKernelSameId(id));
      Take(program->UpdateUniforms());
      Take(program->DispatchKernel(16, 16, 1, true));
      Take(program->AddTextureMemoryBarrier());
      Take(program->SwapTextures("source"_iid, "target"_iid));
    }
    Take(program->Execute(true));
  });
  const Data read = Take(program->GetTextureData("source"_iid, Vec3<Int32>(0), Vec3<Int32>(1 << 30)));
  Float32 last = 0;
  MemCopy(&last, read.GetIf<SamplingData>()->_texels + 4 * 255, 4);
  EXPECT_EQ(last, 50);
}

}  // namespace
}  // namespace ostra::test
