// The types of numbers that array files hold, and what elements of arrays are made of.
//
//   OSTRA_ASSIGN_OR_RETURN(const NumberLayout layout, GetNumberLayout(GetDataType<Vector4d32>()));
//   layout.number->npyCode;     // "f4"
//   layout.componentCount;      // 4
//
// Thread-safe.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/data_type.h"

namespace ostra {

struct NumberType {
  DataType type;
  std::string_view npyCode;  // kind and bytes, as array files name it

  Int GetSize() const { return type.GetSize(); }  // in bytes
};

// The number type of `type`, or of a code in array files; null if it is not known.
OSTRA_API const NumberType* FindNumberType(DataType type);
OSTRA_API const NumberType* FindNumberType(std::string_view npyCode);

// What an element consists of: `componentCount` numbers of one type, tightly packed.
struct NumberLayout {
  const NumberType* number = nullptr;
  Int componentCount = 1;
};

// The layout of numbers, vectors and matrices. Errors: illegal argument for other types; out of memory.
OSTRA_API Result<NumberLayout> GetNumberLayout(DataType type);

// "float32", "4 x float32"; the name of a type that has no layout. Throws std::bad_alloc.
OSTRA_API std::string DescribeElementType(DataType type);

}  // namespace ostra
