#include "plans/buffers/csv.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "ostra/math/data_types.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

template <class T>
std::vector<Float32> DecodeFloats(std::string_view text) {
  const auto bytes = DecodeCsv(GetElementLayout(GetDataType<T>()).GetValue(), text);
  EXPECT_TRUE(bytes.IsOk()) << bytes.GetError().GetMessage().GetView();
  std::vector<Float32> numbers(static_cast<std::size_t>(bytes->GetCount()) / 4);
  if (!numbers.empty()) MemCopy(numbers.data(), bytes->GetFirst(), bytes->GetCount());
  return numbers;
}

std::string MessageOf(DataType type, std::string_view text) {
  const auto bytes = DecodeCsv(GetElementLayout(type).GetValue(), text);
  return bytes.IsOk() ? "no error" : std::string(bytes.GetError().GetMessage().GetView());
}

TEST(CsvTest, CommasSemicolonsAndBlanksSeparateNumbers) {
  for (const char* text : {"1,2\n3,4\n", "1 ; 2\r\n3;4", " 1  2 \n\n3 4\n", "# x, y\n1,2\n#\n3,4"})
    EXPECT_THAT(DecodeFloats<Vector2d32>(text), ElementsAre(1, 2, 3, 4)) << text;
  EXPECT_THAT(DecodeFloats<Float32>(""), ElementsAre());
  EXPECT_THAT(DecodeFloats<Float32>("1,2,3"), ElementsAre(1, 2, 3));
}

TEST(CsvTest, ErrorsNameTheLine) {
  EXPECT_EQ(MessageOf(GetDataType<Vector2d32>(), "1,2\n3\n"), "line 2 has 1 numbers, and an element has 2");
  EXPECT_THAT(MessageOf(GetDataType<Float32>(), "1\n\nx\n"), HasSubstr("line 3: \"x\" is not a number"));
  EXPECT_THAT(MessageOf(GetDataType<Int32>(), "1\n2.5\n"), HasSubstr("line 2"));
  EXPECT_THAT(MessageOf(GetDataType<Vector2d32>(), "1,,2,3\n"), HasSubstr("line 1: \"\" is not a number"));
}

TEST(CsvTest, WrittenElementsReadBackAsTheSameNumbers) {
  const Vector32 elements[] = {{0.1f, 1e-30f, -3}, {1e30f, 5, 0}};
  const ElementLayout layout = GetElementLayout(GetDataType<Vector32>()).GetValue();
  const std::string text = EncodeCsv(layout, {reinterpret_cast<const Byte*>(elements), sizeof(elements)});
  EXPECT_EQ(text, "0.1,1e-30,-3\n1e+30,5,0\n");
  EXPECT_THAT(DecodeFloats<Vector32>(text), ElementsAre(0.1f, 1e-30f, -3, 1e30f, 5, 0));
}

}  // namespace
}  // namespace ostra::tool
