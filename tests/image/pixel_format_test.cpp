#include "ostra/image/pixel_format_search.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace ostra {
namespace {

TEST(PixelFormatTest, EveryFormatIsFoundByItsIdAsTheSameObject) {
  const Block<const PixelFormat> formats = GetPixelFormats();
  std::set<std::string> ids;
  for (Int i = 0; i < formats.GetCount(); ++i) {
    const PixelFormat& format = formats[i];
    const Id copy = Id::Create(format.id.GetView()).GetValue();
    EXPECT_EQ(GetPixelFormat(copy).GetValue(), &format);
    ids.insert(std::string(format.id.GetView()));
  }
  EXPECT_EQ(static_cast<Int>(ids.size()), kPixelFormatCount);
  EXPECT_EQ(formats.GetCount(), kPixelFormatCount);
}

TEST(PixelFormatTest, TheIdTellsChannelsBitsAndValueClass) {
  const Block<const PixelFormat> formats = GetPixelFormats();
  for (Int i = 0; i < formats.GetCount(); ++i) {
    const PixelFormat& format = formats[i];
    const std::string id(format.id.GetView());
    const std::string bits = id.substr(id.find_last_not_of("0123456789") + 1);
    const char valueClass = id[id.size() - bits.size() - 1];
    EXPECT_EQ(std::to_string(format.bitsPerChannel), bits);
    EXPECT_EQ(format.valueClass, valueClass == 'u'   ? PixelValueClass::UnsignedInteger
                                 : valueClass == 's' ? PixelValueClass::SignedInteger
                                                     : PixelValueClass::FloatingPoint);
    const Int channels = id.find(".rgba.") != std::string::npos     ? 4
                         : id.find(".rgb.") != std::string::npos    ? 3
                         : id.find("redgreen") != std::string::npos ? 2
                                                                    : 1;
    EXPECT_EQ(format.channels, channels) << id;
    EXPECT_EQ(format.GetBytesPerPixel() * 8, format.channels * format.bitsPerChannel);
  }
}

TEST(PixelFormatTest, FormatsThatDevicesLackAreRefusedByName) {
  for (const char* id : {"net.ostra.image.pixelformat.dynamic.reds16", "net.ostra.image.pixelformat.rgba.s8", ""}) {
    const auto format = GetPixelFormat(Id::Create(id).GetValue());
    ASSERT_FALSE(format.IsOk());
    EXPECT_EQ(format.GetError().GetMessage(), ("There is no pixel format " + std::string(id) + ".").c_str());
  }
}

TEST(PixelFormatTest, EveryFormatIsFoundByItsChannels) {
  for (Int i = 0; i < kPixelFormatCount; ++i) {
    const PixelFormat& format = GetPixelFormats().GetFirst()[i];
    EXPECT_EQ(FindPixelFormat(format.channels, {format.valueClass, format.bitsPerChannel}), &format)
        << format.id.GetView();
  }
  EXPECT_EQ(FindPixelFormat(4, kFloat16Channel)->id.GetView(), "net.ostra.image.pixelformat.rgba.f16");
  EXPECT_EQ(FindPixelFormat(3, kInt8Channel), nullptr);
  for (const Int channels : {-1, 0, 5}) EXPECT_EQ(FindPixelFormat(channels, kUInt8Channel), nullptr);
}

}  // namespace
}  // namespace ostra
