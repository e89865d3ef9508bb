// DeviceClock: the time stamps of a device as times of the host.
//
// Stamps count steps of some ns, with so few bits that they begin again from zero after minutes; two that follow each
// other are less than half of that apart.
#pragma once

#include "ostra/core/types.h"

namespace ostra::vulkan {

class DeviceClock {
 public:
  // `bits` of a stamp that count, 1 to 64; `period` of a step in ns. `stamp` was written at `time` of the host, in ns.
  DeviceClock(UInt32 bits, Float64 period, UInt64 stamp, Int time)
      : _mask(bits >= 64 ? ~UInt64(0) : (UInt64(1) << bits) - 1), _period(period), _last(stamp & _mask), _time(time) {}

  // The time of a stamp in ns. Stamps come in the order in which they were written.
  Int GetTime(UInt64 stamp) {
    const UInt64 forwards = (stamp - _last) & _mask, backwards = (_last - stamp) & _mask;
    if (forwards <= backwards)
      _steps += static_cast<Int>(forwards);
    else
      _steps -= static_cast<Int>(backwards);
    _last = stamp & _mask;
    return _time + static_cast<Int>(static_cast<Float64>(_steps) * _period);
  }

 private:
  UInt64 _mask;
  Float64 _period;
  UInt64 _last;
  Int _steps = 0;  // since the first stamp
  Int _time;       // of the first stamp
};

}  // namespace ostra::vulkan
