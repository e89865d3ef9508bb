// Textures of the GPU program become storage images when a kernel writes them, and not before; results do not change.
#include "parallelprogram/program/recorded_dispatches_interface.h"
#include "parallelprogram/textures/sampling_data.h"
#include "parallelprogram/textures/texture_bind_data.h"
#include "tests/gpu/counted_programs_fixture.h"

namespace ostra::test {
namespace {

// One texel of `target` becomes that of `source` and one more.
constexpr const char* kCount = R"(#define KERNELINPUTS \
(const TextureSampler_2D_R_F32_POINT) source, \
(TextureSampler_2D_R_F32_POINT) target

GROUPSIZE(1, 1, 1)

OSTRA_PARALLEL_KERNEL(Count, KERNELINPUTS)
{
	StoreImage(target, int2(0, 0), FetchTexture(source, int2(0, 0)) + 1.0);
}
OSTRA_PARALLEL_KERNEL_END
)";

constexpr UInt32 kSize = 4;

class GpuTextureUsesTest : public CountedProgramsTest {
 protected:
  void SetUp() override {
    CountedProgramsTest::SetUp();
    if (IsSkipped()) return;
    g_storageImages = g_images = 0;
    g_create = vkCreateImage;
    _create.emplace(vkCreateImage, &Create);
    _program = MakeProgram(kCount);
  }
  void TearDown() override {
    _create.reset();
    _program = {};
    CountedProgramsTest::TearDown();
  }

  void Store(InternedId id, Float32 value) { Store(id, kSize, std::vector<Float32>(kSize * kSize, value)); }
  void Store(InternedId id, UInt32 size, const std::vector<Float32>& texels) {
    TextureBindData data;
    data._dimensions = Vec3<UInt32>(size, size, 1);
    data._format = TextureFormat::F32;
    data._numChannels = 1;
    data._filter = TextureFilter::POINT;
    data._dataSize = Int64{4} * size * size;
    data._data = reinterpret_cast<const Byte*>(texels.data());
    Take(_program->StoreTextureBindData(id, data, false));
  }
  void Link(InternedId source, InternedId target) {
    Take(_program->SetTextureToActiveKernel(source, "source"_iid));
    Take(_program->SetTextureToActiveKernel(target, "target"_iid));
    Take(_program->UpdateUniforms());
  }
  void Run() {
    Take(_program->AddTextureMemoryBarrier());
    Take(_program->DispatchKernel(1, 1, 1, true));
  }
  // The first texel, and the last one, which no kernel writes.
  std::pair<Float32, Float32> Read(InternedId id) {
    const Data read = Take(_program->GetTextureData(id, Vec3<Int32>(0), Vec3<Int32>(1 << 30)));
    Float32 texels[kSize * kSize];
    MemCopy(texels, read.GetIf<SamplingData>()->_texels, sizeof(texels));
    return {texels[0], texels[kSize * kSize - 1]};
  }

  static VKAPI_ATTR VkResult VKAPI_CALL Create(VkDevice device, const VkImageCreateInfo* info,
                                               const VkAllocationCallbacks* callbacks, VkImage* image) {
    ++g_images;
    g_storageImages += (info->usage & VK_IMAGE_USAGE_STORAGE_BIT) != 0;
    return g_create(device, info, callbacks, image);
  }
  static inline PFN_vkCreateImage g_create = nullptr;
  static inline int g_images = 0, g_storageImages = 0;
  ParallelProgramRef _program;
  std::optional<ReplacedFunction<PFN_vkCreateImage>> _create;
};

using Texels = std::pair<Float32, Float32>;

TEST_F(GpuTextureUsesTest, OnlyWhatAKernelWritesIsAStorageImage) {
  Store("read"_iid, 1);
  Store("written"_iid, 7);
  EXPECT_EQ(g_images, 2);
  EXPECT_EQ(g_storageImages, 0);
  Link("read"_iid, "written"_iid);
  EXPECT_EQ(g_storageImages, 1);
  Run();
  EXPECT_EQ(Read("written"_iid), Texels(2, 7));
  EXPECT_EQ(Read("read"_iid), Texels(1, 1));
  Link("read"_iid, "written"_iid);
  Store("written"_iid, 8);  // from now on it is one from the beginning
  Link("read"_iid, "written"_iid);
  Run();
  EXPECT_EQ(Read("written"_iid), Texels(2, 8));
  EXPECT_EQ(g_storageImages, 2);
  EXPECT_EQ(g_images, 4);
}

TEST_F(GpuTextureUsesTest, AKernelThatReadATextureSeesWhatAnotherWritesLater) {
  Store("one"_iid, 1);
  Store("two"_iid, 10);
  Store("three"_iid, 100);
  Link("two"_iid, "three"_iid);
  Run();
  const InternedId first = _program->GetActiveKernelId();
  Take(_program->CopyKernel(first, "other"_iid, true));
  _program->SetActiveKernel("other"_iid);
  Link("one"_iid, "two"_iid);  // two is replaced
  Run();
  _program->SetActiveKernel(first);
  Run();  // without an update
  EXPECT_EQ(Read("two"_iid), Texels(2, 10));
  EXPECT_EQ(Read("three"_iid), Texels(3, 100));
}

TEST_F(GpuTextureUsesTest, ATextureThatAKernelReadsAndWritesIsOneTexture) {
  Store("both"_iid, 5);
  Link("both"_iid, "both"_iid);
  Run();
  EXPECT_EQ(Read("both"_iid), Texels(6, 5));
}

TEST_F(GpuTextureUsesTest, RecordedDispatchesReadWhatLaterOnesWrite) {
  Store("a"_iid, 1);
  Store("b"_iid, 10);
  auto& recordings = *FindInterface<RecordedDispatchesInterface>(*_program);
  Take(recordings.BeginRecording());
  Link("a"_iid, "b"_iid);
  Run();
  Link("b"_iid, "a"_iid);
  Run();
  Take(_program->AddTextureMemoryBarrier());
  const UInt64 recording = Take(recordings.EndRecording());
  Take(recordings.Replay(recording, 3));
  EXPECT_EQ(Read("a"_iid), Texels(7, 1));
  EXPECT_EQ(Read("b"_iid), Texels(6, 10));
}

// There is no room for the texture twice.
TEST_F(GpuTextureUsesTest, ATextureThatFillsMostOfTheDeviceIsWrittenToo) {
  constexpr UInt32 kLarge = 2560;  // 25 MiB
  SetDrawportMemoryLimit(Int{40} << 20);
  Store("read"_iid, 1);
  std::vector<Float32> texels(std::size_t{kLarge} * kLarge);
  for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i);
  Store("large"_iid, kLarge, texels);
  Link("large"_iid, "read"_iid);
  Link("read"_iid, "large"_iid);
  Run();
  const Data read = Take(_program->GetTextureData("large"_iid, Vec3<Int32>(0), Vec3<Int32>(1 << 30)));
  texels[0] = 2;
  EXPECT_EQ(std::memcmp(read.GetIf<SamplingData>()->_texels, texels.data(), texels.size() * 4), 0);
  SetDrawportMemoryLimit(0);
}

TEST_F(GpuTextureUsesTest, TheHandleOfATextureStaysWhenAKernelWritesIt) {
  Store("read"_iid, 1);
  Store("written"_iid, 7);
  DrawportTexture* const handle = Take(_program->GetTextureHandle("written"_iid));
  Link("read"_iid, "written"_iid);
  Run();
  EXPECT_EQ(Take(_program->GetTextureHandle("written"_iid)), handle);
  EXPECT_EQ(Read("written"_iid), Texels(2, 7));
}

}  // namespace
}  // namespace ostra::test
