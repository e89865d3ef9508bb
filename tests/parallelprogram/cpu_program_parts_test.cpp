// The tables of the CPU program, what hands them to a kernel, and the dispatcher: each without a program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/object/class.h"
#include "parallelprogram/program/cpu_buffers.h"
#include "parallelprogram/program/cpu_counters.h"
#include "parallelprogram/program/cpu_dispatcher.h"
#include "parallelprogram/program/cpu_hand_over.h"
#include "parallelprogram/program/cpu_textures.h"
#include "tests/parallelprogram/scale_kernel.h"
#include "tests/support/arrays.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

template <class Kernel>
using PlainForm = KernelBase<Kernel>;

TEST(CpuBuffersTest, ABufferThatIsReplacedStaysForThoseWhoLinkToIt) {
  CpuBuffers buffers;
  ASSERT_THAT(buffers.Store("a"_iid, MakeArray<Float32>({1, 2})), IsOk());
  const Result<Data> link = CpuBuffers::GetLink(buffers.GetNames(), "a"_iid);
  ASSERT_THAT(link, IsOk());
  ASSERT_THAT(buffers.Store("a"_iid, MakeArray<Float32>({3})), IsOk());
  EXPECT_THAT(GetElements<Float32>(ReadElements(*buffers.Find("a"_iid), 0, -1)), ElementsAre(3));
  EXPECT_THAT(GetElements<Float32>(ReadElements(**link->GetIf<BufferSlot*>(), 0, -1)), ElementsAre(1, 2));
}

TEST(CpuBuffersTest, ABufferThatIsResizedKeepsItsPlaceAndItsElements) {
  CpuBuffers buffers;
  ASSERT_THAT(buffers.Store("a"_iid, MakeArray<Float32>({1, 2})), IsOk());
  const BufferSlot* const before = buffers.Find("a"_iid);
  const auto resized = buffers.Resize("a"_iid, 3);
  ASSERT_THAT(resized, IsOk());
  EXPECT_EQ(&*resized, before);
  EXPECT_THAT(GetElements<Float32>(ReadElements(*before, 0, -1)), ElementsAre(1, 2, 0));
  EXPECT_THAT(buffers.Resize("b"_iid, 3), IsErrorWith(kIllegalArgumentError, "buffer for resize could not be found"));
}

TEST(CpuBuffersTest, ElementsAreCopiedWithinABuffer) {
  CpuBuffers buffers;
  ASSERT_THAT(buffers.Store("a"_iid, MakeArray<Float32>({1, 2, 3, 4})), IsOk());
  ASSERT_THAT(buffers.Copy("a"_iid, "a"_iid, 3, 0, 1), IsOk());
  EXPECT_THAT(GetElements<Float32>(ReadElements(*buffers.Find("a"_iid), 0, -1)), ElementsAre(1, 1, 2, 3));
  EXPECT_THAT(buffers.Copy("a"_iid, "a"_iid, 3, 0, 2),
              IsErrorWith(kIllegalArgumentError, "count and offset out of range for target buffer"));
  EXPECT_THAT(buffers.CopyBytes("b"_iid, "a"_iid, 4, 0, 0),
              IsErrorWith(kIllegalArgumentError, "source buffer could not be found"));
}

TEST(CpuBuffersTest, LinksAreSwappedBothOrNotAtAll) {
  CpuBuffers buffers;
  ASSERT_THAT(buffers.Store("a"_iid, MakeArray<Float32>({1})), IsOk());
  EXPECT_THAT(CpuBuffers::SwapLinks(buffers.GetNames(), "a"_iid, "b"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer two could not be found"));
  ASSERT_THAT(buffers.Store("b"_iid, MakeArray<Float32>({2})), IsOk());
  const BufferSlot* const first = buffers.Find("a"_iid);
  ASSERT_THAT(CpuBuffers::SwapLinks(buffers.GetNames(), "a"_iid, "b"_iid), IsOk());
  EXPECT_EQ(buffers.Find("b"_iid), first);
}

TEST(CpuBuffersTest, WithoutMemoryNothingIsStoredOrLost) {
  EXPECT_GT(ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
              CpuBuffers buffers;
              OSTRA_RETURN_IF_ERROR(buffers.Create("a"_iid, GetDataType<Float32>(), 8));
              OSTRA_RETURN_IF_ERROR(buffers.Create("b"_iid, GetDataType<Float32>(), 4));
              return buffers.CopyBytes("a"_iid, "b"_iid, 16, 16, 0);
            }),
            2);
}

TEST(CpuCountersTest, AnAddressOutlivesTheNameOfItsCounter) {
  CpuCounters counters;
  ASSERT_THAT(counters.Add("c"_iid), IsOk());
  AtomicUInt32* const place = *counters.GetLink("c"_iid)->GetIf<AtomicUInt32*>();
  EXPECT_EQ(&*counters.Get("c"_iid), place);
  place->Exchange(7);
  counters.Reset();
  EXPECT_EQ(place->LoadRelaxed(), 7u);
  EXPECT_THAT(counters.Get("c"_iid), IsErrorWith(kIllegalArgumentError, "atomic identifier not found"));
}

class CpuTexturesTest : public testing::Test {
 protected:
  // A line of two texels.
  void Store(InternedId attr, Float32 first, Float32 second) {
    Float32 texels[] = {first, second};
    TextureBindData data;
    data._data = reinterpret_cast<Byte*>(texels);
    data._dataSize = sizeof(texels);
    data._dimensions = {2, 1, 1};
    data._numChannels = 1;
    data._format = TextureFormat::F32;
    ASSERT_THAT(textures.Store(attr, data), IsOk());
  }
  Float32 GetSecond(InternedId attr) const {
    return reinterpret_cast<const Float32*>(textures.Find(attr)->_samplingData._texels)[1];
  }

  CpuTextures textures;
};

TEST_F(CpuTexturesTest, NamesChangePlacesAndTexturesDoNot) {
  Store("a"_iid, 1, 2);
  Store("b"_iid, 3, 4);
  const TextureSamplerDataHelper* const first = textures.Find("a"_iid);
  ASSERT_THAT(textures.Swap("a"_iid, "b"_iid), IsOk());
  EXPECT_EQ(textures.Find("b"_iid), first);
  EXPECT_EQ(GetSecond("a"_iid), 4);
  EXPECT_THAT(textures.Swap("a"_iid, "c"_iid), IsErrorWith(kIllegalArgumentError, "buffer two could not be found"));
}

TEST_F(CpuTexturesTest, BytesAreCopiedBetweenTextures) {
  Store("a"_iid, 1, 2);
  Store("b"_iid, 3, 4);
  ASSERT_THAT(textures.CopyBytes("a"_iid, "b"_iid, 4, 0, 4), IsOk());
  EXPECT_EQ(GetSecond("b"_iid), 1);
  EXPECT_THAT(textures.CopyBytes("a"_iid, "b"_iid, 8, 0, 4),
              IsErrorWith(kIllegalArgumentError, "bytesCount + targetBytesOffset is larger than target texture size."));
}

TEST_F(CpuTexturesTest, OneThatIsFreedHasNoName) {
  Store("a"_iid, 1, 2);
  const TextureSamplerDataHelper* const sampler = textures.Find("a"_iid);
  ASSERT_THAT(textures.EraseName("a"_iid), IsOk());
  textures.Free(sampler);
  EXPECT_EQ(textures.Find("a"_iid), nullptr);
  EXPECT_THAT(textures.Read("a"_iid), IsErrorWith(kIllegalArgumentError, "texture sampler identifier not found"));
}

class CpuHandOverTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto kernelClass = Class::Create<ScaleKernel<PlainForm>>("net.ostra.test.scale"_id);
    ASSERT_THAT(kernelClass, IsOk());
    ASSERT_THAT(kernel.CreateObject(**kernelClass), IsOk());
    ASSERT_THAT(buffers.Store("values"_iid, MakeArray<Float32>({1, 2})), IsOk());
    ASSERT_THAT(kernel.bufferLinks.SetData("values"_iid, *CpuBuffers::GetLink(buffers.GetNames(), "values"_iid)),
                IsOk());
    ASSERT_THAT(kernel.uniforms.SetValue("factor"_iid, Float32(3)), IsOk());
  }
  Result<void> Update() { return CpuHandOver(kernel, "k"_iid).Update(noises); }
  // What the kernel object holds.
  Int GetHeldCount() const {
    const auto name = CString::Create("values");
    return static_cast<const Block<Generic>*>(kernel.kernel->GetKernelParameterMap().Find(*name)->address)->GetCount();
  }

  CpuKernel kernel;
  CpuBuffers buffers;
  CpuNoises noises;
};

TEST_F(CpuHandOverTest, AKernelComputesWithWhatItWasGiven) {
  ASSERT_THAT(Update(), IsOk());
  ASSERT_THAT(kernel.kernel->Kernel({1, 0, 0}, {1, 0, 0}, {0, 0, 0}), IsOk());
  EXPECT_THAT(GetElements<Float32>(ReadElements(*buffers.Find("values"_iid), 0, -1)), ElementsAre(1, 6));
}

TEST_F(CpuHandOverTest, WhatIsNoLongerLinkedIsTakenBack) {
  ASSERT_THAT(Update(), IsOk());
  EXPECT_EQ(GetHeldCount(), 2);
  ASSERT_THAT(kernel.bufferLinks.EraseData("values"_iid), IsOk());
  ASSERT_THAT(Update(), IsOk());
  EXPECT_EQ(GetHeldCount(), 0);
}

TEST_F(CpuHandOverTest, AResourceThatGoesIsTakenBackAtOnce) {
  ASSERT_THAT(Update(), IsOk());
  CpuHandOver(kernel, "k"_iid).TakeBack(&kernel);
  EXPECT_EQ(GetHeldCount(), 2);
  CpuHandOver(kernel, "k"_iid).TakeBack(buffers.Find("values"_iid));
  EXPECT_EQ(GetHeldCount(), 0);
}

TEST_F(CpuHandOverTest, ABufferThatHasMovedIsGivenAgain) {
  ASSERT_THAT(Update(), IsOk());
  const auto moved = buffers.Resize("values"_iid, 5);
  ASSERT_THAT(moved, IsOk());
  CpuHandOver(kernel, "k"_iid).UpdateMoved(*moved);
  EXPECT_EQ(GetHeldCount(), 5);
}

TEST(CpuDispatcherTest, AStopIsToldBeforeTheMissingKernel) {
  const InternedId id = "k"_iid;
  CpuDispatcher dispatcher;
  EXPECT_THAT(dispatcher.Run({nullptr, id}, {1, 1, 1}), IsErrorWith(kIllegalStateError, "no active kernel set"));
  dispatcher.RequestStop();
  EXPECT_THAT(dispatcher.Run({nullptr, id}, {1, 1, 1}),
              IsErrorWith(kIllegalStateError, "The dispatch of the kernel \"k\" was stopped."));
  dispatcher.ForgetStop();
  EXPECT_THAT(dispatcher.Run({nullptr, id}, {1, 1, 1}), IsErrorWith(kIllegalStateError, "no active kernel set"));
}

TEST(CpuDispatcherTest, WhatFailsHasNoTime) {
  const InternedId id = "k"_iid;
  CpuDispatcher dispatcher;
  dispatcher.SetMeasured(true);
  EXPECT_FALSE(dispatcher.Run({nullptr, id}, {1, 1, 1}).IsOk());
  EXPECT_TRUE(dispatcher.TakeTimes().IsEmpty());
}

TEST(CpuKernelTableTest, AKernelWhoseClassIsNotThereIsNotAdded) {
  CpuKernelTable kernels;
  const auto file = Url::Create("net.ostra.test.nowhere.krn");
  ASSERT_THAT(file, IsOk());
  EXPECT_FALSE(kernels.Add("k"_iid, *file).IsOk());
  EXPECT_FALSE(kernels.Has("k"_iid));
  EXPECT_EQ(kernels.FindActive().kernel, nullptr);
  EXPECT_THAT(kernels.Copy("k"_iid, "l"_iid), IsErrorWith(kIllegalArgumentError, "source kernel could not be found"));
}

}  // namespace
}  // namespace ostra::test
