#include "ostra/arrays/npy_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/arrays/npy.h"
#include "ostra/core/struct_type.h"
#include "ostra/math/data_types.h"

namespace ostra {
namespace {

using testing::HasSubstr;

struct Body {
  Vector32 shape;  // has the name of a key of the header
  Float32 mass;
};
OSTRA_STRUCT(Body, shape, mass)

struct Particle {
  Body body;
  UInt32 id;
  SquareMatrix32 frame;
  Int32 cells[4];
  Vector4d32 colours[2];
  Body others[2];
};
OSTRA_STRUCT(Particle, body, id, frame, cells, colours, others)

const std::string kBody = "[('shape', '<f4', (3,)), ('mass', '<f4')]";

TEST(NpyRecordsTest, MembersAreFieldsAndMatricesArraysOfColumns) {
  const auto description = MakeRecordDescription(GetDataType<Particle>());
  ASSERT_TRUE(description.IsOk());
  EXPECT_EQ(*description, "[('body', " + kBody +
                              "), ('id', '<u4'), ('frame', '<f4', (3, 3)), ('cells', '<i4', (4,)), ('colours', '<f4', "
                              "(2, 4)), ('others', " +
                              kBody + ", (2,))]");
  EXPECT_TRUE(CheckRecordDescription(*description, GetDataType<Particle>()).IsOk());
}

std::string MessageOf(std::string_view description) {
  const auto checked = CheckRecordDescription(description, GetDataType<Body>());
  return checked.IsOk() ? "" : std::string(checked.GetError().GetMessage().GetView());
}

TEST(NpyRecordsTest, OtherSpellingsOfTheSameRecordsAreTaken) {
  EXPECT_EQ(MessageOf("[(\"shape\",\"<f4\",(3,)),(\"mass\",\"<f4\",1)]"), "");
  EXPECT_EQ(MessageOf("[('shape', '<f4', (3, 1)), ('mass', '<f4', ()), ], 'fortran_order': False"), "");
  EXPECT_EQ(MessageOf("[('shape', '<f4', 3), ('mass', '<f4')]"), "");
}

TEST(NpyRecordsTest, WhatDoesNotFitIsNamed) {
  EXPECT_EQ(MessageOf("[('shape', '<f4', (3,)), ('weight', '<f4')]"),
            "the records have no field \"mass\", which the struct Body has");
  EXPECT_EQ(MessageOf("[('shape', '<f4', (3,)), ('mass', '<f4'), ('more', '<f4')]"),
            "the field \"more\" of the records is no member of the struct Body");
  EXPECT_EQ(MessageOf("[('shape', '<f4', (2,)), ('mass', '<f4')]"),
            "the field \"shape\" is 2 x <f4, and the member of the struct Body is 3 x <f4");
  EXPECT_EQ(MessageOf("[('shape', '<f4', (3,)), ('mass', '>f4')]"),
            "the field \"mass\" is >f4, and the member of the struct Body is <f4");
  EXPECT_EQ(MessageOf("[('mass', '<f4'), ('shape', '<f4', (3,))]"),
            "the field \"shape\" begins at byte 4, and the member of the struct Body at byte 0");
  EXPECT_EQ(MessageOf("[('shape', '<f4', (3,)), ('', '|V4'), ('mass', '<f4')]"),
            "the field \"mass\" begins at byte 16, and the member of the struct Body at byte 12");
  EXPECT_EQ(MessageOf("[('shape', " + kBody + "), ('mass', '<f4')]"),
            "the field \"shape\" is a record, and the member of the struct Body is 3 x <f4");
  EXPECT_EQ(MessageOf("[('shape', '<f4', (3,)), ('mass', '<f4'), ('', '|V4')]"),
            "the field \"\" of the records is no member of the struct Body");
}

TEST(NpyRecordsTest, DamagedDescriptionsAreRefused) {
  std::string deep;
  for (int i = 0; i < 200; ++i) deep += "[('a', ";
  for (const std::string& text : {std::string("["), std::string("[('shape'"), std::string("[('shape', '<f4', (3,"),
                                  std::string("[('shape', 5)]"), std::string("[('shape', '<f4', (-3,))]"), deep})
    EXPECT_EQ(MessageOf(text), "the description of the records is damaged") << text;
}

TEST(NpyRecordsTest, FilesKeepShapesAndBytes) {
  const std::string header = EncodeNpyRecordHeader(kBody, std::vector<Int>{2, 3});
  EXPECT_EQ(header.size() % 64, 0u);
  const std::string file = header + std::string(6 * sizeof(Body), 'x');
  const auto decode = [](const std::string& bytes) {
    return DecodeNpyRecords({reinterpret_cast<const Byte*>(bytes.data()), static_cast<Int>(bytes.size())},
                            GetDataType<Body>());
  };
  const auto array = decode(file);
  ASSERT_TRUE(array.IsOk()) << array.GetError().GetMessage().GetView();
  EXPECT_THAT(array->shape, testing::ElementsAre(2, 3));
  EXPECT_EQ(array->records.GetCount(), 96);
  EXPECT_THAT(decode(file.substr(0, file.size() - 1)).GetError().GetMessage().GetView(),
              HasSubstr("the file ends too early"));
  EXPECT_EQ(decode(EncodeNpyHeader(*FindNumberType("f4"), std::vector<Int>{4})).GetError().GetMessage(),
            "the elements are numbers of the type float32, and records of the struct Body are needed");
}

TEST(NpyRecordsTest, LongHeadersAreWrittenInVersionTwo) {
  const std::string header = EncodeNpyRecordHeader(std::string(70'000, ' ') + kBody, std::vector<Int>{0});
  EXPECT_EQ(header[6], 2);
  EXPECT_EQ(header.size() % 64, 0u);
  const auto array = DecodeNpyRecords({reinterpret_cast<const Byte*>(header.data()), static_cast<Int>(header.size())},
                                      GetDataType<Body>());
  EXPECT_TRUE(array.IsOk());
}

}  // namespace
}  // namespace ostra
