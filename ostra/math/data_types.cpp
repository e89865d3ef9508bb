// The host describes the types that every module shares, so that they outlive all modules.
#include "ostra/math/data_types.h"

#include "ostra/core/array.h"

namespace ostra {
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
