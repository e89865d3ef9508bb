// Array files of the .npy format, versions 1 to 3: little-endian numbers in C order.
//
// Throws std::bad_alloc. Thread-safe.
//
// The format is described in "NEP 1 - A Simple File Format for NumPy Arrays" (2007).
#pragma once

#include <span>
#include <string>
#include <vector>

#include "ostra/arrays/number_type.h"
#include "ostra/core/base_array.h"

namespace ostra {

struct NumberArray {
  const NumberType* number = nullptr;
  std::vector<Int> shape;     // the last axis varies fastest; empty for a single number
  Block<const Byte> numbers;  // the bytes of all numbers, inside the decoded file

  Int GetCount() const { return number ? numbers.GetCount() / number->GetSize() : 0; }
};

// Errors: illegal argument with the reason, without the name of the file: damaged or cut off, big-endian numbers,
// Fortran order, elements that are no plain numbers.
OSTRA_API Result<NumberArray> DecodeNpy(Block<const Byte> bytes);

struct RecordArray {
  std::vector<Int> shape;
  Block<const Byte> records;  // the bytes of all records, inside the decoded file
};

// The same for elements that are records, which must be those of the struct (npy_records.h).
OSTRA_API Result<RecordArray> DecodeNpyRecords(Block<const Byte> bytes, DataType structType);

// What stands in front of the records, whose description is in Python's words.
OSTRA_API std::string EncodeNpyRecordHeader(std::string_view description, std::span<const Int> shape);

// What stands in front of the numbers in a file of version 1 whose shape is `shape`.
OSTRA_API std::string EncodeNpyHeader(const NumberType& number, std::span<const Int> shape);

}  // namespace ostra
