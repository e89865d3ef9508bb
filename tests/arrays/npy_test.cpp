#include "ostra/arrays/npy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ostra/math/data_types.h"

namespace ostra {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Block<const Byte> BlockOf(const std::string& bytes) {
  return {reinterpret_cast<const Byte*>(bytes.data()), static_cast<Int>(bytes.size())};
}

std::string MakeFile(int version, const std::string& header, const std::string& numbers) {
  std::string file = "\x93NUMPY";
  file +=
      {static_cast<char>(version), 0, static_cast<char>(header.size() & 0xFF), static_cast<char>(header.size() >> 8)};
  if (version > 1) file += std::string(2, '\0');
  return file + header + numbers;
}

std::string MessageOf(const std::string& file) {
  const auto array = DecodeNpy(BlockOf(file));
  return array.IsOk() ? "no error" : std::string(array.GetError().GetMessage().GetView());
}

const std::string kHeader = "{'descr': '<i4', 'fortran_order': False, 'shape': (2, 1), }    \n";
const std::string kNumbers("\x01\0\0\0\xFE\xFF\xFF\xFF", 8);

TEST(NpyTest, AFileOfKnownBytesGivesItsShapeAndNumbers) {
  for (const int version : {1, 2, 3}) {
    const std::string file = MakeFile(version, kHeader, kNumbers);
    const auto array = DecodeNpy(BlockOf(file));
    ASSERT_TRUE(array.IsOk()) << MessageOf(file);
    EXPECT_EQ(array->number->type, GetDataType<Int32>());
    EXPECT_THAT(array->shape, ElementsAre(2, 1));
    EXPECT_EQ(array->GetCount(), 2);
    Int32 numbers[2];
    MemCopy(numbers, array->numbers.GetFirst(), sizeof(numbers));
    EXPECT_THAT(numbers, ElementsAre(1, -2));
  }
}

TEST(NpyTest, HeadersMayBeWrittenInAnyOrderAndWithEitherQuote) {
  const auto array =
      DecodeNpy(BlockOf(MakeFile(1, "{\"shape\":(),\"descr\" : \"|u1\",\"fortran_order\":False}", "\x07")));
  ASSERT_TRUE(array.IsOk());
  EXPECT_TRUE(array->shape.empty());
  EXPECT_EQ(array->GetCount(), 1);
}

TEST(NpyTest, WritingAndReadingKeepsTypeShapeAndBytes) {
  for (const char* code : {"f4", "u4", "i4", "f2", "u1", "i1", "u2", "i2", "f8", "i8", "u8", "b1"})
    for (const std::vector<Int>& shape : {std::vector<Int>{}, {5}, {3, 4}, {2, 3, 4}, {0}, {1}}) {
      const NumberType* number = FindNumberType(code);
      ASSERT_NE(number, nullptr) << code;
      Int count = 1;
      for (const Int side : shape) count *= side;
      std::string numbers;
      for (Int i = 0; i < count * number->GetSize(); ++i) numbers += static_cast<char>(i * 31 + 1);
      const std::string file = EncodeNpyHeader(*number, shape) + numbers;
      const auto array = DecodeNpy(BlockOf(file));
      ASSERT_TRUE(array.IsOk()) << array.GetError().GetMessage().GetView();
      EXPECT_EQ(array->number, number);
      EXPECT_EQ(array->shape, shape);
      EXPECT_EQ(std::string(reinterpret_cast<const char*>(array->numbers.GetFirst()),
                            static_cast<std::size_t>(array->numbers.GetCount())),
                numbers);
      EXPECT_EQ((array->numbers.GetFirst() - BlockOf(file).GetFirst()) % 64, 0);
    }
}

TEST(NpyTest, TheWrittenHeaderIsTheOneOfTheFormat) {
  const std::vector<Int> shape = {2, 3};
  const std::string text = EncodeNpyHeader(*FindNumberType("f4"), shape);
  EXPECT_EQ(text.substr(0, 10), std::string("\x93NUMPY\x01\x00\x76\x00", 10));
  EXPECT_THAT(text.substr(10), testing::StartsWith("{'descr': '<f4', 'fortran_order': False, 'shape': (2, 3), } "));
  EXPECT_EQ(text.size(), 128u);
  EXPECT_EQ(text.back(), '\n');
}

TEST(NpyTest, AFileThatEndsAtAnyByteIsAnError) {
  for (const int version : {1, 2}) {
    const std::string file = MakeFile(version, kHeader, kNumbers);
    for (std::size_t size = 0; size < file.size(); ++size)
      EXPECT_NE(MessageOf(file.substr(0, size)), "no error") << size;
  }
}

TEST(NpyTest, FilesThatCannotBeReadSayWhy) {
  const auto withHeader = [](const std::string& header) {
    return MessageOf(MakeFile(1, header, std::string(64, '\0')));
  };
  EXPECT_THAT(MessageOf("something else"), HasSubstr("no .npy file"));
  EXPECT_THAT(MessageOf(MakeFile(9, kHeader, kNumbers)), HasSubstr("version 9"));
  EXPECT_THAT(withHeader("{'descr': '>f4', 'fortran_order': False, 'shape': (2,)}"), HasSubstr("big-endian"));
  EXPECT_THAT(withHeader("{'descr': '<c8', 'fortran_order': False, 'shape': (2,)}"), HasSubstr("\"<c8\""));
  EXPECT_THAT(withHeader("{'descr': '', 'fortran_order': False, 'shape': (2,)}"), HasSubstr("not known"));
  EXPECT_THAT(withHeader("{'descr': [('x', '<f4')], 'fortran_order': False, 'shape': (2,)}"), HasSubstr("records"));
  EXPECT_THAT(withHeader("{'descr': '<f4', 'fortran_order': True, 'shape': (2,)}"), HasSubstr("Fortran order"));
  EXPECT_THAT(withHeader("{'descr': '<f4', 'fortran_order': False, 'shape': (2, x)}"), HasSubstr("shape"));
  EXPECT_THAT(withHeader("{'descr': '<f4', 'fortran_order': False, 'shape': (-2,)}"), HasSubstr("shape"));
  EXPECT_THAT(withHeader("{'descr': '<f4', 'fortran_order': False}"), HasSubstr("no \"shape\""));
  EXPECT_THAT(
      withHeader("{'descr': '<f4', 'fortran_order': False, 'shape': (4611686018427387904, 4611686018427387904)}"),
      HasSubstr("too early"));
}

}  // namespace
}  // namespace ostra
