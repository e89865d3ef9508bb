#include "ostra/arrays/array_file.h"

#include <gmock/gmock.h>

#include <vector>

#include "ostra/arrays/npy.h"
#include "ostra/math/data_types.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

template <class T>
Block<const Generic> GenericBlock(const std::vector<T>& values) {
  return {reinterpret_cast<const Generic*>(values.data()), static_cast<Int>(values.size()), sizeof(T)};
}

template <class T>
Result<void> Write(const Url& file, const std::vector<T>& values, const ArrayExtent& extent = {}) {
  return WriteArrayFile(file, GetDataType<T>(), GenericBlock(values), extent);
}

template <class T>
std::vector<T> ValuesOf(const ArrayContents& contents) {
  EXPECT_EQ(contents.elements.GetElementType(), GetDataType<T>());
  const T* first = static_cast<const T*>(contents.elements.GetFirst());
  return {first, first + contents.elements.GetCount()};
}

std::vector<Int> SidesOf(const ArrayContents& contents) {
  return {contents.extent.width, contents.extent.height, contents.extent.depth};
}

std::string MessageOf(const Error& error) { return std::string(error.GetMessage().GetView()); }

TEST(ArrayFileTest, ElementsComeBackFromEveryKindOfFile) {
  const TemporaryFolder folder;
  const std::vector<Vector4d32> pixels = {{0, 1, 0, 1}, {1, 0, 0, 1}, {1, 1, 1, 0},
                                          {0, 0, 0, 0}, {0, 0, 1, 1}, {1, 1, 0, 0}};
  for (const std::string_view name : {"a.png", "a.exr", "a.npy", "a.raw", "a.bin"}) {
    SCOPED_TRACE(name);
    const Url file = folder.MakeUrl(name);
    EXPECT_THAT(CheckArrayFile(file, GetDataType<Vector4d32>()), IsOk());
    ASSERT_THAT(Write(file, pixels, {3, 2, 1}), IsOk());
    const auto contents = ReadArrayFile(file, GetDataType<Vector4d32>());
    ASSERT_THAT(contents, IsOk());
    EXPECT_EQ(ValuesOf<Vector4d32>(*contents), pixels);
    const Bool isRaw = GetArrayFileKind(file) == ArrayFileKind::Raw;
    EXPECT_THAT(SidesOf(*contents), isRaw ? ElementsAre(6, 1, 1) : ElementsAre(3, 2, 1));
    EXPECT_EQ(contents->isPicture, GetArrayFileKind(file) == ArrayFileKind::Picture);
  }
}

TEST(ArrayFileTest, AnArrayWhoseExtentDoesNotFitHasOneAxis) {
  const TemporaryFolder folder;
  const Url file = folder.MakeUrl("a.npy");
  for (const ArrayExtent& extent : {ArrayExtent(), ArrayExtent{2, 2, 1}, ArrayExtent{6, 1, 1}}) {
    ASSERT_THAT(Write<Int32>(file, {1, 2, 3, 4, 5, 6}, extent), IsOk());
    const auto contents = ReadArrayFile(file, GetDataType<Int32>());
    ASSERT_THAT(contents, IsOk());
    EXPECT_THAT(ValuesOf<Int32>(*contents), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(SidesOf(*contents), ElementsAre(6, 1, 1));
  }
}

TEST(ArrayFileTest, FilesThatDoNotFitSayWhy) {
  const TemporaryFolder folder;
  ASSERT_THAT(Write<Float32>(folder.MakeUrl("a.npy"), {1, 2, 3}), IsOk());
  folder.Write("a.raw", "12345");
  folder.Write("empty.raw", "");
  folder.Write("bad.npy", "x");
  folder.Write("bad.png", "x");
  folder.Write("a.csv", "1,2,3");
  const auto load = [&](const char* name, DataType type) {
    const auto contents = ReadArrayFile(folder.MakeUrl(name), type);
    if (contents) return std::string("no error");
    EXPECT_THAT(MessageOf(contents.GetError()), HasSubstr(name));
    return MessageOf(contents.GetError());
  };
  EXPECT_THAT(load("a.npy", GetDataType<Int32>()), HasSubstr("holds numbers of the type float32, but int32 is needed"));
  EXPECT_THAT(load("a.npy", GetDataType<Vector2d32>()), HasSubstr("holds 3 numbers"));
  EXPECT_THAT(load("a.raw", GetDataType<Int32>()), HasSubstr("has 5 bytes, which is no multiple of the 4 bytes"));
  EXPECT_THAT(load("empty.raw", GetDataType<Int32>()), HasSubstr("is empty"));
  EXPECT_THAT(load("bad.npy", GetDataType<Int32>()), HasSubstr("no .npy file"));
  EXPECT_THAT(load("bad.png", GetDataType<Vector4d32>()), HasSubstr("no known picture"));
  EXPECT_THAT(load("bad.png", GetDataType<Float32>()), HasSubstr("4 x float32, but float32 is needed"));
  EXPECT_THAT(load("missing.npy", GetDataType<Float32>()), HasSubstr("No such file"));
  EXPECT_THAT(load("a.csv", GetDataType<Float32>()), HasSubstr("known are .npy, .raw, .bin and pictures: .png, .exr"));
}

TEST(ArrayFileTest, WhatCannotBeWrittenIsRefusedAndLeavesNoFile) {
  const TemporaryFolder folder;
  const auto check = [&](const char* name, DataType type) {
    const auto checked = CheckArrayFile(folder.MakeUrl(name), type);
    return checked ? std::string("no error") : MessageOf(checked.GetError());
  };
  EXPECT_THAT(check("none/a.npy", GetDataType<Float32>()), HasSubstr("there is no folder"));
  EXPECT_THAT(check("a.png", GetDataType<Float32>()),
              HasSubstr("a picture needs elements of 4 x float32, not of float32"));
  EXPECT_THAT(check("a", GetDataType<Float32>()), HasSubstr("known are .npy"));
  EXPECT_THAT(check("a.npy", GetDataType<String>()), HasSubstr("cannot be written to files"));
  const auto written = Write(folder.MakeUrl("a.png"), std::vector<Vector4d32>(5), {2, 2, 1});
  ASSERT_FALSE(written);
  EXPECT_THAT(MessageOf(written.GetError()), HasSubstr("has 5 elements, and a picture of 2 x 2 needs 4"));
  for (const char* name : {"a.png", "a.npy"}) {
    const auto negative = Write(folder.MakeUrl(name), std::vector<Vector4d32>(4), {-2, -2, 1});
    ASSERT_FALSE(negative) << name;
    EXPECT_THAT(MessageOf(negative.GetError()), HasSubstr("an extent of -2 x -2 x 1 has sides below 0")) << name;
    constexpr Int kHuge = Int{1} << 62;
    const auto huge = Write(folder.MakeUrl("b.png"), std::vector<Vector4d32>(4), {kHuge, kHuge, 1});
    EXPECT_FALSE(huge);
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath()));
}

TEST(ArrayFileTest, ExhaustedMemoryIsReported) {
  const TemporaryFolder folder;
  const Url file = folder.MakeUrl("a.npy");
  const std::vector<Float32> values(100, 1.0f);
  EXPECT_GT(ExpectEveryAllocationFailureIsReported([&]() -> Result<void> { return Write(file, values); }), 0);
  EXPECT_GT(ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
              OSTRA_RETURN_IF_ERROR(ReadArrayFile(file, GetDataType<Float32>()));
              return OK;
            }),
            0);
}

}  // namespace
}  // namespace ostra
