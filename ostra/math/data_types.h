// The DataTypes of vectors, matrices and half floats. Include this where GetDataType is asked for one of them.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/math/half_float.h"
#include "ostra/math/matrix.h"
#include "ostra/math/vector.h"

namespace ostra {

template <glm::length_t N, class T>
struct DataTypeOf<glm::vec<N, T, glm::packed_highp>> {
  static DataType Make() {
    return MakeParametric<glm::vec<N, T, glm::packed_highp>>(kVectorParametricType, GetDataType<T>(), N);
  }
};

}  // namespace ostra

OSTRA_HOST_DATATYPE(ostra::HalfFloat);
OSTRA_HOST_DATATYPE(ostra::Vec2<ostra::Float32>);
OSTRA_HOST_DATATYPE(ostra::Vec3<ostra::Float32>);
OSTRA_HOST_DATATYPE(ostra::Vec4<ostra::Float32>);
OSTRA_HOST_DATATYPE(ostra::Vec2<ostra::Int32>);
OSTRA_HOST_DATATYPE(ostra::Vec3<ostra::Int32>);
OSTRA_HOST_DATATYPE(ostra::Vec4<ostra::Int32>);
OSTRA_HOST_DATATYPE(ostra::Vec2<ostra::UInt32>);
OSTRA_HOST_DATATYPE(ostra::Vec3<ostra::UInt32>);
OSTRA_HOST_DATATYPE(ostra::Vec4<ostra::UInt32>);
OSTRA_HOST_DATATYPE(ostra::SquareMatrix32);
OSTRA_HOST_DATATYPE(ostra::SquareMatrix4d32);
OSTRA_HOST_DATATYPE(ostra::AffineMatrix32);
