// What clients do with a program, unchanged on both classes: buffers, links, counters, textures, dispatches, messages.
#include <cmath>
#include <fstream>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/textures/sampling_data.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

constexpr const char* kSaxpy = "net.ostra.kernels.saxpy.krn";
constexpr const char* kIndex = "net.ostra.kernels.index.krn";
using Floats = std::vector<Float32>;
using testing::ElementsAre;

class ProgramParityTest : public BothProgramsTest {
 protected:
  // y = a * x + y over `count` elements.
  void RunSaxpy(Float32 a, UInt32 count) {
    ASSERT_THAT(program->SetUniform("a"_iid, Float32(a)), IsOk());
    ASSERT_THAT(program->SetUniform("count"_iid, UInt32(count)), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(count, 1, 1, false), IsOk());
  }
  void LinkSaxpy(const Floats& x, const Floats& y) {
    AddKernel(*program, "saxpy"_iid, kSaxpy);
    StoreBuffer(*program, "x"_iid, x);
    StoreBuffer(*program, "y"_iid, y);
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("x"_iid), IsOk());
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("y"_iid), IsOk());
  }
  Floats Read(InternedId id) { return ReadBuffer<Float32>(*program, id); }
};

TEST_P(ProgramParityTest, StoredElementsAreReadBackWholeAndInParts) {
  StoreBuffer<Float32>(*program, "a"_iid, {1, 2, 3, 4});
  EXPECT_THAT(Read("a"_iid), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(GetElements<Float32>(program->GetGlobalBufferData("a"_iid, 1, 3)), ElementsAre(2, 3, 4));
  EXPECT_THAT(GetElements<Float32>(program->GetGlobalBufferData("a"_iid, 2, -1)), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, 1, 4),
              IsErrorWith(kIllegalArgumentError, "Requested data range is out of bounds"));
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, -1, 2),
              IsErrorWith(kIllegalArgumentError, "Requested data range is out of bounds"));
}

TEST_P(ProgramParityTest, LargeBuffersKeepEveryByte) {
  std::vector<UInt32> values(9'000'001);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<UInt32>(i * 2654435761u);
  StoreBuffer(*program, "a"_iid, values);
  EXPECT_TRUE(ReadBuffer<UInt32>(*program, "a"_iid) == values);
  const std::vector<UInt32> part(values.begin() + 5'000'000, values.begin() + 5'000'010);
  EXPECT_EQ(GetElements<UInt32>(program->GetGlobalBufferData("a"_iid, 5'000'000, 10)), part);
}

TEST_P(ProgramParityTest, VectorsOfThreeLieTightlyPacked) {
  StoreBuffer<Vec3<Float32>>(*program, "a"_iid, {{1, 2, 3}, {4, 5, 6}});
  EXPECT_THAT(Read("a"_iid), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_P(ProgramParityTest, CreatedBuffersHoldZerosAlsoTheSecondTime) {
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 3), IsOk());
  EXPECT_THAT(Read("a"_iid), ElementsAre(0, 0, 0));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, MakeArray<Float32>({7, 8})), IsOk());
  EXPECT_THAT(Read("a"_iid), ElementsAre(0, 7, 8));
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 3), IsOk());
  EXPECT_THAT(Read("a"_iid), ElementsAre(0, 0, 0));
}

TEST_P(ProgramParityTest, StoringTheSameBytesAgainUndoesWhatAKernelWrote) {
  LinkSaxpy({1, 2}, {3, 4});
  RunSaxpy(1, 2);
  EXPECT_THAT(Read("y"_iid), ElementsAre(4, 6));
  StoreBuffer<Float32>(*program, "y"_iid, {3, 4});
  EXPECT_THAT(Read("y"_iid), ElementsAre(3, 4));
}

TEST_P(ProgramParityTest, UpdatesBeyondTheEndAreRefused) {
  StoreBuffer<Float32>(*program, "a"_iid, {1, 2, 3});
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 2, MakeArray<Float32>({1, 2})),
              IsErrorWith(kIllegalArgumentError, "Data update does not fit into existing buffer"));
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, -1, MakeArray<Float32>({1})),
              IsErrorWith(kIllegalArgumentError, "Data update does not fit into existing buffer"));
  EXPECT_THAT(Read("a"_iid), ElementsAre(1, 2, 3));
}

TEST_P(ProgramParityTest, AGrownBufferKeepsItsElementsAndAddsZeros) {
  StoreBuffer<Float32>(*program, "a"_iid, {1, 2, 3});
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 5, false), IsOk());
  EXPECT_THAT(Read("a"_iid), ElementsAre(1, 2, 3, 0, 0));
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 2, true), IsOk());
  EXPECT_THAT(Read("a"_iid), ElementsAre(1, 2));
}

TEST_P(ProgramParityTest, ElementsAreCopiedBetweenBuffers) {
  StoreBuffer<Float32>(*program, "a"_iid, {1, 2, 3, 4});
  StoreBuffer<Float32>(*program, "b"_iid, {9, 9, 9});
  StoreBuffer<Int32>(*program, "c"_iid, {1});
  ASSERT_THAT(program->CopyBufferData("a"_iid, "b"_iid, 2, 1, 1), IsOk());
  EXPECT_THAT(Read("b"_iid), ElementsAre(9, 2, 3));
  EXPECT_THAT(program->CopyBufferData("a"_iid, "c"_iid, 1, 0, 0),
              IsErrorWith(kIllegalArgumentError, "Buffers have mismatching data types"));
  EXPECT_THAT(program->CopyBufferData("a"_iid, "b"_iid, 2, 3, 0),
              IsErrorWith(kIllegalArgumentError, "count and offset out of range for source buffer"));
  EXPECT_THAT(program->CopyBufferData("a"_iid, "b"_iid, 2, 0, 2),
              IsErrorWith(kIllegalArgumentError, "count and offset out of range for target buffer"));
  EXPECT_THAT(program->CopyBufferData("a"_iid, "x"_iid, 1, 0, 0),
              IsErrorWith(kIllegalArgumentError, "target buffer could not be found"));
  ASSERT_THAT(program->CopyBufferDataBytes("a"_iid, "c"_iid, 4, 8, 0), IsOk());
  EXPECT_THAT(ReadBuffer<Float32>(*program, "c"_iid), ElementsAre(3));
}

TEST_P(ProgramParityTest, SwappedLinksHold) {
  LinkSaxpy({1, 2}, {10, 20});
  RunSaxpy(1, 2);
  EXPECT_THAT(Read("y"_iid), ElementsAre(11, 22));
  ASSERT_THAT(program->SwapBuffers("x"_iid, "y"_iid), IsOk());
  RunSaxpy(1, 2);  // x = y + x
  EXPECT_THAT(Read("x"_iid), ElementsAre(12, 24));
  EXPECT_THAT(Read("y"_iid), ElementsAre(11, 22));
  EXPECT_THAT(GetElements<Float32>(program->GetKernelBufferData("y"_iid)), ElementsAre(12, 24));
  ASSERT_THAT(program->SwapBuffers("x"_iid, "y"_iid), IsOk());
  RunSaxpy(1, 2);
  EXPECT_THAT(Read("y"_iid), ElementsAre(23, 46));
  EXPECT_THAT(program->SwapBuffers("z"_iid, "y"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer one could not be found"));
  EXPECT_THAT(program->SwapBuffers("x"_iid, "z"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer two could not be found"));
}

TEST_P(ProgramParityTest, BuffersAreLinkedUnderOtherNames) {
  AddKernel(*program, "saxpy"_iid, kSaxpy);
  StoreBuffer<Float32>(*program, "values"_iid, {1, 2});
  StoreBuffer<Float32>(*program, "sums"_iid, {10, 20});
  ASSERT_THAT(program->SetBufferToActiveKernel("values"_iid, "x"_iid), IsOk());
  auto link = program->GetGlobalBufferLink("sums"_iid);
  ASSERT_THAT(link, IsOk());
  ASSERT_THAT(program->SetKernelBufferLink("y"_iid, *link), IsOk());
  RunSaxpy(3, 2);
  EXPECT_THAT(Read("sums"_iid), ElementsAre(13, 26));
  ASSERT_THAT(program->SetGlobalBufferLink("other"_iid, *link), IsOk());
  EXPECT_THAT(Read("other"_iid), ElementsAre(13, 26));
}

TEST_P(ProgramParityTest, EveryDispatchSeesTheValuesOfItsUpdate) {
  LinkSaxpy({1}, {0});
  RunSaxpy(1, 1);
  RunSaxpy(10, 1);
  RunSaxpy(100, 1);
  EXPECT_THAT(Read("y"_iid), ElementsAre(111));
}

TEST_P(ProgramParityTest, ALongLineIsOneRange) {
  constexpr UInt32 kLong = 3'000'000;
  AddKernel(*program, "index"_iid, kIndex);
  ASSERT_THAT(program->CreateUniformBuffer("values"_iid, GetDataType<UInt32>(), kLong), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(kLong)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(kLong, 1, 1, false), IsOk());
  const std::vector<UInt32> values = ReadBuffer<UInt32>(*program, "values"_iid);
  std::vector<UInt32> expected(kLong);
  for (UInt32 i = 0; i < kLong; ++i) expected[i] = i;
  EXPECT_TRUE(values == expected);
}

TEST_P(ProgramParityTest, GroupCountsMayComeFromABuffer) {
  constexpr UInt32 kCount = 600;
  AddKernel(*program, "index"_iid, kIndex);
  ASSERT_THAT(program->CreateUniformBuffer("values"_iid, GetDataType<UInt32>(), kCount), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(kCount)), IsOk());
  StoreBuffer<Vec4<Int32>>(*program, "arguments"_iid, {{9, 9, 9, 9}, {2, 1, 1, 0}});
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchIndirectKernel("arguments"_iid, 1, false), IsOk());
  const std::vector<UInt32> values = ReadBuffer<UInt32>(*program, "values"_iid);
  EXPECT_EQ(values[511], 511u);
  EXPECT_EQ(values[512], 0u);
  EXPECT_THAT(program->DispatchIndirectKernel("arguments"_iid, 2, false), IsErrorOfKind(kIllegalArgumentError));
}

TEST_P(ProgramParityTest, CountersStartAtZeroAndAreSet) {
  ASSERT_THAT(program->AddAtomicCounter("c"_iid, UInt32(9)), IsOk());
  EXPECT_EQ(*program->GetAtomicCounter("c"_iid), 0u);
  ASSERT_THAT(program->SetAtomicCounter("c"_iid, 41), IsOk());
  EXPECT_EQ(*program->GetAtomicCounter("c"_iid), 41u);
  ASSERT_THAT(program->AddAtomicCounter("c"_iid, UInt32(0)), IsOk());
  EXPECT_EQ(*program->GetAtomicCounter("c"_iid), 0u);
}

TEST_P(ProgramParityTest, KernelsAreKeptByName) {
  AddKernel(*program, "one"_iid, kSaxpy);
  AddKernel(*program, "two"_iid, kIndex);
  EXPECT_EQ(program->GetActiveKernelId(), "two"_iid);
  auto file = Url::Create("relative://" + std::string(kSaxpy));
  EXPECT_THAT(program->AddKernel("one"_iid, *file, true),
              IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
  EXPECT_EQ(program->GetActiveKernelId(), "two"_iid);
  program->SetActiveKernel("unknown"_iid);
  EXPECT_EQ(program->GetActiveKernelId(), "two"_iid);
  program->SetActiveKernel("one"_iid);
  EXPECT_EQ(program->GetActiveKernelId(), "one"_iid);
  EXPECT_TRUE(program->HasKernel("one"_iid));
  EXPECT_FALSE(program->HasKernel("unknown"_iid));
  EXPECT_EQ(program->GetProgramCount(*String::Create(kSaxpy)), 1);
  EXPECT_EQ(program->GetProgramCount(String()), 0);
  EXPECT_THAT(program->CopyKernel("one"_iid, "two"_iid, true),
              IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
}

TEST_P(ProgramParityTest, KernelsThatAreCompiledInTheBackgroundAreWaitedFor) {
  const InternedId ids[] = {"a"_iid, "b"_iid, "c"_iid, "d"_iid};
  auto file = Url::Create("relative://" + std::string(kSaxpy));
  for (const InternedId& id : ids) ASSERT_THAT(program->AddKernel(id, *file, false), IsOk());
  program->WaitForKernelCompile();
  StoreBuffer<Float32>(*program, "x"_iid, {1, 2});
  StoreBuffer<Float32>(*program, "y"_iid, {0, 0});
  for (const InternedId& id : ids) {
    program->SetActiveKernel(id);
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("x"_iid), IsOk());
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("y"_iid), IsOk());
    RunSaxpy(1, 2);
  }
  EXPECT_THAT(Read("y"_iid), ElementsAre(4, 8));
}

TEST_P(ProgramParityTest, DeletedBuffersAreUnknown) {
  StoreBuffer<Float32>(*program, "a"_iid, {1});
  ASSERT_THAT(program->DeleteUniformBuffer("a"_iid), IsOk());
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid), IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->DeleteUniformBuffer("a"_iid), IsOk());
}

TextureBindData Describe(const Floats& texels, UInt32 width, UInt32 height) {
  TextureBindData data;
  data._data = reinterpret_cast<const Byte*>(texels.data());
  data._dataSize = static_cast<Int64>(texels.size() * sizeof(Float32));
  data._dimensions = Vec3<UInt32>(width, height, 1);
  data._format = TextureFormat::F32;
  data._numChannels = 4;
  return data;
}

Floats MakeTexels(UInt32 width, UInt32 height) {
  Floats texels(std::size_t{width} * height * 4);
  for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i % 251) / 251;
  return texels;
}

Floats GetTexels(const Result<Data>& data) {
  EXPECT_THAT(data, IsOk());
  const auto* record = data ? data->GetIf<SamplingData>() : nullptr;
  if (!record) {
    ADD_FAILURE() << "The value is no texture.";
    return {};
  }
  Floats texels(static_cast<std::size_t>(record->_dataSize) / sizeof(Float32));
  MemCopy(texels.data(), record->_texels, record->_dataSize);
  return texels;
}

TEST_P(ProgramParityTest, TexturesAreReadBackAsTheyWereStored) {
  const Floats texels = MakeTexels(37, 19);
  TextureBindData data = Describe(texels, 37, 19);
  ASSERT_THAT(program->StoreTextureBindData("t"_iid, data, false), IsOk());
  constexpr Int32 kAll = 1 << 30;
  EXPECT_TRUE(GetTexels(program->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll))) == texels);

  const Floats others(texels.size(), 0.5f);
  ASSERT_THAT(program->UpdateTextureBindData("t"_iid, Describe(others, 37, 19)), IsOk());
  EXPECT_TRUE(GetTexels(program->GetTextureData("t"_iid, Vec3<Int32>(10), Vec3<Int32>(kAll))) == others);

  TextureBindData empty = Describe(texels, 37, 19);
  ASSERT_THAT(program->CreateTexture("t"_iid, empty), IsOk());
  EXPECT_TRUE(GetTexels(program->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll))) ==
              Floats(texels.size(), 0.0f));
}

TEST_P(ProgramParityTest, SwappedTexturesAreKnownByTheOtherName) {
  const Floats ones(4 * 4 * 4, 1.0f), twos(4 * 4 * 4, 2.0f);
  TextureBindData one = Describe(ones, 4, 4), two = Describe(twos, 4, 4);
  ASSERT_THAT(program->StoreTextureBindData("one"_iid, one, false), IsOk());
  ASSERT_THAT(program->StoreTextureBindData("two"_iid, two, false), IsOk());
  ASSERT_THAT(program->SwapTextures("one"_iid, "two"_iid), IsOk());
  constexpr Int32 kAll = 1 << 30;
  EXPECT_TRUE(GetTexels(program->GetTextureData("one"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll))) == twos);
  ASSERT_THAT(program->DeleteTexture("one"_iid, false), IsOk());
  EXPECT_FALSE(program->GetTextureData("one"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll)));
  EXPECT_TRUE(GetTexels(program->GetTextureData("two"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll))) == ones);
}

TEST_P(ProgramParityTest, KernelsSampleTextures) {
  constexpr UInt32 kSize = 16;
  AddKernel(*program, "rotate"_iid, "net.ostra.kernels.rotate.krn");
  const Floats grey(kSize * kSize * 4, 0.25f);
  TextureBindData data = Describe(grey, kSize, kSize);
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, data, false), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  ASSERT_THAT(program->CreateUniformBuffer("result"_iid, GetDataType<Vector4d32>(), kSize * kSize), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("result"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("width"_iid, Int32(kSize)), IsOk());
  ASSERT_THAT(program->SetUniform("height"_iid, Int32(kSize)), IsOk());
  ASSERT_THAT(program->SetUniform("angle"_iid, Float32(0.3f)), IsOk());
  ASSERT_THAT(program->SetUniform("scale"_iid, Float32(1)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(kSize, kSize, 1, false), IsOk());
  const Float32 encoded = 1.055f * std::pow(0.25f, 1.0f / 2.4f) - 0.055f;
  for (const Float32 value : Read("result"_iid)) ASSERT_NEAR(value, encoded, 1e-5f);
}

TEST_P(ProgramParityTest, AProgramThatWasResetHasNothing) {
  LinkSaxpy({1}, {2});
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_TRUE(program->GetActiveKernelId().IsEmpty());
  EXPECT_FALSE(program->HasKernel("saxpy"_iid));
  EXPECT_THAT(program->GetGlobalBufferData("x"_iid), IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  // The GPU program needs a context again; on the CPU nothing happens.
  ASSERT_THAT(program->Init(*Url::Create(OSTRA_TEST_RESOURCES), nullptr, 0, true), IsOk());
  LinkSaxpy({1}, {2});
  RunSaxpy(5, 1);
  EXPECT_THAT(Read("y"_iid), ElementsAre(7));
}

OSTRA_TEST_BOTH_PROGRAMS(ProgramParityTest);

// What the two classes do differently, each by its own rule.
class ProgramDifferencesTest : public BothProgramsTest {};

TEST_P(ProgramDifferencesTest, ZeroExtents) {
  AddKernel(*program, "index"_iid, kIndex);
  ASSERT_THAT(program->CreateUniformBuffer("values"_iid, GetDataType<UInt32>(), 4), IsOk());
  StoreBuffer<UInt32>(*program, "values"_iid, {7, 7, 7, 7});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(4)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(8, 8, 0, false), IsOk());
  // The CPU raises every extent to one work group.
  if (IsGpu())
    EXPECT_THAT(ReadBuffer<UInt32>(*program, "values"_iid), ElementsAre(7, 7, 7, 7));
  else
    EXPECT_THAT(ReadBuffer<UInt32>(*program, "values"_iid), ElementsAre(0, 1, 2, 3));
}

TEST_P(ProgramDifferencesTest, BuffersThatShrinkOrAreEmpty) {
  StoreBuffer<Float32>(*program, "a"_iid, {1, 2, 3});
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 2, false), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>(*program, "a"_iid).size(), IsGpu() ? 3u : 2u);
  if (IsGpu()) {
    EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, 0, true), IsOk());
    EXPECT_THAT(program->CreateUniformBuffer("b"_iid, GetDataType<Float32>(), 0), IsErrorOfKind(kIllegalArgumentError));
  } else {
    EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, 0, true), IsErrorOfKind(kIllegalArgumentError));
    EXPECT_THAT(program->CreateUniformBuffer("b"_iid, GetDataType<Float32>(), 0), IsOk());
  }
}

TEST_P(ProgramDifferencesTest, LongerUpdatesReplaceABufferOfTheGpu) {
  StoreBuffer<Float32>(*program, "a"_iid, {1});
  const Result<void> updated = program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Float32>({4, 5}));
  if (!IsGpu()) {
    EXPECT_THAT(updated, IsErrorOfKind(kIllegalArgumentError));
    return;
  }
  ASSERT_THAT(updated, IsOk());
  EXPECT_THAT(ReadBuffer<Float32>(*program, "a"_iid), ElementsAre(4, 5));
}

TEST_P(ProgramDifferencesTest, BytesAreCopiedInWordsOnTheGpu) {
  StoreBuffer<UInt32>(*program, "a"_iid, {0x11111111, 0x22222222});
  StoreBuffer<UInt32>(*program, "b"_iid, {0, 0});
  ASSERT_THAT(program->CopyBufferDataBytes("a"_iid, "b"_iid, 6, 0, 0), IsOk());
  EXPECT_THAT(ReadBuffer<UInt32>(*program, "b"_iid), ElementsAre(0x11111111, IsGpu() ? 0 : 0x2222));
  StoreBuffer<UInt8>(*program, "c"_iid, {1, 2});
  const Result<void> copied = program->CopyBufferDataBytes("c"_iid, "b"_iid, 2, 0, 0);
  if (IsGpu())
    EXPECT_THAT(copied,
                IsErrorWith(kIllegalArgumentError, "source buffer datatype's size must be a multiple of 16 bits"));
  else
    EXPECT_THAT(copied, IsOk());
}

TEST_P(ProgramDifferencesTest, CopiedKernels) {
  AddKernel(*program, "one"_iid, kSaxpy);
  ASSERT_THAT(program->CopyKernel("one"_iid, "two"_iid, true), IsOk());
  EXPECT_EQ(program->GetActiveKernelId(), IsGpu() ? "two"_iid : "one"_iid);
  EXPECT_EQ(program->GetProgramCount(*String::Create(kSaxpy)), IsGpu() ? 2 : 1);
}

OSTRA_TEST_BOTH_PROGRAMS(ProgramDifferencesTest);

// What only the GPU program does.
class GpuProgramTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
    program = MakeProgram(kGpuProgramClass);
    ASSERT_TRUE(program);
  }
  ParallelProgramRef program;
};

TEST_F(GpuProgramTest, AKernelThatDoesNotCompileSaysWhereAndStaysInTheTable) {
  const std::string path = testing::TempDir() + "net.ostra.test.broken.krn";
  std::ofstream(path) << "#define KERNELINPUTS \\\n(Block<Float32>) y\n\n"
                         "OSTRA_PARALLEL_KERNEL(Broken, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(y)[0] = nothing;\n}\n"
                         "OSTRA_PARALLEL_KERNEL_END\n";
  SetDiagnosticStreamLevel(DiagnosticLevel::Critical);
  ASSERT_THAT(program->AddKernel("broken"_iid, *Url::Create(path), true), IsOk());
  SetDiagnosticStreamLevel(DiagnosticLevel::Warning);
  EXPECT_TRUE(program->HasKernel("broken"_iid));
  for (const Result<void>& result : {program->UpdateUniforms(), program->DispatchKernel(1, 1, 1, false)}) {
    ASSERT_FALSE(result);
    EXPECT_EQ(result.GetError().GetKind(), kIllegalStateError);
    EXPECT_THAT(std::string(result.GetError().GetMessage().GetView()),
                testing::AllOf(testing::StartsWith("The kernel \"broken\" cannot run because it could not be compiled"),
                               testing::HasSubstr("net.ostra.test.broken.krn:6: error: ")));
  }
  AddKernel(*program, "index"_iid, kIndex);
  StoreBuffer<UInt32>(*program, "values"_iid, {9, 9});
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(2)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());  // the buffer of the parameter's name is found without a link
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_THAT(ReadBuffer<UInt32>(*program, "values"_iid), ElementsAre(0, 1));
}

TEST_F(GpuProgramTest, MemoryIsKnown) {
  Int64 available = 0, total = 0;
  EXPECT_TRUE(program->GetMemoryInformation(available, total));
  EXPECT_GT(total, 0);
  EXPECT_LE(available, total);
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget().second, total);
}

}  // namespace
}  // namespace ostra::test
