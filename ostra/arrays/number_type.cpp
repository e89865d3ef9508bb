#include "ostra/arrays/number_type.h"

#include "ostra/core/format.h"
#include "ostra/math/data_types.h"

OSTRA_UNIT("number_type");

namespace ostra {

namespace {

// 8-bit signed numbers have two types of the same form; the first of a code is the one that files are read as.
const auto& GetNumberTypes() {
  static const NumberType types[] = {
      {GetDataType<Float32>(), "f4"},   {GetDataType<UInt32>(), "u4"}, {GetDataType<Int32>(), "i4"},
      {GetDataType<HalfFloat>(), "f2"}, {GetDataType<UInt8>(), "u1"},  {GetDataType<Int8>(), "i1"},
      {GetDataType<Char>(), "i1"},      {GetDataType<UInt16>(), "u2"}, {GetDataType<Int16>(), "i2"},
      {GetDataType<Float64>(), "f8"},   {GetDataType<Int64>(), "i8"},  {GetDataType<UInt64>(), "u8"},
      {GetDataType<Bool>(), "b1"},
  };
  return types;
}

// A matrix is made of vectors, which are made of numbers.
DataType FindInnermost(DataType type, Bool entersAtomics) {
  while (type.IsMadeWith(kVectorParametricType) || type.IsMadeWith(kSquareMatrixParametricType) ||
         type.IsMadeWith(kMatrixParametricType) || (entersAtomics && type.IsMadeWith(kAtomicParametricType)))
    type = type.GetInnerType();
  return type;
}

}  // namespace

const NumberType* FindNumberType(DataType type) {
  for (const NumberType& number : GetNumberTypes())
    if (number.type == type) return &number;
  return nullptr;
}

const NumberType* FindNumberType(std::string_view npyCode) {
  for (const NumberType& number : GetNumberTypes())
    if (number.npyCode == npyCode) return &number;
  return nullptr;
}

Result<NumberLayout> GetNumberLayout(DataType type) {
  const DataType inner = FindInnermost(type, true);
  const NumberType* number = inner.IsPopulated() ? FindNumberType(inner) : nullptr;
  if (!number) return OSTRA_ILLEGAL_ARGUMENT("The type @ is not made of numbers.", DescribeElementType(type));
  return NumberLayout{number, type.GetSize() / number->GetSize()};
}

std::string DescribeElementType(DataType type) {
  if (!type.IsPopulated()) return "nothing";
  const DataType inner = FindInnermost(type, false);
  std::string name(inner.GetView());
  return inner == type ? name : std::to_string(type.GetSize() / inner.GetSize()) + " x " + name;
}

}  // namespace ostra
