// Texts of values as texts of other values: conversions, components, columns. On GPUs integers of 8 and 16 bits are
// ints with a value of the type, because devices need arithmetic of 32 bits alone, as C++ computes: elements of buffers
// are widened where they are read, and cut where they are written. Vectors of bools are vectors of ints, 0 and 1, and
// matrices of two columns are a vec4 of both, because not every language has others.
#pragma once

#include "parallelprogram/kernellanguage/plain_part.h"

namespace ostra::kernellanguage {

class PlainValues : PlainPart {
 public:
  explicit PlainValues(const PlainBasis& basis) : PlainPart(basis) {}

  // The components of a value with this text, in its own scalar type.
  std::vector<std::string> Components(const std::string& value, TypeIndex type) const;
  std::string ConvertScalar(const std::string& value, Scalar from, Scalar to);
  // A number as another number, or a vector as one of other numbers.
  std::string ConvertText(const std::string& value, TypeIndex from, TypeIndex to);
  // As a component of a vector: bools are ints there.
  std::string StoredComponent(const std::string& value, Scalar from, Scalar to);
  // An int with the value that a number of the type `from` has in the type `to`.
  std::string CutInteger(const std::string& value, Scalar from, Scalar to) const;
  // What is written to the place when it gets such an int.
  std::string StoredText(NodeIndex place, const std::string& value) const;
  // The value of a place whose text, or the text of what it is a swizzle of, is `place`.
  std::string PartOf(const std::string& place, NodeIndex target);
  // Of a parameter, whose numbers may be any: 1 for those that are not 0.
  std::string BoolsOf(const std::string& numbers, NodeIndex node) const;

  // % as C++ computes it. GLSL leaves open what it gives for negative numbers, and compilers of HLSL and drivers
  // differ; all of them cut quotients as C++ does.
  std::string CallRemainder(TypeIndex left, TypeIndex right, const std::string& dividend, const std::string& divisor);

  // Column `column` of the matrix with the text `matrix`. On GPUs matrices are the language's own; all of them have
  // columns by number, HLSL because it keeps them transposed.
  std::string MakeColumn(std::string_view matrix, UInt32 count, UInt32 column) const;
  std::string MakeElement(std::string_view matrix, UInt32 count, UInt32 column, UInt32 row) const;
  // The matrix of these columns, or of their components in order.
  std::string MakeMatrix(TypeIndex type, const std::vector<std::string>& components);
  // The column of a number that is known on the device alone.
  std::string CallColumn(TypeIndex type, const std::string& matrix, const std::string& index);
};

}  // namespace ostra::kernellanguage
