// Work groups in lanes: the loop of a piece between barriers, and that over groups. Included by kernel_lanes.inl,
// between level_begin.inl and level_end.inl. No include guard.

namespace ostra::OSTRA_LANES {

// Calls run(global x, y and z, number in the dispatch, local ID, number in the group, mask) for kLaneCount invocations
// along x at a time, with the IDs and numbers of the first one; the last ones of a row with a mask.
template <class Group, class Run>
OSTRA_LANE_INLINE void ForEachRow(const Vec3<UInt32>& group, const Run& run) {
  constexpr UInt32 kWhole = Group::kX - Group::kX % kLaneCount;
  const Vec3<UInt32> first(group.x * Group::kX, group.y * Group::kY, group.z * Group::kZ);
  const UInt32 linear = first.x + kernel::GetLinearOffset<Group>(group.y);
  UInt32 number = 0;
  for (UInt32 z = 0; z < Group::kZ; ++z) {
    for (UInt32 y = 0; y < Group::kY; ++y, number += Group::kX) {
      // A mask that is known when it is compiled costs nothing.
      if constexpr (kWhole > 0) {
        for (UInt32 x = 0; x < kWhole; x += kLaneCount)
          run(first.x + x, first.y + y, first.z + z, linear + x, Vec3<UInt32>(x, y, z), number + x, Mask(true));
      }
      if constexpr (kWhole < Group::kX)
        run(first.x + kWhole, first.y + y, first.z + z, linear + kWhole, Vec3<UInt32>(kWhole, y, z), number + kWhole,
            MakeFirstLanes(Group::kX - kWhole));
    }
  }
}

// Runs the wide form of a kernel over groups. Rows that would leave three quarters of the lanes off have none.
template <class Form, class Group>
struct GroupLoops {
  static constexpr Bool kExists = Group::kX * 4 > kLaneCount;
  static constexpr UInt32 kCount = kLaneCount;
  template <class Values, class Memory>
  __attribute__((noinline, flatten)) static void Run(const Values& values, const KernelGroups& groups, Memory& memory) {
    OSTRA_LANE_CLEAR;
    const Form form(values);
    const Vec3<UInt32>& count = groups.count;
    for (UInt64 i = groups.first; i < groups.end; ++i) {
      const UInt64 row = i / count.x;
      form.RunGroup(Vec3<UInt32>(static_cast<UInt32>(i % count.x), static_cast<UInt32>(row % count.y),
                                 static_cast<UInt32>(row / count.y)),
                    memory);
    }
    OSTRA_LANE_CLEAR;
  }
};

}  // namespace ostra::OSTRA_LANES
