// Several contexts of one device, looked at from inside: what they wait for, what they need not wait for, and what
// becomes of first uses that one has recorded and another submits.
#include <thread>

#include "tests/drawport_vulkan/internal_fixture.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::Each;

namespace {

constexpr Int kMiB = Int(1) << 20;
constexpr Int kWidth = 16;  // of images; so many floats are a row of a quarter of the texels

class ContextsTest : public DriverTest {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    if (!IsSkipped()) _first = Take(MakeContext());
  }
  void TearDown() override {
    _first = {};
    DriverTest::TearDown();
  }

  DrawportContextRef MakeOther() { return Take(_first->GetDrawport()->CreateOffscreenRenderContext(true, 0)); }
  static CommandList& GetList(const DrawportContextRef& context) {
    return static_cast<Context&>(*context).GetCommands();
  }
  CommandList& GetList() { return GetList(_first); }
  Device& GetDevice() { return GetList().GetDevice(); }
  // How many submissions `work` makes, of all contexts.
  template <class Work>
  Int CountSubmissions(Work&& work) {
    const UInt64 before = GetDevice().GetSubmittedValue();
    work();
    return static_cast<Int>(GetDevice().GetSubmittedValue() - before);
  }
  template <class Work>
  static Int CountCalls(Work&& work) {
    const Int before = CallFaults::GetCount();
    work();
    return CallFaults::GetCount() - before;
  }

  BufferRef MakeBuffer(Int bytes) { return Take(BufferResource::Create(GetDevice(), bytes, MemoryUse::Device, true)); }
  ImageRef MakeImage() {
    DrawportTextureDescription description;
    description.format = Take(GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
    description.extent = {kWidth, 4, 1};
    return Take(ImageResource::Create(GetDevice(), description));
  }

  static Result<std::vector<Byte>> TryRead(CommandList& list, BufferResource& buffer, Int offset, Int bytes) {
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           list.AllocStagingBuffer(bytes, DrawportStagingUse::HostRead));
    auto mapped = list.PrivateMapBuffer(*staging, DrawportMapMode::Read, buffer, 0, offset, bytes);
    std::vector<Byte> read;
    if (mapped) read.assign(*mapped, *mapped + bytes);
    list.ReleaseStagingBuffer(staging);
    if (!mapped) return mapped.TakeError();
    return read;
  }
  static std::vector<Byte> Read(CommandList& list, BufferResource& buffer, Int offset, Int bytes) {
    return Take(TryRead(list, buffer, offset, bytes));
  }
  static void Write(CommandList& list, BufferResource& buffer, Int offset, Int bytes, Byte value) {
    DrawportStagingBuffer* staging = Take(list.AllocStagingBuffer(bytes, DrawportStagingUse::BufferUpload));
    std::fill_n(Take(list.PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, buffer, 0, offset, bytes)), bytes,
                value);
    Take(list.UnmapBuffer(*staging, DrawportUnmapMode::Commit));
    list.ReleaseStagingBuffer(staging);
  }
  static DrawportRegion GetRow(Int y) { return {{0, y, 0}, {kWidth, 1, 1}}; }
  static void WriteRow(CommandList& list, ImageResource& image, Int y, Float32 value) {
    DrawportStagingBuffer* staging = Take(list.AllocStagingBuffer(kWidth * 16, DrawportStagingUse::HostReadWrite));
    Byte* mapped = Take(list.PrivateMapTexture(*staging, DrawportMapMode::WriteDiscard, image, GetRow(y), 0, 0, 0, 0));
    std::fill_n(reinterpret_cast<Float32*>(mapped), kWidth * 4, value);
    Take(list.UnmapTexture(*staging));
    list.ReleaseStagingBuffer(staging);
  }
  static std::vector<Float32> ReadRow(CommandList& list, ImageResource& image, Int y) {
    DrawportStagingBuffer* staging = Take(list.AllocStagingBuffer(kWidth * 16, DrawportStagingUse::HostReadWrite));
    const Byte* mapped = Take(list.PrivateMapTexture(*staging, DrawportMapMode::Read, image, GetRow(y), 0, 0, 0, 0));
    std::vector<Float32> row(kWidth * 4);
    MemCopy(row.data(), mapped, kWidth * 16);
    Take(list.UnmapTexture(*staging));
    list.ReleaseStagingBuffer(staging);
    return row;
  }

  DrawportContextRef _first;
};

TEST_F(ContextsTest, FirstUsesGoWithWhateverIsSubmittedNext) {
  SetDrawportDirectMapping(false);
  const DrawportContextRef other = MakeOther();
  std::vector<ImageRef> images;
  std::vector<BufferRef> buffers;
  for (int i = 0; i < 20; ++i) {
    images.push_back(MakeImage());
    buffers.push_back(MakeBuffer(100));
  }
  EXPECT_EQ(CountSubmissions([&] {
              for (const ImageRef& image : images) Take(GetList(other).GetRecorder().EnsureCleared(*image));
              for (const BufferRef& buffer : buffers) Take(GetList(other).GetRecorder().EnsureZeroed(*buffer));
            }),
            0);
  EXPECT_EQ(CountSubmissions([&] { Take(GetList(other).Execute(true)); }), 1);
  for (const ImageRef& image : images) EXPECT_THAT(ReadRow(GetList(), *image, 3), Each(0.0f));
  for (const BufferRef& buffer : buffers) EXPECT_THAT(Read(GetList(), *buffer, 0, 100), Each(Byte(0)));
}

TEST_F(ContextsTest, AFirstUseDoesNotWipeWhatAContextMadeLaterHasStored) {
  SetDrawportDirectMapping(false);
  const ImageRef image = MakeImage();
  const BufferRef buffer = MakeBuffer(64);
  Take(GetList().GetRecorder().EnsureCleared(*image));  // recorded, by the only context so far
  Take(GetList().GetRecorder().EnsureZeroed(*buffer));
  const DrawportContextRef later = MakeOther();
  WriteRow(GetList(later), *image, 1, 5);
  Write(GetList(later), *buffer, 16, 16, 5);
  Take(GetList(later).Execute(true));
  Take(GetList().Execute(true));
  EXPECT_THAT(ReadRow(GetList(later), *image, 1), Each(5.0f));
  EXPECT_THAT(ReadRow(GetList(later), *image, 2), Each(0.0f));
  EXPECT_THAT(Read(GetList(later), *buffer, 16, 16), Each(Byte(5)));
  EXPECT_THAT(Read(GetList(later), *buffer, 32, 32), Each(Byte(0)));
}

TEST_F(ContextsTest, FirstUsesThatCouldNotBeSubmittedGoWithTheNextSubmissionOfAnyContext) {
  SetDrawportDirectMapping(false);
  const DrawportContextRef other = MakeOther();
  for (Int n = 1; n <= 4; ++n) {  // end of the work, beginning and end of the setup, submission
    SCOPED_TRACE(n);
    const ImageRef image = MakeImage();
    const BufferRef buffer = MakeBuffer(64);
    Take(GetList().GetRecorder().EnsureCleared(*image));
    Take(GetList().GetRecorder().EnsureZeroed(*buffer));
    CallFaults::FailNth(n, VK_ERROR_OUT_OF_DEVICE_MEMORY);
    EXPECT_THAT(GetList().Execute(false), IsErrorOfKind(kOutOfMemoryError));
    CallFaults::Disable();
    WriteRow(GetList(other), *image, 1, 5);
    EXPECT_THAT(ReadRow(GetList(other), *image, 0), Each(0.0f));
    EXPECT_THAT(ReadRow(GetList(other), *image, 1), Each(5.0f));
    EXPECT_THAT(Read(GetList(other), *buffer, 0, 64), Each(Byte(0)));
  }
}

TEST_F(ContextsTest, FirstUsesOfADroppedContextStillComeBeforeWhatOthersDo) {
  DrawportContextRef other = MakeOther();
  const ImageRef image = MakeImage();
  const BufferRef buffer = MakeBuffer(64);
  Take(GetList(other).GetRecorder().BeginBatch());
  Take(GetList(other).GetRecorder().Keep(*buffer));  // in use, so that the device is to fill it
  Take(GetList(other).GetRecorder().EnsureZeroed(*buffer));
  Take(GetList(other).GetRecorder().EnsureCleared(*image));
  other = {};
  Write(GetList(), *buffer, 16, 16, 5);  // not by the host itself, which would come too early
  WriteRow(GetList(), *image, 1, 5);
  EXPECT_THAT(Read(GetList(), *buffer, 0, 16), Each(Byte(0)));
  EXPECT_THAT(Read(GetList(), *buffer, 16, 16), Each(Byte(5)));
  EXPECT_THAT(Read(GetList(), *buffer, 32, 32), Each(Byte(0)));
  EXPECT_THAT(ReadRow(GetList(), *image, 0), Each(0.0f));
  EXPECT_THAT(ReadRow(GetList(), *image, 1), Each(5.0f));
}

TEST_F(ContextsTest, WhatGoesBeforeItsFirstUseIsSubmittedLeavesNothingBehind) {
  const auto visit = [&] {
    const DrawportContextRef other = MakeOther();
    const ImageRef image = MakeImage();
    Take(GetList(other).GetRecorder().EnsureCleared(*image));
  };
  visit();
  const Int before = AllocationFaults::GetLiveCount();
  for (int i = 0; i < 5; ++i) visit();
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before);
  Take(GetList().GetRecorder().BeginBatch());
  EXPECT_THAT(GetList().Execute(true), IsOk());
}

TEST_F(ContextsTest, WorkWaitsForThatOfOthersJustWhenItNamesWhatTheyHaveUsed) {
  const BufferRef shared = MakeBuffer(64), own = MakeBuffer(64), another = MakeBuffer(64);
  // The calls of the driver that submit work with these buffers.
  const auto submit = [](CommandList& list, std::initializer_list<BufferRef> buffers) {
    Take(list.GetRecorder().BeginBatch());
    for (const BufferRef& buffer : buffers) Take(list.GetRecorder().Keep(*buffer));
    return CountCalls([&] { Take(list.Execute(true)); });
  };
  submit(GetList(), {own});  // the first one of all
  const Int alone = submit(GetList(), {own});
  const Int waiting = alone + 2;  // a barrier of its own before what was recorded
  const DrawportContextRef other = MakeOther();
  submit(GetList(other), {another});
  EXPECT_EQ(submit(GetList(), {own}), alone);
  submit(GetList(other), {shared, another});
  EXPECT_EQ(submit(GetList(), {own}), alone);
  EXPECT_EQ(submit(GetList(), {own, shared}), waiting);
  EXPECT_EQ(submit(GetList(), {own, shared}), alone);
  EXPECT_EQ(submit(GetList(), {another}), alone) << "what that barrier waited for as well";
  EXPECT_EQ(submit(GetList(other), {shared}), waiting);

  // Recorded before the other one, submitted after it.
  Take(GetList().GetRecorder().BeginBatch());
  Take(GetList().GetRecorder().Keep(*shared));
  submit(GetList(other), {shared});
  EXPECT_EQ(CountCalls([&] { Take(GetList().Execute(true)); }), waiting);
}

TEST_F(ContextsTest, ABufferIsQuickAgainWhenTheWorkOfOtherContextsIsDone) {
  const BufferRef buffer = MakeBuffer(64);
  if (!buffer->GetMapped()) GTEST_SKIP() << "The host does not see the memory of this device.";
  const BufferRef large = MakeBuffer(64 * kMiB);
  const DrawportContextRef other = MakeOther();
  for (const DrawportContextRef& context : {other, _first}) {
    Take(GetList(context).GetRecorder().BeginBatch());
    Take(GetList(context).GetRecorder().Keep(*buffer));
    EXPECT_TRUE(buffer->IsInUse());
    Take(GetList(context).GetRecorder().Keep(*large));
    Take(GetList(context).GetRecorder().EnsureZeroed(*large));  // by the device, which is not done when Execute returns
    Take(GetList(context).Execute(false));
  }
  Take(GetDevice().WaitForSubmitted());
  // The other context is not asked whether it is done.
  EXPECT_EQ(CountSubmissions([&] {
              Write(GetList(), *buffer, 0, 64, 9);
              EXPECT_THAT(Read(GetList(), *buffer, 0, 64), Each(Byte(9)));
            }),
            0);
  Take(GetList(other).GetRecorder().BeginBatch());
  Take(GetList(other).GetRecorder().Keep(*buffer));
  EXPECT_EQ(CountSubmissions([&] {
              Write(GetList(), *buffer, 0, 64, 10);
              Take(GetList().Execute(true));
            }),
            1);
}

TEST_F(ContextsTest, WhatFollowsIsReadAheadOnce) {
  SetDrawportDirectMapping(false);
  const BufferRef buffer = MakeBuffer(4 * kMiB + 8);
  const auto read = [&](Int offset, Int bytes) {
    return CountSubmissions([&] {
      const std::vector<Byte> bytesRead = Read(GetList(), *buffer, offset, bytes);
      EXPECT_EQ(std::count(bytesRead.begin(), bytesRead.end(), Byte(3)), bytes);
    });
  };
  for (Int offset = 0; offset < buffer->GetSize(); offset += kMiB)
    Write(GetList(), *buffer, offset, std::min(kMiB, buffer->GetSize() - offset), 3);
  Take(GetList().Execute(true));
  EXPECT_EQ(read(0, kMiB), 2);
  EXPECT_EQ(read(kMiB, kMiB), 1);
  EXPECT_EQ(read(2 * kMiB, kMiB), 1);
  EXPECT_EQ(read(3 * kMiB, kMiB), 0);  // 8 bytes follow: too few
  EXPECT_EQ(read(4 * kMiB, 8), 1);
  EXPECT_EQ(read(0, 3 * kMiB), 2);
  EXPECT_EQ(read(3 * kMiB, kMiB + 8), 0);  // what is left, and no more
  EXPECT_EQ(read(3 * kMiB, kMiB + 8), 1);
  // Anything else than exactly what follows is read by itself.
  EXPECT_EQ(read(0, kMiB), 2);
  EXPECT_EQ(read(kMiB, kMiB - 4), 1);
  EXPECT_EQ(read(0, kMiB), 2);
  EXPECT_EQ(read(0, kMiB), 2);
  EXPECT_EQ(read(kMiB + 4, kMiB), 2);
  EXPECT_EQ(read(0, kMiB - 4), 1);  // nothing is read ahead of little
  EXPECT_EQ(read(kMiB - 4, kMiB - 4), 1);
}

TEST_F(ContextsTest, WhatWasReadAheadIsNotUsedAfterOtherWorkWithTheBuffer) {
  SetDrawportDirectMapping(false);
  const DrawportContextRef other = MakeOther();
  const BufferRef buffer = MakeBuffer(4 * kMiB);
  const BufferRef second = MakeBuffer(4 * kMiB);
  const auto use = [&](const DrawportContextRef& context, BufferResource& used) {
    Take(GetList(context).GetRecorder().BeginBatch());
    Take(GetList(context).GetRecorder().Keep(used));
  };
  struct Case {
    std::function<void()> work;
    Int submissions;  // that the next read makes: of itself, and of what follows it
  };
  const Case cases[] = {
      {[&] { use(_first, *buffer); }, 2},
      {[&] { use(_first, *buffer), Take(GetList().Execute(true)); }, 2},
      {[&] { use(other, *buffer), Take(GetList(other).Execute(false)); }, 2},
      {[&] { Read(GetList(), *second, 0, 4); }, 2},
      {[&] { Read(GetList(other), *buffer, 0, 4); }, 2},
      {[&] { Take(static_cast<Context&>(*_first).FreeTrash()); }, 2},
      {[&] { use(_first, *second), Take(GetList().Execute(true)); }, 1},
      {[&] { use(other, *second), Take(GetList(other).Execute(false)); }, 1},
      {[&] { Read(GetList(other), *second, 0, 4); }, 1},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    Read(GetList(), *buffer, 0, kMiB);
    cases[i].work();
    EXPECT_EQ(CountSubmissions([&] { Read(GetList(), *buffer, kMiB, kMiB); }), cases[i].submissions);
  }
}

TEST_F(ContextsTest, AReadWorksWhenReadingAheadDoesNot) {
  SetDrawportDirectMapping(false);
  const BufferRef buffer = MakeBuffer(40 * kMiB);  // pieces of staging memory have memory of their own
  Int worked = 0;
  for (Int n = 1;; ++n) {
    SCOPED_TRACE(n);
    const DrawportContextRef context = MakeOther();
    Write(GetList(context), *buffer, 0, kMiB, 1);
    Write(GetList(context), *buffer, 20 * kMiB, kMiB, 2);
    Take(GetList(context).Execute(true));
    CallFaults::FailNth(n, VK_ERROR_OUT_OF_DEVICE_MEMORY);
    const auto read = TryRead(GetList(context), *buffer, 0, 20 * kMiB);
    const Bool fired = CallFaults::HasFired();
    CallFaults::Disable();
    if (read) {
      EXPECT_EQ((*read)[0], 1);
      worked += fired;
    } else {
      EXPECT_THAT(read, IsErrorOfKind(kOutOfMemoryError));
    }
    EXPECT_EQ(Read(GetList(context), *buffer, 20 * kMiB, 20 * kMiB)[0], 2);
    if (!fired) break;
  }
  EXPECT_GT(worked, 4);  // memory, recording and submission without a request
}

TEST_F(ContextsTest, SeveralThreadsUseThingsForTheFirstTimeAndGiveBackTrash) {
  SetDrawportDirectMapping(false);
  constexpr Int kImages = 8, kThreads = 3;
  std::vector<ImageRef> images;
  for (Int i = 0; i < kImages; ++i) images.push_back(MakeImage());
  std::vector<DrawportContextRef> contexts;
  for (Int i = 0; i < kThreads; ++i) contexts.push_back(MakeOther());
  std::vector<std::thread> threads;
  std::atomic<Int> wrong{0};
  for (Int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      Context& context = static_cast<Context&>(*contexts[static_cast<std::size_t>(thread)]);
      CommandList& list = context.GetCommands();
      for (Int i = 0; i < 5 * kImages; ++i) {
        ImageResource& image = *images[static_cast<std::size_t>(i % kImages)];
        const Float32 value = static_cast<Float32>(i + 1);
        WriteRow(list, image, thread, value);
        if (thread == 0 && i % 4 == 0) Take(context.FreeTrash());
        for (const Float32 texel : ReadRow(list, image, thread)) wrong += texel != value;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  for (const ImageRef& image : images) EXPECT_THAT(ReadRow(GetList(), *image, kThreads), Each(0.0f));
}

}  // namespace
