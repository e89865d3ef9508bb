#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ostra/image/image.h"
#include "ostra/io/file.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class ImageFileTest : public testing::Test {
 protected:
  Url MakeUrl(std::string_view name) const { return _folder.MakeUrl(name); }

  TemporaryFolder _folder;
};

template <class T>
std::string MessageOf(const Result<T>& result) {
  return result.IsOk() ? "no error" : std::string(result.GetError().GetMessage().GetView());
}

TEST_F(ImageFileTest, TheSuffixChoosesWhatIsWrittenAndTheBytesWhatIsRead) {
  Image image = Image::Create(3, 2).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = static_cast<Float32>(i % 2);
  for (const char* name : {"a.png", "a.exr"}) {
    ASSERT_TRUE(WriteImage(MakeUrl(name), image).IsOk());
    std::filesystem::rename(_folder / name, _folder / "renamed.dat");
    const auto copy = ReadImage(MakeUrl("renamed.dat"));
    ASSERT_TRUE(copy.IsOk()) << MessageOf(copy);
    for (Int i = 0; i < image.rgba.GetCount(); ++i) EXPECT_EQ(copy->rgba[i], image.rgba[i]);
  }
}

TEST_F(ImageFileTest, ErrorsNameTheFileAndTheReason) {
  const std::string_view text = "no picture";
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("text.png"), {reinterpret_cast<const Byte*>(text.data()), 10}).IsOk());
  EXPECT_THAT(MessageOf(ReadImage(MakeUrl("text.png"))),
              AllOf(HasSubstr("text.png cannot be read"), HasSubstr("no known picture; known are .png, .exr")));
  EXPECT_THAT(MessageOf(ReadImage(MakeUrl("none.png"))), AllOf(HasSubstr("none.png"), HasSubstr("No such file")));
  const Image image = Image::Create(1, 1).GetValue();
  EXPECT_THAT(MessageOf(WriteImage(MakeUrl("a.gif"), image)), AllOf(HasSubstr("a.gif"), HasSubstr("\"gif\"")));
  EXPECT_THAT(MessageOf(WriteImage(MakeUrl("none/a.png"), image)), HasSubstr("No such file"));
}

TEST_F(ImageFileTest, SizesOutsideTheLimitsAreRefused) {
  for (const auto& [width, height] :
       {std::pair<Int, Int>{0, 1}, {1, 0}, {-1, 5}, {kMaxImagePixels, 2}, {1, kMaxImagePixels + 1}})
    EXPECT_EQ(Image::Create(width, height).GetError().GetKind(), kIllegalArgumentError) << width << " x " << height;
}

}  // namespace
}  // namespace ostra
