// LaneMatrix3, LaneMatrix4 and LaneAffineMatrix: matrices with lanes as components, and products of matrices with
// vectors of lanes (ostra/math/matrix_functions.h), with the same bits. In products with a vector a matrix that all
// lanes share is taken as it is.

namespace ostra::OSTRA_LANES {

struct LaneMatrix3 {
  LaneVec3<Float32> v0, v1, v2;

  LaneMatrix3() = default;
  OSTRA_LANE_INLINE LaneMatrix3(const LaneVec3<Float32>& a, const LaneVec3<Float32>& b, const LaneVec3<Float32>& c)
      : v0(a), v1(b), v2(c) {}
  OSTRA_LANE_INLINE LaneMatrix3(const SquareMatrix32& shared) : v0(shared.v0), v1(shared.v1), v2(shared.v2) {}
  friend OSTRA_LANE_INLINE LaneMatrix3 Select(Mask m, const LaneMatrix3& a, const LaneMatrix3& b) {
    return {Select(m, a.v0, b.v0), Select(m, a.v1, b.v1), Select(m, a.v2, b.v2)};
  }
};

struct LaneMatrix4 {
  LaneVec4<Float32> v0, v1, v2, v3;

  LaneMatrix4() = default;
  OSTRA_LANE_INLINE LaneMatrix4(const LaneVec4<Float32>& a, const LaneVec4<Float32>& b, const LaneVec4<Float32>& c,
                                const LaneVec4<Float32>& d)
      : v0(a), v1(b), v2(c), v3(d) {}
  OSTRA_LANE_INLINE LaneMatrix4(const SquareMatrix4d32& shared)
      : v0(shared.v0), v1(shared.v1), v2(shared.v2), v3(shared.v3) {}
  friend OSTRA_LANE_INLINE LaneMatrix4 Select(Mask m, const LaneMatrix4& a, const LaneMatrix4& b) {
    return {Select(m, a.v0, b.v0), Select(m, a.v1, b.v1), Select(m, a.v2, b.v2), Select(m, a.v3, b.v3)};
  }
};

struct LaneAffineMatrix {
  LaneVec3<Float32> off, v1, v2, v3;

  LaneAffineMatrix() = default;
  OSTRA_LANE_INLINE LaneAffineMatrix(const LaneVec3<Float32>& offset, const LaneVec3<Float32>& a,
                                     const LaneVec3<Float32>& b, const LaneVec3<Float32>& c)
      : off(offset), v1(a), v2(b), v3(c) {}
  OSTRA_LANE_INLINE LaneAffineMatrix(const AffineMatrix32& shared)
      : off(shared.off), v1(shared.v1), v2(shared.v2), v3(shared.v3) {}
  friend OSTRA_LANE_INLINE LaneAffineMatrix Select(Mask m, const LaneAffineMatrix& a, const LaneAffineMatrix& b) {
    return {Select(m, a.off, b.off), Select(m, a.v1, b.v1), Select(m, a.v2, b.v2), Select(m, a.v3, b.v3)};
  }
};

OSTRA_LANE_INLINE LaneVec3<Float32> mul(const LaneMatrix3& m, const LaneVec3<Float32>& v) {
  return m.v0 * v.x + m.v1 * v.y + m.v2 * v.z;
}
OSTRA_LANE_INLINE LaneVec4<Float32> mul(const LaneMatrix4& m, const LaneVec4<Float32>& v) {
  return m.v0 * v.x + m.v1 * v.y + m.v2 * v.z + m.v3 * v.w;
}
OSTRA_LANE_INLINE LaneVec3<Float32> mul(const LaneVec3<Float32>& v, const LaneMatrix3& m) {
  return {dot(v, m.v0), dot(v, m.v1), dot(v, m.v2)};
}
OSTRA_LANE_INLINE LaneVec4<Float32> mul(const LaneVec4<Float32>& v, const LaneMatrix4& m) {
  return {dot(v, m.v0), dot(v, m.v1), dot(v, m.v2), dot(v, m.v3)};
}
OSTRA_LANE_INLINE LaneVec3<Float32> mul(const LaneAffineMatrix& m, const LaneVec3<Float32>& p) {
  return m.off + m.v1 * p.x + m.v2 * p.y + m.v3 * p.z;
}

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
