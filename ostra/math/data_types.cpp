// The host describes the types that every module shares, so that they outlive all modules.
#include "ostra/math/data_types.h"

#include "ostra/core/array.h"

OSTRA_HOST_DATATYPE_DEFINITION(ostra::HalfFloat, "net.ostra.datatype.float16", "float16")

namespace ostra {

namespace {

template <class Vector>
DataType MakeVector(DataType element, Int count) {
  return MakeParametric<Vector>(kVectorParametricType, element, count);
}

}  // namespace

#define OSTRA_VECTOR_DATATYPES(Element)                                                                       \
  DataType DataTypeOf<Vec2<Element>>::Make() { return MakeVector<Vec2<Element>>(GetDataType<Element>(), 2); } \
  DataType DataTypeOf<Vec3<Element>>::Make() { return MakeVector<Vec3<Element>>(GetDataType<Element>(), 3); } \
  DataType DataTypeOf<Vec4<Element>>::Make() { return MakeVector<Vec4<Element>>(GetDataType<Element>(), 4); }
OSTRA_VECTOR_DATATYPES(Float32)
OSTRA_VECTOR_DATATYPES(Int32)
OSTRA_VECTOR_DATATYPES(UInt32)

DataType DataTypeOf<SquareMatrix32>::Make() {
  return MakeParametric<SquareMatrix32>(kSquareMatrixParametricType, GetDataType<Vec3<Float32>>(), 3);
}
DataType DataTypeOf<SquareMatrix4d32>::Make() {
  return MakeParametric<SquareMatrix4d32>(kSquareMatrixParametricType, GetDataType<Vec4<Float32>>(), 4);
}
DataType DataTypeOf<AffineMatrix32>::Make() {
  return MakeParametric<AffineMatrix32>(kMatrixParametricType, GetDataType<Vec3<Float32>>(), 4);
}

namespace {

template <class... Types>
void RegisterTypes() {
  (static_cast<void>(GetDataType<Types>()), ...);
  (static_cast<void>(GetDataType<Types*>()), ...);
  (static_cast<void>(GetDataType<Block<Types>>()), ...);
  (static_cast<void>(GetDataType<BaseArray<Types>>()), ...);
  (static_cast<void>(GetDataType<Array<Types>>()), ...);
}

template <class... Elements>
void RegisterVectors() {
  (RegisterTypes<Vec2<Elements>, Vec3<Elements>, Vec4<Elements>>(), ...);
}

[[maybe_unused]] const Bool g_registered = [] {
  RegisterTypes<HalfFloat, SquareMatrix32, SquareMatrix4d32, AffineMatrix32>();
  RegisterVectors<Float32, Int32, UInt32, HalfFloat>();
  return true;
}();

}  // namespace
}  // namespace ostra
