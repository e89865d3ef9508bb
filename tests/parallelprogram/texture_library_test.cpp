// The kernels of the library that read textures, run by the CPU program, against plain loops in Float64.
#include <algorithm>
#include <cmath>

#include "parallelprogram/program/kernel_registration.h"
#include "tests/parallelprogram/program_fixture.h"
#include "tests/parallelprogram/texture_family.h"
#include "texture_program_test_kernels.h"

namespace ostra::test {
namespace {

using Position = std::vector<Float64>;

// Blends the texels of a texture around `at` (0..1 over the texture). Beyond the edges it goes on as the edge, or is
// zero. With sRGB texels are decoded first.
std::vector<Float64> Blend(const Texture& texture, const Position& at) {
  const TextureBindData bindData = texture.GetBindData();
  const Bool isBorder = bindData._wrapModes[0] == TextureWrapMode::BORDER;
  std::vector<Float64> sum(bindData._numChannels);
  for (std::size_t corner = 0; corner < std::size_t{1} << at.size(); ++corner) {
    Float64 weight = 1;
    Int texel = 0, stride = 1;
    Bool isOutside = false;
    for (std::size_t axis = 0; axis < at.size(); ++axis) {
      const Int extent = bindData._dimensions[static_cast<int>(axis)];
      const Float64 place = at[axis] * static_cast<Float64>(extent) - 0.5;
      const Bool isSecond = corner >> axis & 1;
      weight *= isSecond ? place - std::floor(place) : 1 - (place - std::floor(place));
      const Int index = static_cast<Int>(std::floor(place)) + isSecond;
      isOutside |= index < 0 || index >= extent;
      texel += std::clamp<Int>(index, 0, extent - 1) * stride;
      stride *= extent;
    }
    if (isOutside && isBorder) continue;
    const auto* values = reinterpret_cast<const Float32*>(bindData._data) + texel * Int{bindData._numChannels};
    for (std::size_t i = 0; i < sum.size(); ++i) {
      Float64 value = values[i];
      if (bindData._sRGB) value = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
      sum[i] += weight * value;
    }
  }
  return sum;
}

constexpr Int32 kWidth = 37, kHeight = 19;
constexpr UInt32 kCount = 1003;
constexpr UInt32 kTableSize = 5;

Values MakeNumbers(Int count, Float32 low, Float32 high) {
  std::mt19937 random(static_cast<UInt32>(count));
  std::uniform_real_distribution<Float32> distribution(low, high);
  Values values;
  for (Int i = 0; i < count; ++i) values.push_back(distribution(random));
  return values;
}

Texture MakePicture() {
  return MakeFloatTexture({kWidth, kHeight, 1}, 4, MakeNumbers(Int{kWidth} * kHeight * 4, 0, 1));
}

Texture MakeVolume() {
  Texture texture = MakeFloatTexture({9, 7, 6}, 1, MakeNumbers(9 * 7 * 6, 0, 1));
  for (TextureWrapMode& mode : texture.bindData._wrapModes) mode = TextureWrapMode::BORDER;
  return texture;
}

// The classes of the linked kernels, once per process.
Result<void> RegisterLibraryKernels() {
  static const Result<void> result = []() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
    for (const auto& entry : GetKernels_texture_program_test()) {
      OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, entry.create());
      OSTRA_RETURN_IF_ERROR(registry.Insert(kernelClass));
    }
    return OK;
  }();
  return result;
}

class TextureKernelTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    ASSERT_THAT(RegisterLibraryKernels(), IsOk());
  }
  void Start(const char* name) {
    auto file = Url::Create(std::string("kernels/net.ostra.kernels.") + name + ".krn");
    ASSERT_THAT(file, IsOk());
    ASSERT_THAT(program->AddKernel("kernel"_iid, *file, true), IsOk());
  }
  template <class T>
  void SetValue(const char* name, const T& value) {
    ASSERT_THAT(program->SetUniform(*InternedId::Create(name), value), IsOk());
  }
  void SetTexture(const char* name, const Texture& texture) {
    const InternedId id = *InternedId::Create(name);
    TextureBindData bindData = texture.GetBindData();
    ASSERT_THAT(program->StoreTextureBindData(id, bindData, false), IsOk());
    ASSERT_THAT(program->SetTextureToActiveKernelSameId(id), IsOk());
  }
  template <class T>
  void SetBuffer(InternedId id, const std::vector<T>& elements) {
    StoreBuffer(id, elements);
    ASSERT_THAT(program->SetBufferToActiveKernelSameId(id), IsOk());
  }
  // Runs a kernel that makes a picture of elements T in "result".
  template <class T>
  std::vector<T> RunPicture() {
    SetValue<Int32>("width", kWidth);
    SetValue<Int32>("height", kHeight);
    SetBuffer("result"_iid, std::vector<T>(static_cast<std::size_t>(kWidth * kHeight), T(-1)));
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_THAT(program->DispatchKernel(48, 32, 1, false), IsOk());
    return ReadBuffer<T>("result"_iid);
  }
};

// Calls visit(index, u, v) with the middle of each pixel in 0..1.
template <class Visit>
void ForEachPixel(const Visit& visit) {
  for (Int32 y = 0; y < kHeight; ++y)
    for (Int32 x = 0; x < kWidth; ++x)
      visit(static_cast<std::size_t>(y * kWidth + x), (x + 0.5) / kWidth, (y + 0.5) / kHeight);
}

void ExpectNear(const Vec4<Float32>& actual, const std::vector<Float64>& expected, Float64 tolerance) {
  for (int i = 0; i < 4; ++i)
    ASSERT_NEAR(actual[i], expected[static_cast<std::size_t>(i)], tolerance) << "channel " << i;
}

TEST_F(TextureKernelTest, WarpingTurnsThePictureAroundItsMiddle) {
  const Texture picture = MakePicture();
  Start("warp");
  SetValue("angle", 2.5f);
  SetValue("radius", 0.6f);
  SetTexture("image", picture);
  const auto result = RunPicture<Vec4<Float32>>();
  constexpr Float64 kAspect = Float64{kWidth} / kHeight;
  ForEachPixel([&](std::size_t i, Float64 u, Float64 v) {
    const Float64 across = (u - 0.5) * kAspect, down = v - 0.5;
    const Float64 closeness = std::max(1 - std::hypot(across, down) / Float64{0.6f}, 0.0);
    const Float64 turn = 2.5 * closeness * closeness, c = std::cos(turn), s = std::sin(turn);
    ExpectNear(result[i], Blend(picture, {(c * across - s * down) / kAspect + 0.5, s * across + c * down + 0.5}), 1e-4);
  });
}

TEST_F(TextureKernelTest, RotatingBlendsLightAndEncodesIt) {
  Texture picture = MakePicture();
  picture.bindData._sRGB = true;
  picture.bindData._wrapModes[0] = picture.bindData._wrapModes[1] = TextureWrapMode::BORDER;
  Start("rotate");
  SetValue("angle", 0.7f);
  SetValue("scale", 0.8f);
  SetTexture("image", picture);
  const auto result = RunPicture<Vec4<Float32>>();
  const Float64 c = std::cos(Float64{0.7f}), s = std::sin(Float64{0.7f});
  int black = 0;
  ForEachPixel([&](std::size_t i, Float64 u, Float64 v) {
    const Float64 across = (u - 0.5) * kWidth / Float64{0.8f}, down = (v - 0.5) * kHeight / Float64{0.8f};
    auto light = Blend(picture, {(c * across + s * down) / kWidth + 0.5, (c * down - s * across) / kHeight + 0.5});
    black += light[0] == 0;
    for (Float64& value : light) value = value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
    ExpectNear(result[i], light, 2e-3);  // the curve is steep near black, where the border begins
  });
  EXPECT_GT(black, 10);
}

TEST_F(TextureKernelTest, ColoursAreLookedUpBetweenTheMiddlesOfTheFirstAndLastEntry) {
  const Texture table = MakeFloatTexture({kTableSize, kTableSize, kTableSize}, 3,
                                         MakeNumbers(Int{kTableSize * kTableSize * kTableSize} * 3, -0.2f, 1.3f));
  const Values numbers = MakeNumbers(Int{kCount} * 4, -0.1f, 1.2f);
  std::vector<Vec4<Float32>> source(kCount);
  MemCopy(source.data(), numbers.data(), Int{kCount} * 16);
  Start("colourlookup");
  SetValue<UInt32>("count", kCount - 2);
  SetTexture("table", table);
  SetBuffer("source"_iid, source);
  SetBuffer("target"_iid, std::vector<Vec4<Float32>>(kCount, Vec4<Float32>(7)));
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
  const auto target = ReadBuffer<Vec4<Float32>>("target"_iid);
  const auto place = [](Float32 value) {
    return (std::clamp(Float64{value}, 0.0, 1.0) * (kTableSize - 1) + 0.5) / kTableSize;
  };
  for (UInt32 i = 0; i < kCount - 2; ++i) {
    auto expected = Blend(table, {place(source[i].x), place(source[i].y), place(source[i].z)});
    expected.push_back(Float64{source[i].w});
    ExpectNear(target[i], expected, 1e-5);
  }
  EXPECT_EQ(target[kCount - 1], Vec4<Float32>(7));
}

TEST_F(TextureKernelTest, SlicesGoThroughTheVolumeAndEndAtItsBorders) {
  const Texture volume = MakeVolume();
  Start("volumeslice");
  SetValue("corner", Vec3<Float32>(0.1f, -0.1f, 0.2f));
  SetValue("across", Vec3<Float32>(0.8f, 0.3f, 0.1f));
  SetValue("down", Vec3<Float32>(-0.1f, 1.4f, 0.4f));
  SetTexture("volume", volume);
  const auto result = RunPicture<Float32>();
  int outside = 0;
  ForEachPixel([&](std::size_t i, Float64 u, Float64 v) {
    const auto expected =
        Blend(volume, {0.1 + 0.8 * u - 0.1 * v, -0.1 + 0.3 * u + 1.4 * v, 0.2 + 0.1 * u + 0.4 * v})[0];
    outside += expected == 0;
    ASSERT_NEAR(result[i], expected, 1e-5);
  });
  EXPECT_GT(outside, 10);
}

TEST_F(TextureKernelTest, RaysAreDimmedByTheMatterThatTheyCross) {
  const Texture volume = MakeVolume();
  Start("raymarch");
  SetValue<Int32>("steps", 40);
  SetValue("angle", 0.5f);
  SetValue("density", 3.0f);
  SetValue("colour", Vec3<Float32>(1.0f, 0.9f, 0.7f));
  SetTexture("volume", volume);
  const auto result = RunPicture<Vec4<Float32>>();
  const Float64 c = std::cos(0.5), s = std::sin(0.5), size = 1.8 / kHeight, step = 1.8 / 40;
  ForEachPixel([&](std::size_t i, Float64 u, Float64 v) {
    const Float64 across = (u - 0.5) * kWidth * size, down = (v - 0.5) * kHeight * size;
    Float64 light = 0, clearness = 1;
    for (int k = 0; k < 40; ++k) {
      const Float64 depth = (k + 0.5) * step - 0.9;
      const Float64 density =
          Blend(volume, {c * across + s * depth + 0.5, down + 0.5, c * depth - s * across + 0.5})[0];
      const Float64 opacity = std::clamp(density * 3 * step, 0.0, 1.0);
      light += clearness * opacity * (1 - 0.5 * (depth + 0.9) / 1.8);
      clearness *= 1 - opacity;
    }
    ExpectNear(result[i], {light, light * Float64{0.9f}, light * Float64{0.7f}, 1 - clearness}, 1e-4);
  });
}

TEST_F(TextureKernelTest, AKernelDoesNotRunWithoutItsTexture) {
  Start("warp");
  SetValue("angle", 0.0f);
  SetValue("radius", 1.0f);
  SetValue<Int32>("width", kWidth);
  SetValue<Int32>("height", kHeight);
  SetBuffer("result"_iid, std::vector<Vec4<Float32>>(static_cast<std::size_t>(kWidth * kHeight)));
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchKernel(48, 32, 1, false),
              IsErrorContaining(kIllegalStateError, "The texture \"image\" of the kernel \"kernel\" is not set"));
}

// A kernel file that uses every word; see the file.
TEST_F(TextureKernelTest, WordsOfKernelFilesReadTexelsSizesAndLayers) {
  auto file = Url::Create("kernels/net.ostra.test.texturewords.krn");
  ASSERT_THAT(program->AddKernel("words"_iid, *file, true), IsOk());
  SetTexture("line", MakeCountingTexture({4, 1, 1}, 1, 2));
  Texture bytes = MakeCountingTexture({2, 2, 1});
  bytes.bindData._format = TextureFormat::U8;
  bytes.bindData._filter = TextureFilter::POINT;
  bytes.texels = {1, 2, 3, 255};
  SetTexture("bytes", bytes);
  SetTexture("volume", MakeCountingTexture({2, 2, 2}, 2));
  SetBuffer("numbers"_iid, std::vector<Float32>(16, -1));
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("numbers"_iid), (Values{1.5f, 1.5f, 5.5f, 2, 6, 4, 255, 4, 7, 8, 12, 13, 2, 2, 2, -1}));
}

}  // namespace
}  // namespace ostra::test
