#include "parallelprogram/kernellanguage/lane_windows.h"

#include "parallelprogram/kernellanguage/clamp_windows.h"
#include "parallelprogram/kernellanguage/lane_jumps.h"
#include "parallelprogram/kernellanguage/lane_shared.h"

namespace ostra::kernellanguage {

std::string LaneWindows::Begin(NodeIndex loop) {
  if (_isOpen || _kernel.exchangesValues || _uses.jumps.HasReturn(loop)) return "";
  const auto windows = FindClampWindows(_tree, _resolved, _uniformity, loop);
  if (windows.empty()) return "";
  const auto number = [this](NodeIndex node) { return Join({"static_cast<Int64>(", _uses.shared.Shared(node), ")"}); };
  const auto end = [&](NodeIndex base, const WindowEnd& offset) {
    std::string sum = Join({number(base), " + (", std::to_string(offset.constant), ")"});
    for (const NodeIndex node : offset.added) sum += Join({" + ", number(node)});
    for (const NodeIndex node : offset.subtracted) sum += Join({" - ", number(node)});
    return sum;
  };
  std::string condition = Join({"All(", GetMask(), ")"});
  for (const ClampWindow& window : windows) {
    condition += Join({" && ", end(window.base, window.first), " >= ", number(window.low), " && ",
                       end(window.base, window.last), " + (kLaneCount - 1) <= ", number(window.high)});
    _leftOut.insert(window.call);
  }
  _isOpen = true;
  return condition;
}

}  // namespace ostra::kernellanguage
