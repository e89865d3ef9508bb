// One lane of a value: GetLane(lanes, lane) and SetLane(lanes, lane, value). A struct of lanes brings its own.

namespace ostra::OSTRA_LANES {

template <class T>
OSTRA_LANE_INLINE T GetLane(const Lanes<T>& lanes, int lane) {
  return lanes.Get(lane);
}
OSTRA_LANE_INLINE Bool GetLane(const Mask& mask, int lane) { return mask.Get(lane); }
template <class T>
OSTRA_LANE_INLINE Vec2<T> GetLane(const LaneVec2<T>& lanes, int lane) {
  return {lanes.x.Get(lane), lanes.y.Get(lane)};
}
template <class T>
OSTRA_LANE_INLINE Vec3<T> GetLane(const LaneVec3<T>& lanes, int lane) {
  return {lanes.x.Get(lane), lanes.y.Get(lane), lanes.z.Get(lane)};
}
template <class T>
OSTRA_LANE_INLINE Vec4<T> GetLane(const LaneVec4<T>& lanes, int lane) {
  return {lanes.x.Get(lane), lanes.y.Get(lane), lanes.z.Get(lane), lanes.w.Get(lane)};
}
OSTRA_LANE_INLINE SquareMatrix32 GetLane(const LaneMatrix3& lanes, int lane) {
  return {GetLane(lanes.v0, lane), GetLane(lanes.v1, lane), GetLane(lanes.v2, lane)};
}
OSTRA_LANE_INLINE SquareMatrix4d32 GetLane(const LaneMatrix4& lanes, int lane) {
  return {GetLane(lanes.v0, lane), GetLane(lanes.v1, lane), GetLane(lanes.v2, lane), GetLane(lanes.v3, lane)};
}
OSTRA_LANE_INLINE AffineMatrix32 GetLane(const LaneAffineMatrix& lanes, int lane) {
  return {GetLane(lanes.off, lane), GetLane(lanes.v1, lane), GetLane(lanes.v2, lane), GetLane(lanes.v3, lane)};
}

template <class T>
OSTRA_LANE_INLINE void SetLane(Lanes<T>& lanes, int lane, T value) {
  lanes.Set(lane, value);
}
OSTRA_LANE_INLINE void SetLane(Mask& mask, int lane, Bool value) { mask.Set(lane, value); }
template <class T>
OSTRA_LANE_INLINE void SetLane(LaneVec2<T>& lanes, int lane, const Vec2<T>& value) {
  lanes.x.Set(lane, value.x), lanes.y.Set(lane, value.y);
}
template <class T>
OSTRA_LANE_INLINE void SetLane(LaneVec3<T>& lanes, int lane, const Vec3<T>& value) {
  lanes.x.Set(lane, value.x), lanes.y.Set(lane, value.y), lanes.z.Set(lane, value.z);
}
template <class T>
OSTRA_LANE_INLINE void SetLane(LaneVec4<T>& lanes, int lane, const Vec4<T>& value) {
  lanes.x.Set(lane, value.x), lanes.y.Set(lane, value.y), lanes.z.Set(lane, value.z), lanes.w.Set(lane, value.w);
}
OSTRA_LANE_INLINE void SetLane(LaneMatrix3& lanes, int lane, const SquareMatrix32& value) {
  SetLane(lanes.v0, lane, value.v0), SetLane(lanes.v1, lane, value.v1), SetLane(lanes.v2, lane, value.v2);
}
OSTRA_LANE_INLINE void SetLane(LaneMatrix4& lanes, int lane, const SquareMatrix4d32& value) {
  SetLane(lanes.v0, lane, value.v0), SetLane(lanes.v1, lane, value.v1);
  SetLane(lanes.v2, lane, value.v2), SetLane(lanes.v3, lane, value.v3);
}
OSTRA_LANE_INLINE void SetLane(LaneAffineMatrix& lanes, int lane, const AffineMatrix32& value) {
  SetLane(lanes.off, lane, value.off), SetLane(lanes.v1, lane, value.v1);
  SetLane(lanes.v2, lane, value.v2), SetLane(lanes.v3, lane, value.v3);
}

}  // namespace ostra::OSTRA_LANES
