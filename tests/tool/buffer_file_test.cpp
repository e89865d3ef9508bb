#include "plans/buffers/buffer_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/ostra/tool_error.h"
#include "ostra/arrays/npy.h"
#include "ostra/image/image.h"
#include "ostra/io/file.h"
#include "ostra/math/data_types.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::AllOf;
using testing::HasSubstr;

template <class T>
std::string MessageOf(const Result<T>& result) {
  return result.IsOk() ? "no error" : std::string(result.GetError().GetMessage().GetView());
}

template <class T>
Block<const Generic> GenericBlock(const std::vector<T>& values) {
  return {reinterpret_cast<const Generic*>(values.data()), static_cast<Int>(values.size()), sizeof(T)};
}

template <class T>
std::vector<T> ValuesOf(const BufferContents& contents) {
  EXPECT_EQ(contents.elements.GetElementType(), GetDataType<T>());
  const T* first = static_cast<const T*>(contents.elements.GetFirst());
  return std::vector<T>(first, first + contents.elements.GetCount());
}

TEST(BufferFileTest, BuffersComeBackFromEveryKindOfFile) {
  const TemporaryFolder folder;
  const std::vector<Vector4d32> pixels = {{0, 1, 0, 1}, {1, 0, 0, 1}, {1, 1, 1, 0},
                                          {0, 0, 0, 0}, {0, 0, 1, 1}, {1, 1, 0, 0}};
  const Extents size{3, 2, 1};
  for (const char* name : {"a.png", "a.exr", "a.npy", "a.csv", "a.raw"}) {
    SCOPED_TRACE(name);
    ASSERT_THAT(SaveBuffer(folder.MakeUrl(name), GetDataType<Vector4d32>(), GenericBlock(pixels), size), IsOk());
    const auto contents = LoadBuffer(folder / name, GetDataType<Vector4d32>());
    ASSERT_THAT(contents, IsOk());
    EXPECT_EQ(ValuesOf<Vector4d32>(*contents), pixels);
    const Bool keepsSides = std::string_view(name) != "a.csv" && std::string_view(name) != "a.raw";
    EXPECT_EQ(contents->size, keepsSides ? size : (Extents{6, 1, 1}));
    EXPECT_EQ(contents->isPicture, std::string_view(name) == "a.png" || std::string_view(name) == "a.exr");
  }
}

TEST(BufferFileTest, ArraysKeepTheirSidesAndTheirComponents) {
  const TemporaryFolder folder;
  const std::vector<Int32> values = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const auto shapeOf = [&](const Extents& size) {
    EXPECT_THAT(SaveBuffer(folder.MakeUrl("a.npy"), GetDataType<Int32>(), GenericBlock(values), size), IsOk());
    const std::string bytes = folder.Read("a.npy");
    return DecodeNpy({reinterpret_cast<const Byte*>(bytes.data()), static_cast<Int>(bytes.size())})->shape;
  };
  EXPECT_EQ(shapeOf({12, 1, 1}), (std::vector<Int>{12}));
  EXPECT_EQ(shapeOf({4, 3, 1}), (std::vector<Int>{3, 4}));
  EXPECT_EQ(shapeOf({2, 3, 2}), (std::vector<Int>{2, 3, 2}));
  EXPECT_EQ(shapeOf({5, 3, 1}), (std::vector<Int>{12}));
  ASSERT_EQ(shapeOf({4, 3, 1}), (std::vector<Int>{3, 4}));
  // The same numbers read as vectors: the last axis holds the components.
  const auto vectors = LoadBuffer(folder / "a.npy", GetDataType<Vec4<Int32>>());
  ASSERT_THAT(vectors, IsOk());
  EXPECT_EQ(vectors->size, (Extents{3, 1, 1}));
  EXPECT_EQ(ValuesOf<Vec4<Int32>>(*vectors)[2], (Vec4<Int32>(9, 10, 11, 12)));
}

TEST(BufferFileTest, GeneratedBuffersHaveTheirSize) {
  const auto zeros = LoadBuffer("zeros:3x2", GetDataType<Int32>());
  ASSERT_THAT(zeros, IsOk());
  EXPECT_EQ(ValuesOf<Int32>(*zeros), (std::vector<Int32>{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(zeros->size, (Extents{3, 2, 1}));
  const auto ones = LoadBuffer("ones:2", GetDataType<Vector2d32>());
  ASSERT_THAT(ones, IsOk());
  EXPECT_EQ(ValuesOf<Vector2d32>(*ones), (std::vector<Vector2d32>{{1, 1}, {1, 1}}));
  EXPECT_THAT(LoadBuffer("zeros:0", GetDataType<Int32>()), IsErrorOfKind(kUsageError));
  EXPECT_THAT(LoadBuffer("zeros:", GetDataType<Int32>()), IsErrorOfKind(kUsageError));
}

TEST(BufferFileTest, FilesThatDoNotFitTheParameterSayWhy) {
  const TemporaryFolder folder;
  const std::vector<Float32> values = {1, 2, 3};
  ASSERT_THAT(SaveBuffer(folder.MakeUrl("a.npy"), GetDataType<Float32>(), GenericBlock(values), {3, 1, 1}), IsOk());
  folder.Write("a.raw", "12345");
  folder.Write("empty.raw", "");
  folder.Write("bad.npy", "x");
  folder.Write("bad.csv", "\xFF");
  folder.Write("bad.png", "x");
  const auto load = [&](const char* name, DataType type) { return MessageOf(LoadBuffer(folder / name, type)); };
  EXPECT_THAT(load("a.npy", GetDataType<Int32>()), HasSubstr("holds numbers of the type float32, but int32 is needed"));
  EXPECT_THAT(load("a.npy", GetDataType<Vector2d32>()), HasSubstr("holds 3 numbers"));
  EXPECT_THAT(load("a.raw", GetDataType<Int32>()), HasSubstr("has 5 bytes, which is no multiple of the 4 bytes"));
  EXPECT_THAT(load("empty.raw", GetDataType<Int32>()), HasSubstr("is empty"));
  EXPECT_THAT(load("bad.npy", GetDataType<Int32>()), HasSubstr("no .npy file"));
  EXPECT_THAT(load("bad.csv", GetDataType<Int32>()), HasSubstr("not UTF-8"));
  EXPECT_THAT(load("bad.png", GetDataType<Vector4d32>()), HasSubstr("no known picture"));
  EXPECT_THAT(load("bad.png", GetDataType<Float32>()), HasSubstr("4 x float32, but float32 is needed"));
  EXPECT_THAT(load("missing.csv", GetDataType<Float32>()), HasSubstr("No such file"));
  EXPECT_THAT(LoadBuffer("photo.gif", GetDataType<Vector4d32>()), IsErrorOfKind(kUsageError));
}

TEST(BufferFileTest, TargetsThatCannotBeWrittenAreFoundBeforehand) {
  const TemporaryFolder folder;
  const DataType type = GetDataType<Float32>();
  EXPECT_THAT(CheckBufferTarget(folder.MakeUrl("a.npy"), type), IsOk());
  EXPECT_THAT(CheckBufferTarget(Url("a.npy"_s), type), IsOk());
  EXPECT_THAT(MessageOf(CheckBufferTarget(folder.MakeUrl("none/a.npy"), type)), HasSubstr("there is no folder"));
  EXPECT_THAT(MessageOf(CheckBufferTarget(folder.MakeUrl("a.png"), type)),
              HasSubstr("a picture needs elements of 4 x float32"));
  EXPECT_THAT(CheckBufferTarget(folder.MakeUrl("a"), type), IsErrorOfKind(kUsageError));
  const std::vector<Vector4d32> pixels(5);
  EXPECT_THAT(
      MessageOf(SaveBuffer(folder.MakeUrl("a.png"), GetDataType<Vector4d32>(), GenericBlock(pixels), {2, 2, 1})),
      AllOf(HasSubstr("has 5 elements"), HasSubstr("2 x 2 needs 4")));
  EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath()));
}

TEST(BufferFileTest, AxesThatDoNotHoldElementsAreRefused) {
  const TemporaryFolder folder;
  const auto load = [&](std::initializer_list<Int> shape) {
    const std::vector<Float32> numbers(12, 1.0f);
    const std::vector<Int> axes(shape);
    folder.Write("a.npy", EncodeNpyHeader(*FindNumberType(GetDataType<Float32>()), axes) +
                              std::string(reinterpret_cast<const char*>(numbers.data()), 48));
    return LoadBuffer(folder / "a.npy", GetDataType<Vector4d32>());
  };
  for (const auto shape : {std::initializer_list<Int>{12}, {3, 4}, {3, 1, 4}, {3, 2, 2}}) {
    const auto contents = load(shape);
    ASSERT_THAT(contents, IsOk());
    EXPECT_EQ(contents->elements.GetCount(), 3);
  }
  EXPECT_THAT(MessageOf(load({4, 3})),
              HasSubstr("a.npy has 2 axes, of which the last ones do not hold the 4 numbers of an element"));
  EXPECT_THAT(MessageOf(load({4, 1, 3})), HasSubstr("has 3 axes"));
}

}  // namespace
}  // namespace ostra::tool
