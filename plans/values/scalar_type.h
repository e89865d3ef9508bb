// The plain number types that values, buffers and files are made of.
//
//   const ElementLayout layout = GetElementLayout(GetDataType<Vector4d32>()).GetValue();
//   layout.scalar->npyCode;     // "f4"
//   layout.componentCount;      // 4
//
// Thread-safe.
#pragma once

#include <string>
#include <string_view>

#include "ostra/arrays/number_type.h"

namespace ostra::plans {

// A type of numbers with its form on command lines and in texts.
struct ScalarType : NumberType {
  // Reads the whole text as one number. Error: usage error that says what was expected.
  Result<void> (*parse)(std::string_view text, void* target);
  // Appends the number in the shortest form that reads back as the same number.
  void (*print)(const void* value, std::string& target);
};

// The scalar type of `type`, or of a code; null if it is not known.
const ScalarType* FindScalarType(DataType type);
const ScalarType* FindScalarType(std::string_view npyCode);

// What an element consists of: `componentCount` numbers of one type, tightly packed.
struct ElementLayout {
  const ScalarType* scalar = nullptr;
  Int componentCount = 1;
};

// The layout of numbers, vectors and matrices. Error: illegal argument for other types.
Result<ElementLayout> GetElementLayout(DataType type);

// "float32", "4 x float32"; the name of a type that has no layout.
inline std::string DescribeType(DataType type) { return DescribeElementType(type); }

}  // namespace ostra::plans
