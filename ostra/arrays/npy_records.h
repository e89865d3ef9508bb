// The elements of .npy files that are records, and the structs that they stand for.
//
//   MakeRecordDescription(particle)      // "[('position', '<f4', (3,)), ('id', '<u4')]"
//
// Throws std::bad_alloc. Thread-safe. Fields and members must agree in name, order, type and offset. A matrix is an
// array of its columns.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/data_type.h"

namespace ostra {

// How array files describe elements of the struct. Error: illegal argument for a struct whose members are not known.
OSTRA_API Result<std::string> MakeRecordDescription(DataType structType);

// Whether records of this description are elements of the struct. Errors: illegal argument that names the field or the
// member, and both types; for a text that is no description of records.
OSTRA_API Result<void> CheckRecordDescription(std::string_view description, DataType structType);

}  // namespace ostra
