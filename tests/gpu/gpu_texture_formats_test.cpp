// Texels of every format, there and back: as they were given where the device stores their width, by value where it
// stores them in 32 bits.
#include <bit>
#include <cstring>

#include "ostra/config/configuration.h"
#include "ostra/math/half_float.h"
#include "parallelprogram/textures/sampling_data.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

using enum TextureFormat;
using Texels = std::vector<Byte>;

template <class T>
void Append(Texels& texels, T value) {
  const auto* bytes = reinterpret_cast<const Byte*>(&value);
  texels.insert(texels.end(), bytes, bytes + sizeof(T));
}

// Element `i` in all forms in which it can be given or stored.
struct Element {
  explicit Element(UInt32 i) : word(i * 2654435761u) {}
  HalfFloat GetHalf() const { return HalfFloat(static_cast<Float32>(static_cast<Int32>(word) >> 21) / 8); }
  void Write(TextureFormat format, Texels& texels) const {
    switch (format) {
      case F32:
        return Append(texels, std::bit_cast<Float32>((word & 0x7FFFFFu) | 0x3F800000u));
      case F16:
        return Append(texels, GetHalf().GetBits());
      case U8:
      case I8:
        return Append(texels, static_cast<UInt8>(word >> 24));
      case U16:
        return Append(texels, static_cast<UInt16>(word >> 16));
      default:
        return Append(texels, word);
    }
  }
  void WriteIn32Bits(TextureFormat format, Texels& texels) const {
    switch (format) {
      case F16:
        return Append(texels, Float32(GetHalf()));
      case U8:
        return Append(texels, word >> 24);
      case I8:
        return Append(texels, static_cast<Int32>(word) >> 24);
      case U16:
        return Append(texels, word >> 16);
      default:
        return Write(format, texels);
    }
  }
  UInt32 word;
};

template <class Write>
Texels MakeTexels(const Vec3<UInt32>& size, UInt32 channels, Write&& write) {
  Texels texels;
  for (UInt32 i = 0; i < size.x * size.y * size.z * channels; ++i) write(Element(i), texels);
  return texels;
}

class GpuTextureFormatsTest : public DeviceProgramTest {
 protected:
  void Make32BitOnly() {
    ASSERT_THAT(Configuration::SetValue("g_32bitOnlyParallelProgram", "true", "test"), IsOk());
    program = MakeProgram(kGpuProgramClass);
    ASSERT_TRUE(program);
  }
  void TearDown() override {
    program = nullptr;
    EXPECT_THAT(Configuration::SetValue("g_32bitOnlyParallelProgram", "false", "test"), IsOk());
  }

  // Stores texels as `format` and expects to read `expected`: a record says what was stored, its size how wide it is.
  void Expect(TextureFormat format, UInt32 channels, const Vec3<UInt32>& size, const Texels& given,
              const Texels& expected) {
    SCOPED_TRACE(testing::Message() << "format " << static_cast<int>(format) << ", " << channels << " channels, "
                                    << size.x << " x " << size.y << " x " << size.z << ", " << given.size()
                                    << " bytes");
    TextureBindData data;
    data._data = given.data();
    data._dataSize = static_cast<Int64>(given.size());
    data._dimensions = size;
    data._format = format;
    data._numChannels = channels;
    ASSERT_THAT(program->StoreTextureBindData("t"_iid, data, false), IsOk());
    const auto read = program->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(1 << 20));
    ASSERT_THAT(read, IsOk());
    const auto* record = read->GetIf<SamplingData>();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->_format, format);
    EXPECT_EQ(record->_numChannels, channels);
    EXPECT_EQ(record->_dimensions, size);
    ASSERT_EQ(record->_dataSize, static_cast<Int64>(expected.size()));
    EXPECT_EQ(std::memcmp(record->_texels, expected.data(), expected.size()), 0);
  }

  static constexpr TextureFormat kFormats[] = {F32, F16, U32, I32, U16, U8, I8};
  const std::vector<Vec3<UInt32>> kSizes = {{37, 1, 1}, {13, 7, 1}, {5, 4, 3}, {1, 1, 1}};
};

TEST_F(GpuTextureFormatsTest, TexelsComeBackAsTheyWereGiven) {
  Bool with16bit = false, with8bit = false;
  program->GetSupportReadWritePixelFormats(with16bit, with8bit);
  if (!with16bit || !with8bit) GTEST_SKIP() << "This device stores narrow texels in 32 bits.";
  for (const TextureFormat format : kFormats)
    for (const UInt32 channels : {1u, 2u, 3u, 4u})
      for (const auto& size : kSizes) {
        const Texels texels =
            MakeTexels(size, channels, [&](const Element& element, Texels& out) { element.Write(format, out); });
        Expect(format, channels, size, texels, texels);
      }
}

TEST_F(GpuTextureFormatsTest, ElementsKeepTheirValueIn32Bits) {
  Make32BitOnly();
  for (const TextureFormat format : kFormats)
    for (const UInt32 channels : {1u, 2u, 3u, 4u})
      for (const auto& size : kSizes) {
        const Texels given =
            MakeTexels(size, channels, [&](const Element& element, Texels& out) { element.Write(format, out); });
        const Texels wide = MakeTexels(
            size, channels, [&](const Element& element, Texels& out) { element.WriteIn32Bits(format, out); });
        Expect(format, channels, size, given, wide);
      }
}

TEST_F(GpuTextureFormatsTest, HalvesMayBeGivenAsFloats) {
  Bool with16bit = false, with8bit = false;
  program->GetSupportReadWritePixelFormats(with16bit, with8bit);
  const Vec3<UInt32> size(13, 7, 1);
  for (const UInt32 channels : {1u, 2u, 3u, 4u}) {
    const Texels halves =
        MakeTexels(size, channels, [](const Element& element, Texels& out) { element.Write(F16, out); });
    const Texels floats =
        MakeTexels(size, channels, [](const Element& element, Texels& out) { element.WriteIn32Bits(F16, out); });
    Expect(F16, channels, size, floats, with16bit ? halves : floats);
  }
  Make32BitOnly();
  for (const UInt32 channels : {1u, 2u, 3u, 4u}) {
    const Texels floats =
        MakeTexels(size, channels, [](const Element& element, Texels& out) { element.WriteIn32Bits(F16, out); });
    Expect(F16, channels, size, floats, floats);
  }
}

}  // namespace
}  // namespace ostra::test
