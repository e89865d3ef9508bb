// The DataTypes of vectors, matrices and half floats. Include this where GetDataType is asked for one of them.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/math/half_float.h"
#include "ostra/math/matrix.h"
#include "ostra/math/vector.h"

OSTRA_DATATYPE(ostra::HalfFloat, "net.ostra.datatype.float16", "float16");

namespace ostra {

template <glm::length_t N, class T>
struct DataTypeOf<glm::vec<N, T, glm::packed_highp>> {
  static DataType Make() {
    return MakeParametric<glm::vec<N, T, glm::packed_highp>>(kVectorParametricType, GetDataType<T>(), N);
  }
};

template <>
struct DataTypeOf<SquareMatrix32> {
  static DataType Make() {
    return MakeParametric<SquareMatrix32>(kSquareMatrixParametricType, GetDataType<Vec3<Float32>>(), 3);
  }
};

template <>
struct DataTypeOf<SquareMatrix4d32> {
  static DataType Make() {
    return MakeParametric<SquareMatrix4d32>(kSquareMatrixParametricType, GetDataType<Vec4<Float32>>(), 4);
  }
};

template <>
struct DataTypeOf<AffineMatrix32> {
  static DataType Make() {
    return MakeParametric<AffineMatrix32>(kMatrixParametricType, GetDataType<Vec3<Float32>>(), 4);
  }
};

}  // namespace ostra
