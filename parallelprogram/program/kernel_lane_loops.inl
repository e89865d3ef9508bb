// The loop of a wide form over a range. Included by kernel_lanes.inl and kernel_lane_pairs.inl, between level_begin.inl
// and level_end.inl. No include guard.

namespace ostra::OSTRA_LANES {

// Runs the wide form of a kernel over a range of independent invocations, row by row; the last ones of a row with a
// mask, or by the form for half as many if there is one.
template <class Form, class Group, class Half = void>
struct LaneLoops {
  static constexpr Bool kExists = true;
  static constexpr Bool kHasHalf = !std::is_void_v<Half>;
  static constexpr UInt32 kCount = kHasHalf ? kLaneCount / 2 : kLaneCount;
  template <class Parameters>
  __attribute__((noinline, flatten)) static void Run(const Parameters& parameters, const KernelRange& range) {
    OSTRA_LANE_CLEAR;
    const Form form(parameters);
    [[maybe_unused]] const std::conditional_t<kHasHalf, Half, Form> half(parameters);
    const UInt32 row = range.first / range.extent.x;
    UInt32 begin = range.first - row * range.extent.x;
    UInt32 y = row % range.extent.y, z = row / range.extent.y;
    for (UInt32 left = range.count; left != 0;) {
      const UInt32 count = left < range.extent.x - begin ? left : range.extent.x - begin;
      const UInt32 offset = kernel::GetLinearOffset<Group>(y / Group::kY);
      for (UInt32 done = 0; done < count; done += kLaneCount) {
        const UInt32 x = begin + done;
        if constexpr (kHasHalf) {
          if (count - done <= kCount) {
            half.Run(x, y, z, x + offset, Half::ostraMakeActive(count - done));
            break;
          }
        }
        form.Run(x, y, z, x + offset, Form::ostraMakeActive(count - done));
        if (count - done <= kLaneCount) break;
      }
      left -= count;
      begin = 0;
      if (++y == range.extent.y) {
        y = 0;
        ++z;
      }
    }
    OSTRA_LANE_CLEAR;
  }
};

}  // namespace ostra::OSTRA_LANES
