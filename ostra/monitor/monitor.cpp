#include "ostra/monitor/monitor.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "ostra/core/diagnostics.h"
#include "ostra/monitor/event_buffers.h"
#include "ostra/monitor/trace_file.h"

OSTRA_UNIT("monitor");

namespace ostra {

constinit std::atomic<UInt32> g_monitorRecording{0};

namespace {

constinit std::mutex g_controlMutex;
UInt32 g_lastRecording = 0;  // guarded by g_controlMutex

Int GetTime() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

void MonitorScope::Begin(const MonitorName& name) {
  _name = name.text;
  _beginTime = GetTime();
}

void MonitorScope::End() const {
  const Int duration = GetTime() - _beginTime;
  EventBuffers::Append(_recording, {MonitorEvent::Kind::Scope, _name, _beginTime, duration});
}

void MonitorCounter::Record(UInt32 recording, Int amount) {
  const Int sum = _sum.fetch_add(amount, std::memory_order_relaxed) + amount;
  EventBuffers::Append(recording, {MonitorEvent::Kind::Counter, _name, GetTime(), sum});
}

void MonitorAddDeviceScope(std::string_view name, Int begin, Int duration) {
  const UInt32 recording = g_monitorRecording.load(std::memory_order_relaxed);
  if (!recording) return;
  // No character is cut in two.
  std::size_t size = std::min(name.size(), MonitorName::kMaxSize);
  while (size < name.size() && size > 0 && (static_cast<Byte>(name[size]) & 0xC0) == 0x80) --size;
  EventBuffers::Append(recording, {MonitorEvent::Kind::DeviceScope, name.substr(0, size), begin, duration});
}

Result<void> MonitorStart() {
  const std::scoped_lock lock(g_controlMutex);
  if (g_monitorRecording.load(std::memory_order_relaxed)) return OSTRA_ILLEGAL_STATE("A recording runs already.");
  if (++g_lastRecording == 0) ++g_lastRecording;
  (void)EventBuffers::TakeLostCount();  // what was lost at the end of an earlier recording
  g_monitorRecording.store(g_lastRecording, std::memory_order_relaxed);
  return OK;
}

Result<void> MonitorStop(std::string_view path) {
  const std::scoped_lock lock(g_controlMutex);
  if (!g_monitorRecording.exchange(0, std::memory_order_relaxed)) return OSTRA_ILLEGAL_STATE("No recording runs.");
  TraceFile file;
  Result<void> opened = file.Open(path);
  EventBuffers::TakeAll(opened ? &file : nullptr);
  if (!opened) return opened;
  const Int lostCount = EventBuffers::TakeLostCount();
  if (lostCount > 0) WarningOutput("@ events of the recording '@' were lost.", lostCount, path);
  return file.Finish(lostCount);
}

}  // namespace ostra
