#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "apps/ostra/tool_error.h"
#include "apps/ostra/tool_memory.h"
#include "ostra/math/data_types.h"
#include "plans/values/extents.h"
#include "plans/values/memory_size.h"
#include "plans/values/scalar_type.h"
#include "plans/values/text.h"
#include "plans/values/typed_value.h"
#include "tests/support/result_matchers.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

template <class T>
std::string MessageOf(const Result<T>& result) {
  return result.IsOk() ? "no error" : std::string(result.GetError().GetMessage().GetView());
}

template <class T>
T Parse(std::string_view text) {
  const auto data = ParseValue(GetDataType<T>(), text);
  EXPECT_TRUE(data.IsOk()) << text << ": " << MessageOf(data);
  return data.IsOk() ? data->template Get<T>().GetValue() : T{};
}

TEST(ValuesTest, NumbersVectorsAndMatricesAreReadInTheirOwnType) {
  EXPECT_EQ(Parse<Int32>("-3"), -3);
  EXPECT_EQ(Parse<Int32>("+3"), 3);
  EXPECT_EQ(Parse<UInt32>("0xffffffff"), 0xFFFFFFFFu);
  EXPECT_EQ(Parse<UInt8>("255"), 255);
  EXPECT_EQ(Parse<Bool>("true"), true);
  EXPECT_EQ(Parse<Float32>("1e-3"), 1e-3f);
  EXPECT_EQ(static_cast<Float32>(Parse<HalfFloat>("0.5")), 0.5f);
  EXPECT_TRUE(std::isinf(Parse<Float32>("inf")));
  EXPECT_EQ(Parse<Vector4d32>("1, 2,3 ,4.5"), Vector4d32(1, 2, 3, 4.5f));
  EXPECT_EQ(Parse<Vec2<Int32>>("-1,2"), (Vec2<Int32>(-1, 2)));
  const auto matrix = Parse<SquareMatrix32>("1,2,3,4,5,6,7,8,9");
  EXPECT_EQ(matrix.v1, Vector32(4, 5, 6));
}

TEST(ValuesTest, EveryNumberReadsBackAsItWasPrinted) {
  std::mt19937_64 random(11);
  const auto expectSame = [](auto value) {
    using T = decltype(value);
    const ScalarType* scalar = FindScalarType(GetDataType<T>());
    ASSERT_NE(scalar, nullptr);
    std::string text;
    scalar->print(&value, text);
    T copy{};
    const auto result = scalar->parse(text, &copy);
    ASSERT_TRUE(result.IsOk()) << text << ": " << MessageOf(result);
    if constexpr (std::is_floating_point_v<T>) {
      if (std::isnan(value)) return;
    }
    ASSERT_EQ(std::memcmp(&copy, &value, sizeof(T)), 0) << text;
  };
  for (int round = 0; round < 20000; ++round) {
    const UInt64 bits = random();
    Float32 single;
    std::memcpy(&single, &bits, sizeof(single));
    expectSame(single);
    expectSame(static_cast<Int32>(bits));
    expectSame(static_cast<UInt32>(bits));
    expectSame(static_cast<Int8>(bits));
    expectSame(bits);
    const HalfFloat half = HalfFloat::FromBits(static_cast<UInt16>(bits & 0xFBFF));  // no infinity, no NaN
    expectSame(half);
  }
}

TEST(ValuesTest, WhatIsNoNumberOfTheTypeIsAUsageErrorThatSaysSo) {
  EXPECT_THAT(ParseValue(GetDataType<Int32>(), "1.5"), IsErrorOfKind(kUsageError));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Int32>(), "1.5")), HasSubstr("\"1.5\" is not a whole number"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Int32>(), "3000000000")), HasSubstr("from -2147483648 to 2147483647"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<UInt32>(), "-1")),
              HasSubstr("-1 does not fit into uint32, which goes from 0 to 4294967295"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<UInt32>(), "-1.5")), HasSubstr("\"-1.5\" is not a whole number"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<UInt32>(), "-")), HasSubstr("\"-\" is not a whole number"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Float32>(), "1e99")), HasSubstr("does not fit"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Float32>(), "abc")), HasSubstr("\"abc\" is not a number"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Float32>(), "")), HasSubstr("not a number"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Bool>(), "yes")), HasSubstr("neither true nor false"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Vector4d32>(), "1,2,3")),
              HasSubstr("has 3 numbers, and the type 4 x float32 has 4"));
  EXPECT_THAT(MessageOf(ParseValue(GetDataType<Vector4d32>(), "1,2,,4")), HasSubstr("\"\" is not a number"));
  EXPECT_THAT(ParseValue(GetDataType<String>(), "x"), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ValuesTest, PrintedValuesHaveCommasBetweenTheirComponents) {
  EXPECT_EQ(PrintValue(Data::Create(Vector4d32(1, 0.1f, -3, 4)).GetValue()).GetValue(), "1,0.1,-3,4");
  EXPECT_EQ(PrintValue(Data::Create(Int8(-7)).GetValue()).GetValue(), "-7");
  EXPECT_EQ(PrintValue(Data::Create(Bool(true)).GetValue()).GetValue(), "1");
}

TEST(ValuesTest, TypesAreDescribedByTheirNumbers) {
  EXPECT_EQ(DescribeType(GetDataType<Float32>()), "float32");
  EXPECT_EQ(DescribeType(GetDataType<Vector4d32>()), "4 x float32");
  EXPECT_EQ(DescribeType(GetDataType<SquareMatrix4d32>()), "16 x float32");
  EXPECT_EQ(GetElementLayout(GetDataType<SquareMatrix32>())->componentCount, 9);
  EXPECT_FALSE(GetElementLayout(DataType()).IsOk());
}

TEST(ExtentsTest, OneTwoAndThreeSidesAreRead) {
  EXPECT_EQ(ParseExtents("7").GetValue(), (Extents{7, 1, 1}));
  EXPECT_EQ(ParseExtents("640x480").GetValue(), (Extents{640, 480, 1}));
  EXPECT_EQ(ParseExtents("4x5x6").GetValue(), (Extents{4, 5, 6}));
  EXPECT_EQ(ParseExtents("4294967295").GetValue().GetCount(), 4294967295);
}

TEST(ExtentsTest, OtherTextsAreUsageErrors) {
  for (const char* text : {"", "x", "0", "-1", "4x", "x4", "4x5x6x7", "4 5", "4.5", "4294967296", "2000000x2000000"})
    EXPECT_THAT(ParseExtents(text), IsErrorOfKind(kUsageError)) << text;
}

TEST(ExtentsTest, TheTextLeavesOutAxesOfOneElement) {
  EXPECT_EQ((Extents{7, 1, 1}).ToText(), "7");
  EXPECT_EQ((Extents{7, 2, 1}).ToText(), "7 x 2");
  EXPECT_EQ((Extents{7, 1, 3}).ToText(), "7 x 1 x 3");
}

TEST(TextTest, AssignmentsNeedAName) {
  const auto parts = SplitAssignment("--set", "a=b=c").GetValue();
  EXPECT_EQ(parts.first, "a");
  EXPECT_EQ(parts.second, "b=c");
  EXPECT_THAT(MessageOf(SplitAssignment("--set", "abc")), HasSubstr("--set needs name=value, but got \"abc\""));
  EXPECT_THAT(SplitAssignment("--set", "=1"), IsErrorOfKind(kUsageError));
}

TEST(TextTest, PiecesAreTrimmed) {
  EXPECT_THAT(SplitText(" a , b\t,,c ", ','), ElementsAre("a", "b", "", "c"));
  EXPECT_THAT(SplitText("", ','), ElementsAre(""));
}

TEST(MemorySizeTest, SizesHaveUnitsOfTwoToThePowerOfTen) {
  EXPECT_EQ(ParseMemorySize("1000").GetValue(), 1000);
  EXPECT_EQ(ParseMemorySize("3K").GetValue(), 3072);
  EXPECT_EQ(ParseMemorySize("512M").GetValue(), Int(512) << 20);
  EXPECT_EQ(ParseMemorySize("2T").GetValue(), Int(2) << 40);
  for (const char* text : {"", "0", "-1", "8X", "8GB", "8 G", "G", "9999999999T"})
    EXPECT_THAT(ParseMemorySize(text), IsErrorOfKind(kUsageError)) << text;
}

}  // namespace
}  // namespace ostra::tool
