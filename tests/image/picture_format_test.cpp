#include "ostra/image/picture_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/image/sample_files.h"

namespace ostra {
namespace {

Url UrlOf(std::string_view name) { return Url::Create(name).GetValue(); }

TEST(PictureFormatTest, ASuffixNamesAFormatInUpperAndLowerCase) {
  EXPECT_STREQ(FindPictureFormat(UrlOf("a.png"))->name, "PNG");
  EXPECT_STREQ(FindPictureFormat(UrlOf("folder.exr/IMG_1.JPG"))->name, "JPEG");
  EXPECT_STREQ(FindPictureFormat(UrlOf("a.b.Jpeg"))->name, "JPEG");
  for (const char* name : {"", "png", "a.", ".png", "a.gif", "a.pngs", "a.pn", "a.png/b", "a.npy"})
    EXPECT_FALSE(IsPictureFile(UrlOf(name))) << name;
}

TEST(PictureFormatTest, ALayerStandsBehindTheSuffixOfAPicture) {
  const auto split = [](std::string_view text) {
    const PictureSource source = SplitPictureSource(UrlOf(text));
    return std::string(source.file.GetView()) + "|" + std::string(source.layer.GetView());
  };
  EXPECT_EQ(split("a.exr#b"), "a.exr|b");
  EXPECT_EQ(split("c/a.b.EXR#key.light"), "c/a.b.EXR|key.light");
  EXPECT_EQ(split("a#1.tif#2"), "a#1.tif|2");
  EXPECT_EQ(split("a.tif#b#c"), "a.tif|b#c");
  for (const char* name : {"a.exr", "a.exr#", "a#b", "a.npy#b", "#", "#b.exr", "a.exr#b/c.png", ""})
    EXPECT_EQ(split(name), std::string(name) + "|");
}

TEST(PictureFormatTest, EverySuffixIsInTheTextForMessages) {
  std::string text;
  for (const PictureFormat& format : GetPictureFormats())
    for (const std::string_view suffix : format.suffixes)
      if (!suffix.empty()) text += (text.empty() ? "." : ", .") + std::string(suffix);
  EXPECT_EQ(text, OSTRA_PICTURE_SUFFIXES);
}

TEST(PictureFormatTest, WhatAFormatWritesBeginsAsItSays) {
  const Image image = Image::Create(2, 2).GetValue();
  for (const PictureFormat& format : GetPictureFormats()) {
    const auto bytes = format.encode(image, {});
    if (!bytes.IsOk()) {
      EXPECT_THAT(std::string(bytes.GetError().GetMessage().GetView()), testing::HasSubstr("install the package"));
      continue;
    }
    EXPECT_EQ(FindPictureFormat(bytes->GetBlock()), &format) << format.name;
  }
  EXPECT_EQ(FindPictureFormat(BlockOf("GIF89a")), nullptr);
  EXPECT_EQ(FindPictureFormat(Block<const Byte>()), nullptr);
}

}  // namespace
}  // namespace ostra
