// Textures of the CPU program: how long samplers live, who is linked to them, and when kernels are given them.
#include "tests/parallelprogram/texture_program_fixture.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

class TextureLifetimeTest : public TextureProgramTest {
 protected:
  // What the active kThreeSamplers kernel is given.
  ThreeSamplers Look() {
    SeenSamplers() = {};
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    return SeenSamplers();
  }
  void LinkTexture(InternedId texture, InternedId parameter) {
    ASSERT_THAT(program->SetTextureToActiveKernel(texture, parameter), IsOk());
  }
  Bool HasTexture(InternedId id) { return program->GetTextureData(id, {0, 0, 0}, {0, 0, 0}).IsOk(); }
  static Values ReadTexels(const TextureSamplerDataHelper& sampler) {
    Values values(static_cast<std::size_t>(sampler._samplingData._dataSize / 4));
    MemCopy(values.data(), sampler._samplingData._texels, sampler._samplingData._dataSize);
    return values;
  }
};

TEST_F(TextureLifetimeTest, HandlesAreNullForAStoredTextureToo) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  const auto sampler = program->GetTextureSamplerHandle("a"_iid);
  const auto texture = program->GetTextureHandle("a"_iid);
  const auto samplerItem = program->GetTextureSamplerCacheRef("a"_iid);
  const auto textureItem = program->GetTextureCacheRef("a"_iid);
  ASSERT_THAT(sampler, IsOk());
  ASSERT_THAT(texture, IsOk());
  ASSERT_THAT(samplerItem, IsOk());
  ASSERT_THAT(textureItem, IsOk());
  EXPECT_FALSE(*sampler);
  EXPECT_FALSE(*texture);
  EXPECT_FALSE(*samplerItem);
  EXPECT_FALSE(*textureItem);
}

TEST_F(TextureLifetimeTest, CreatingClearsTheCallersTexelPointerEvenWhenItFails) {
  const Texture texture = MakeCountingTexture({4, 1, 1});
  TextureBindData bindData = texture.GetBindData();
  bindData._dimensions = {0, 1, 1};
  EXPECT_THAT(program->CreateTexture("a"_iid, bindData),
              IsErrorWith(kIllegalArgumentError, "_dimensions in texBindData have to be larger or equal to 1!"));
  EXPECT_EQ(bindData._data, nullptr);
  EXPECT_FALSE(HasTexture("a"_iid));
}

TEST_F(TextureLifetimeTest, WhatIsReadBackIsACopyOfItsOwn) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  AddTextureKernel("any"_iid, kAnySampler);
  const TextureSamplerDataHelper* sampler = GetSampler("a"_iid);
  const auto data = program->GetTextureData("a"_iid, {0, 0, 0}, {1, 1, 1});
  ASSERT_THAT(data, IsOk());
  const auto* record = data->GetIf<SamplingData>();
  ASSERT_TRUE(record && sampler);
  EXPECT_NE(record->_texels, sampler->_samplingData._texels);
  EXPECT_EQ(record->_dimensions, sampler->_samplingData._dimensions);
  EXPECT_EQ(record->_numChannels, 1u);
  EXPECT_EQ(record->_format, TextureFormat::F32);
  const auto readRecord = [record] {
    Values values(4);
    MemCopy(values.data(), record->_texels, 16);
    return values;
  };
  const Texture other = MakeFloatTexture({4, 1, 1}, 1, {9, 8, 7, 6});
  ASSERT_THAT(program->UpdateTextureBindData("a"_iid, other.GetBindData()), IsOk());
  EXPECT_EQ(readRecord(), (Values{0, 1, 2, 3}));
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_EQ(readRecord(), (Values{0, 1, 2, 3}));
}

TEST_F(TextureLifetimeTest, AReplacedTextureStaysWithItsKernelsUntilTheyAreLinkedAgain) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  AddTextureKernel("any"_iid, kAnySampler);
  const TextureSamplerDataHelper* old = GetSampler("a"_iid);
  ASSERT_THAT(Store("a"_iid, MakeFloatTexture({2, 1, 1}, 1, {9, 8})), IsOk());
  EXPECT_EQ(ReadTexture("a"_iid), (Values{9, 8}));
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_EQ(SeenSampler(), old);
  EXPECT_EQ(ReadTexels(*old), (Values{0, 1, 2, 3}));
  // Deleting the name deletes the texture that has it now.
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_EQ(SeenSampler(), old);
  EXPECT_EQ(ReadTexels(*old), (Values{0, 1, 2, 3}));
  ASSERT_THAT(Store("a"_iid, MakeFloatTexture({2, 1, 1}, 1, {7, 6})), IsOk());
  EXPECT_EQ(ReadTexels(*GetSampler("a"_iid)), (Values{7, 6}));
}

TEST_F(TextureLifetimeTest, AKernelIsGivenTheSameAddressOnEveryUpdate) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  AddTextureKernel("any"_iid, kAnySampler);
  const TextureSamplerDataHelper* sampler = GetSampler("a"_iid);
  ASSERT_TRUE(sampler);
  const Texture other = MakeFloatTexture({4, 1, 1}, 1, {9, 8, 7, 6});
  for (Int i = 0; i < 50; ++i) {
    const auto name = InternedId::Create("other@", i);
    ASSERT_THAT(name, IsOk());
    ASSERT_THAT(Store(*name, other), IsOk());
    ASSERT_THAT(program->UpdateTextureBindData("a"_iid, other.GetBindData()), IsOk());
    SeenSampler() = nullptr;
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_EQ(SeenSampler(), sampler);
  }
  EXPECT_EQ(ReadTexels(*sampler), (Values{9, 8, 7, 6}));
}

TEST_F(TextureLifetimeTest, LinksOfSourceAndCopyChangeIndependently) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("b"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  AddTextureKernel("source"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "one"_iid);
  LinkTexture("b"_iid, "three"_iid);
  const auto [a, none, b] = Look();
  ASSERT_TRUE(a && !none && b && a != b);
  ASSERT_THAT(program->CopyKernel("source"_iid, "copy"_iid, true), IsOk());
  LinkTexture("b"_iid, "one"_iid);
  program->SetActiveKernel("copy"_iid);
  EXPECT_EQ(Look(), (ThreeSamplers{a, nullptr, b}));
  LinkTexture("a"_iid, "two"_iid);
  EXPECT_EQ(Look(), (ThreeSamplers{a, a, b}));
  program->SetActiveKernel("source"_iid);
  EXPECT_EQ(Look(), (ThreeSamplers{b, nullptr, b}));
}

TEST_F(TextureLifetimeTest, DeletingRemovesTheLinksUnderAllNamesAndNoOthers) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("keep"_iid, MakeFloatTexture({2, 1, 1}, 1, {9, 8})), IsOk());
  AddTextureKernel("first"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "one"_iid);
  LinkTexture("keep"_iid, "two"_iid);
  LinkTexture("a"_iid, "three"_iid);
  AddTextureKernel("second"_iid, kThreeSamplers);
  LinkTexture("keep"_iid, "one"_iid);
  LinkTexture("a"_iid, "two"_iid);
  LinkTexture("keep"_iid, "three"_iid);
  const TextureSamplerDataHelper* keep = Look()[0];
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_EQ(Look(), (ThreeSamplers{keep, nullptr, keep}));
  program->SetActiveKernel("first"_iid);
  EXPECT_EQ(Look(), (ThreeSamplers{nullptr, keep, nullptr}));
  EXPECT_FALSE(HasTexture("a"_iid));
  EXPECT_EQ(ReadTexture("keep"_iid), (Values{9, 8}));
  EXPECT_EQ(ReadTexels(*keep), (Values{9, 8}));
}

TEST_F(TextureLifetimeTest, DeletingFreesTheTexture) {
  const Texture texture = MakeCountingTexture({4, 1, 1});
  ASSERT_THAT(Store("keep"_iid, texture), IsOk());
  ASSERT_THAT(Store("a"_iid, texture), IsOk());
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  const Int before = AllocationFaults::GetLiveCount();
  ASSERT_THAT(Store("a"_iid, texture), IsOk());
  EXPECT_GT(AllocationFaults::GetLiveCount(), before);
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before);
}

// What the kernel itself holds. The test does not clear it between the updates.
TEST_F(TextureLifetimeTest, ATextureThatWasDeletedIsTakenFromTheKernelsThatHoldIt) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("keep"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  SeenSamplers() = {};
  AddTextureKernel("three"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "one"_iid);
  LinkTexture("keep"_iid, "two"_iid);
  LinkTexture("a"_iid, "three"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  const TextureSamplerDataHelper* keep = SeenSamplers()[1];
  ASSERT_TRUE(SeenSamplers()[0] && keep && SeenSamplers()[2]);
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_EQ(SeenSamplers(), (ThreeSamplers{nullptr, keep, nullptr}));
  ASSERT_THAT(Store("new"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_EQ(SeenSamplers(), (ThreeSamplers{nullptr, keep, nullptr}));
}

TEST_F(TextureLifetimeTest, ATextureIsTakenFromAKernelThatHasBeenLinkedToAnotherSinceItsLastUpdate) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("b"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  SeenSamplers() = {};
  AddTextureKernel("three"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "one"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_TRUE(SeenSamplers()[0]);
  LinkTexture("b"_iid, "one"_iid);
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_EQ(SeenSamplers(), ThreeSamplers{});
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  AddTextureKernel("any"_iid, kAnySampler);
  EXPECT_EQ(SeenSamplers()[0], GetSampler("b"_iid));
}

TEST_F(TextureLifetimeTest, ATextureThatWasSwappedToAnotherNameIsTakenBackWithThatName) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("b"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  SeenSamplers() = {};
  AddTextureKernel("three"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "one"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  const TextureSamplerDataHelper* first = SeenSamplers()[0];
  ASSERT_TRUE(first);
  ASSERT_THAT(program->SwapTextures("a"_iid, "b"_iid), IsOk());
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_EQ(SeenSamplers()[0], first);
  ASSERT_THAT(program->DeleteTexture("b"_iid, false), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_EQ(SeenSamplers()[0], nullptr);
}

TEST_F(TextureLifetimeTest, ALinkThatHoldsNoTextureIsRefused) {
  AddTextureKernel("any"_iid, kAnySampler);
  const auto none = Data::Create(static_cast<TextureSamplerDataHelper*>(nullptr));
  ASSERT_THAT(none, IsOk());
  EXPECT_THAT(program->SetKernelTextureLink("any"_iid, *none),
              IsErrorWith(kIllegalArgumentError, "The link for the kernel's texture \"any\" holds no texture."));
  SeenSampler() = nullptr;
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_EQ(SeenSampler(), nullptr);
}

// Kernels that were copied share their links until one of them changes, and every table can be the one that memory does
// not suffice for.
TEST_F(TextureLifetimeTest, WhenMemoryRunsOutATextureIsDeletedEverywhereOrNowhere) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  AddTextureKernel("other"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "two"_iid);
  ASSERT_THAT(program->CopyKernel("other"_iid, "otherCopy"_iid, true), IsOk());
  AddTextureKernel("first"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "one"_iid);
  LinkTexture("a"_iid, "three"_iid);
  const TextureSamplerDataHelper* a = Look()[0];
  ASSERT_THAT(program->CopyKernel("first"_iid, "second"_iid, true), IsOk());
  ASSERT_THAT(program->CopyKernel("first"_iid, "third"_iid, true), IsOk());
  const auto expectLinks = [this](const TextureSamplerDataHelper* sampler) {
    for (const InternedId kernel : {"first"_iid, "second"_iid, "third"_iid}) {
      program->SetActiveKernel(kernel);
      EXPECT_EQ(Look(), (ThreeSamplers{sampler, nullptr, sampler}));
    }
    for (const InternedId kernel : {"other"_iid, "otherCopy"_iid}) {
      program->SetActiveKernel(kernel);
      EXPECT_EQ(Look(), (ThreeSamplers{nullptr, sampler, nullptr}));
    }
    EXPECT_EQ(HasTexture("a"_iid), sampler != nullptr);
  };
  // A failed call leaves copies of some tables, which the next one need not make; so each n is tried until it succeeds.
  Int failures = 0;
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    AllocationFaults::FailNth(n);
    const auto result = program->DeleteTexture("a"_iid, false);
    AllocationFaults::Disable();
    if (result) break;
    ++failures;
    ASSERT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    expectLinks(a);
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(failures, 0);
  expectLinks(nullptr);
}

// One parameter that takes any address, fed from every table: the last phase of an update decides what it holds.
TEST_F(TextureLifetimeTest, TexturesAreHandedOverAfterUniformsAndBuffersAndBeforeCounters) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  AddTextureKernel("any"_iid, kAnySampler);
  const void* sampler = GetSampler("a"_iid);
  AddKernel("typed"_iid, kTyped);
  const auto look = [this]() -> const Int32* {
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
    return TypedValues::seen.pointer;
  };
  ASSERT_THAT(program->SetUniform("pointer"_iid, Int32(5)), IsOk());
  EXPECT_EQ(*look(), 5);
  StoreBuffer<Int32>("pointer"_iid, {7});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("pointer"_iid), IsOk());
  EXPECT_EQ((*reinterpret_cast<const Block<Int32>*>(look()))[0], 7);
  LinkTexture("a"_iid, "pointer"_iid);
  EXPECT_EQ(look(), sampler);
  LinkCounter("pointer"_iid);
  ASSERT_THAT(program->SetAtomicCounter("pointer"_iid, 42), IsOk());
  EXPECT_EQ(*look(), 42);
}

TEST_F(TextureLifetimeTest, ABufferThatFailsEndsTheUpdateBeforeTextures) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(program->CreateUniformBuffer("empty"_iid, GetDataType<Float32>(), 0), IsOk());
  AddTextureKernel("three"_iid, kThreeSamplers);
  LinkTexture("a"_iid, "one"_iid);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("empty"_iid), IsOk());
  SeenSamplers() = {};
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "stored data block has size 0"));
  EXPECT_EQ(SeenSamplers(), ThreeSamplers{});
}

}  // namespace
}  // namespace ostra::test
