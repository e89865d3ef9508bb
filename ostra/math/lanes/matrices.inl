// Products of vectors of lanes with matrices that all lanes share (ostra/math/matrix_functions.h), with the same bits.

namespace ostra::OSTRA_LANES {

OSTRA_LANE_INLINE LaneVec3<Float32> mul(const SquareMatrix32& m, const LaneVec3<Float32>& v) {
  return LaneVec3<Float32>(m.v0) * v.x + LaneVec3<Float32>(m.v1) * v.y + LaneVec3<Float32>(m.v2) * v.z;
}
OSTRA_LANE_INLINE LaneVec4<Float32> mul(const SquareMatrix4d32& m, const LaneVec4<Float32>& v) {
  return LaneVec4<Float32>(m.v0) * v.x + LaneVec4<Float32>(m.v1) * v.y + LaneVec4<Float32>(m.v2) * v.z +
         LaneVec4<Float32>(m.v3) * v.w;
}
OSTRA_LANE_INLINE LaneVec3<Float32> mul(const LaneVec3<Float32>& v, const SquareMatrix32& m) {
  return {dot(v, LaneVec3<Float32>(m.v0)), dot(v, LaneVec3<Float32>(m.v1)), dot(v, LaneVec3<Float32>(m.v2))};
}
OSTRA_LANE_INLINE LaneVec4<Float32> mul(const LaneVec4<Float32>& v, const SquareMatrix4d32& m) {
  return {dot(v, LaneVec4<Float32>(m.v0)), dot(v, LaneVec4<Float32>(m.v1)), dot(v, LaneVec4<Float32>(m.v2)),
          dot(v, LaneVec4<Float32>(m.v3))};
}
OSTRA_LANE_INLINE LaneVec3<Float32> mul(const AffineMatrix32& m, const LaneVec3<Float32>& p) {
  return LaneVec3<Float32>(m.off) + LaneVec3<Float32>(m.v1) * p.x + LaneVec3<Float32>(m.v2) * p.y +
         LaneVec3<Float32>(m.v3) * p.z;
}

}  // namespace ostra::OSTRA_LANES
