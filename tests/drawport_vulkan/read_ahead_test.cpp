// Whatever is read is what is there: chunk after chunk, with everything that may happen in between, on one context and
// on two, where the host sees the memory only to write it and where it does not see it.
#include <random>

#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;

namespace {

constexpr Int kMiB = Int(1) << 20;

class ReadAheadTest : public GpuTest, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    SetDrawportDirectReading(false);
    SetDrawportDirectMapping(GetParam());
  }
  void TearDown() override {
    _others.clear();
    GpuTest::TearDown();
  }

  // Does something with a context as if it were that of the test.
  template <class Work>
  void With(const DrawportContextRef& context, Work&& work) {
    const DrawportContextRef own = std::exchange(_context, context);
    work();
    _context = own;
  }
  DrawportContextRef MakeOther() {
    _others.push_back(Take(_drawport->CreateOffscreenRenderContext(true, 0)));
    return _others.back();
  }
  // target[i] = source[i] * 3 + 1, in work groups of 64 words
  GpuComputeRef MakeCopier(DrawportDeviceBuffer*& source, DrawportDeviceBuffer*& target) {
    ProgramBuilder program(*this);
    program.Reads("source", "uint", 4).Writes("target", "uint", 4);
    return program.Make(
        "UNIFORM_BUFFER(target)[InGlobalInvocationID.x] = UNIFORM_BUFFER(source)[InGlobalInvocationID.x] * 3u + 1u;\n",
        [&source, &target](ProgramValues& values) {
          values.SetBuffer("source", source);
          values.SetBuffer("target", target);
        });
  }

  std::vector<DrawportContextRef> _others;
};
INSTANTIATE_TEST_SUITE_P(Memory, ReadAheadTest, testing::Bool(), [](const testing::TestParamInfo<bool>& memory) {
  return memory.param ? "DirectlyWritten" : "Staged";
});

// What buffers hold when everything has been done that each context has submitted so far.
class Model {
 public:
  Model(std::size_t contexts, std::vector<std::vector<Byte>> buffers)
      : _buffers(std::move(buffers)), _recorded(contexts) {}

  using Step = std::function<void(std::vector<std::vector<Byte>>&)>;
  void Record(std::size_t context, Step step) { _recorded[context].push_back(std::move(step)); }
  void Submit(std::size_t context) {
    for (const Step& step : _recorded[context]) step(_buffers);
    _recorded[context].clear();
  }
  const Byte* GetBytes(std::size_t buffer) const { return _buffers[buffer].data(); }
  std::size_t GetSize(std::size_t buffer) const { return _buffers[buffer].size(); }

 private:
  std::vector<std::vector<Byte>> _buffers;
  std::vector<std::vector<Step>> _recorded;
};

TEST_P(ReadAheadTest, ReadsAreRightWhateverHappensBetweenThem) {
  for (const std::size_t contextCount : {1u, 2u}) {
    std::vector<DrawportContextRef> contexts = {_context};
    if (contextCount > 1) contexts.push_back(MakeOther());
    std::mt19937 random(static_cast<unsigned>(17 + contextCount));
    const auto below = [&random](Int end) { return static_cast<Int>(random() % static_cast<unsigned>(end)); };

    std::vector<DrawportDeviceBuffer*> buffers;
    std::vector<std::vector<Byte>> start;
    for (const Int size : {6 * kMiB + 4, 5 * kMiB}) {
      start.emplace_back(static_cast<std::size_t>(size));
      for (Byte& byte : start.back()) byte = static_cast<Byte>(random());
      buffers.push_back(MakeBuffer(size));
      Upload(*buffers.back(), start.back().data(), size);
    }
    Take(GetList().Execute(true));
    Model model(contextCount, start);

    DrawportDeviceBuffer* source = buffers[0];
    DrawportDeviceBuffer* target = buffers[1];
    const GpuComputeRef copier = MakeCopier(source, target);
    Int offset = 0, size = kMiB;  // of what is read
    std::size_t context = 0, buffer = 0;
    for (int step = 0; step < 400; ++step) {
      if (below(4) == 0) context = static_cast<std::size_t>(below(static_cast<Int>(contextCount)));
      const Int bufferSize = static_cast<Int>(model.GetSize(buffer));
      const Int what = below(20);
      SCOPED_TRACE(testing::Message() << contextCount << " contexts, step " << step << ", operation " << what);
      if (what < 14) {  // mostly chunk after chunk
        if (what == 0) {
          buffer = static_cast<std::size_t>(below(2));
          size = kMiB + below(2) * (kMiB + 4);
          offset = 4 * below(static_cast<Int>(model.GetSize(buffer)) / 4 - 1);
        }
        const Int end = static_cast<Int>(model.GetSize(buffer));
        if (offset >= end) offset = 0;
        const Int count = std::min(size, end - offset);
        model.Submit(context);
        With(contexts[context], [&] {
          const std::vector<Byte> read = Download(*buffers[buffer], offset, count);
          ASSERT_EQ(std::memcmp(read.data(), model.GetBytes(buffer) + offset, static_cast<std::size_t>(count)), 0);
        });
        offset += count;
      } else if (what < 16) {  // an upload, also right behind what was read
        std::vector<Byte> bytes(static_cast<std::size_t>(1 + below(2 * kMiB)));
        for (std::size_t i = 0; i < bytes.size(); i += 977) bytes[i] = static_cast<Byte>(random());
        const Int count = static_cast<Int>(bytes.size());
        const Int begin = what == 14 ? std::min(offset, bufferSize - count) : below(bufferSize - count + 1);
        // Where the host writes itself nothing is recorded, so what the other contexts have recorded would come later.
        for (std::size_t i = 0; i < contextCount; ++i) {
          model.Submit(i);
          Take(contexts[i]->GetCommandList().Execute(false));
        }
        With(contexts[context], [&] { Upload(*buffers[buffer], bytes.data(), count, begin); });
        Take(contexts[context]->GetCommandList().Execute(false));
        model.Record(context, [=](auto& all) {
          std::copy(bytes.begin(), bytes.end(), all[buffer].begin() + static_cast<std::ptrdiff_t>(begin));
        });
        model.Submit(context);
      } else if (what < 18) {  // a dispatch that copies, recorded but not always submitted
        const std::size_t from = static_cast<std::size_t>(below(2));
        const std::size_t groups = static_cast<std::size_t>(1 + below(5 * kMiB / 256));
        source = buffers[from];
        target = buffers[1 - from];
        Take(copier->UpdateUniforms(contexts[context], true));
        Take(contexts[context]->GetCommandList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
        Take(copier->Dispatch(static_cast<UInt32>(groups), 1, 1));
        model.Record(context, [=](auto& all) {
          for (std::size_t i = 0; i < groups * 64; ++i) {
            UInt32 word;
            std::memcpy(&word, all[from].data() + 4 * i, 4);
            word = word * 3 + 1;
            std::memcpy(all[1 - from].data() + 4 * i, &word, 4);
          }
        });
      } else {
        Take(contexts[context]->GetCommandList().Execute(what == 18));
        model.Submit(context);
      }
      if (HasFatalFailure()) return;
    }
  }
}

TEST_P(ReadAheadTest, WhatAnotherContextSubmitsBetweenTwoReadsIsSeen) {
  const DrawportContextRef other = MakeOther();
  DrawportDeviceBuffer* source = MakeBuffer(std::vector<UInt32>(1 << 20, 5));
  DrawportDeviceBuffer* target = MakeBuffer(std::vector<UInt32>(1 << 20, 1));
  const GpuComputeRef copier = MakeCopier(source, target);
  Take(copier->UpdateUniforms(other, true));
  EXPECT_THAT(Download(*target, 0, kMiB)[0], 1);
  Take(copier->Dispatch(1 << 14, 1, 1));
  EXPECT_EQ(Download(*target, kMiB, kMiB)[0], 1);  // only recorded
  Take(other->GetCommandList().Execute(false));
  EXPECT_EQ(Download(*target, 2 * kMiB, kMiB)[0], 16);
  EXPECT_EQ(Download(*target, 3 * kMiB, kMiB)[0], 16);
}

TEST_P(ReadAheadTest, WhatTheHostWritesWhileABufferIsMappedForItIsSeen) {
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(1 << 20, 1));
  Take(GetList().Execute(true));
  DrawportStagingBuffer* staging = Take(_cache->AllocStagingBuffer(*_context, {.bytes = kMiB}));
  Byte* mapped = Take(GetList().PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, *data, 0, kMiB, kMiB));
  EXPECT_EQ(Download(*data, 0, kMiB)[0], 1);
  std::fill_n(mapped, kMiB, Byte(7));
  Take(GetList().UnmapBuffer(*staging, DrawportUnmapMode::Commit));
  GetList().ReleaseStagingBuffer(staging);
  EXPECT_EQ(Download(*data, kMiB, kMiB), std::vector<Byte>(kMiB, Byte(7)));
}

TEST_P(ReadAheadTest, MemoryOfWhatWasReadAheadIsGivenBack) {
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(16 << 20, 1));  // memory of its own
  const Int before = _context->GetAvailableAndTotalVRAMBudget().available;
  Download(*data, 0, 8 * kMiB);
  _items.clear();
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(_context->GetAvailableAndTotalVRAMBudget().available, before + 64 * kMiB);
  DrawportDeviceBuffer* next = MakeBuffer(std::vector<UInt32>(16 << 20, 2));
  EXPECT_EQ(Download(*next, 8 * kMiB, 8 * kMiB)[0], 2);
}

}  // namespace
