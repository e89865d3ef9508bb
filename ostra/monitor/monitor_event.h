// One record of a recording. Internal to this folder.
#pragma once

#include <array>

#include "ostra/monitor/monitor.h"

namespace ostra {

struct MonitorEvent {
  enum class Kind : Byte { Scope, Counter, DeviceScope };

  MonitorEvent() = default;
  MonitorEvent(Kind eventKind, std::string_view eventName, Int eventTime, Int eventValue)
      : time(eventTime), value(eventValue), nameSize(static_cast<Byte>(eventName.size())), kind(eventKind) {
    eventName.copy(name.data(), eventName.size());
  }
  std::string_view GetName() const { return {name.data(), nameSize}; }

  Int time = 0;   // ns on the monitor's clock
  Int value = 0;  // duration in ns, or the new sum of the counter
  std::array<char, MonitorName::kMaxSize> name{};
  Byte nameSize = 0;
  Kind kind = Kind::Scope;
};

static_assert(sizeof(MonitorEvent) == 64);

}  // namespace ostra
