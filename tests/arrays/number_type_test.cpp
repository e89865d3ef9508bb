#include "ostra/arrays/number_type.h"

#include <gmock/gmock.h>

#include "ostra/core/atomic.h"
#include "ostra/math/data_types.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

TEST(NumberTypeTest, NumbersAreFoundByTypeAndByCode) {
  for (const char* code : {"f2", "f4", "f8", "i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "b1"}) {
    const NumberType* const number = FindNumberType(std::string_view(code));
    ASSERT_NE(number, nullptr) << code;
    EXPECT_EQ(number->npyCode, code);
    EXPECT_EQ(number->GetSize(), code[1] - '0');
    EXPECT_EQ(FindNumberType(number->type), number);
  }
  EXPECT_EQ(FindNumberType(std::string_view("c8")), nullptr);
  EXPECT_EQ(FindNumberType(GetDataType<Vector32>()), nullptr);
  EXPECT_EQ(FindNumberType(DataType()), nullptr);
}

TEST(NumberTypeTest, LayoutsOfVectorsAndMatricesCountTheirNumbers) {
  const auto matrix = GetNumberLayout(GetDataType<SquareMatrix32>());
  ASSERT_THAT(matrix, IsOk());
  EXPECT_EQ(matrix->number, FindNumberType(GetDataType<Float32>()));
  EXPECT_EQ(matrix->componentCount, 9);
  const auto counter = GetNumberLayout(GetDataType<AtomicUInt32>());
  ASSERT_THAT(counter, IsOk());
  EXPECT_EQ(counter->number, FindNumberType(GetDataType<UInt32>()));
  EXPECT_EQ(counter->componentCount, 1);
  EXPECT_THAT(GetNumberLayout(GetDataType<String>()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(GetNumberLayout(DataType()),
              IsErrorWith(kIllegalArgumentError, "The type nothing is not made of numbers."));
}

TEST(NumberTypeTest, ElementsAreDescribedByTheirNumbers) {
  EXPECT_EQ(DescribeElementType(GetDataType<Float32>()), "float32");
  EXPECT_EQ(DescribeElementType(GetDataType<Vector4d32>()), "4 x float32");
  EXPECT_EQ(DescribeElementType(DataType()), "nothing");
}

}  // namespace
}  // namespace ostra
