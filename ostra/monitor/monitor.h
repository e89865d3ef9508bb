// Performance monitor: records how long things take and how much was moved, as a trace file that trace viewers show.
//
//   void Upload(Int bytes) {
//     static MonitorCounter uploaded("bytes uploaded");
//     const MonitorScope scope("upload");     // until the end of the block
//     uploaded.Add(bytes);
//   }
//
//   OSTRA_RETURN_IF_ERROR(MonitorStart());
//   ...
//   OSTRA_RETURN_IF_ERROR(MonitorStop("upload.json"));
//
// While nothing is recorded a scope costs one relaxed load. Names are literals of at most 46 bytes. Everything is
// thread-safe.
#pragma once

#include <atomic>
#include <string_view>

#include "ostra/core/export.h"
#include "ostra/core/result.h"

namespace ostra {

// Number of the recording that runs; 0 when none does.
OSTRA_API extern std::atomic<UInt32> g_monitorRecording;

// A name that is copied into each event, so that a recording does not depend on loaded modules.
struct MonitorName {
  static constexpr std::size_t kMaxSize = 46;
  template <std::size_t kSize>
  constexpr MonitorName(const char (&literal)[kSize])
      : text(literal, kSize - 1) {  // NOLINT(google-explicit-constructor)
    static_assert(kSize - 1 <= kMaxSize, "names of scopes and counters have at most 46 bytes");
  }
  std::string_view text;
};

// Records its own life time, when it begins and ends in the same recording.
class OSTRA_API MonitorScope {
 public:
  explicit MonitorScope(const MonitorName& name) : _recording(g_monitorRecording.load(std::memory_order_relaxed)) {
    if (_recording) [[unlikely]]
      Begin(name);
  }
  ~MonitorScope() {
    if (_recording) [[unlikely]]
      End();
  }
  MonitorScope(const MonitorScope&) = delete;
  MonitorScope& operator=(const MonitorScope&) = delete;

 private:
  void Begin(const MonitorName& name);
  void End() const;

  UInt32 _recording;
  std::string_view _name;
  Int _beginTime = 0;  // ns
};

// A sum over time; one object for each name, which lives to the end of the process or of its module. What is added
// while nothing is recorded does not count.
class OSTRA_API MonitorCounter {
 public:
  explicit constexpr MonitorCounter(const MonitorName& name) : _name(name.text) {}
  void Add(Int amount) {
    if (const UInt32 recording = g_monitorRecording.load(std::memory_order_relaxed)) [[unlikely]]
      Record(recording, amount);
  }

 private:
  void Record(UInt32 recording, Int amount);

  std::string_view _name;
  std::atomic<Int> _sum{0};
};

// Adds what a device did, to a track of its own beside those of the threads. `begin` in ns of
// std::chrono::steady_clock, `duration` in ns. Of a longer name the first 46 bytes count.
OSTRA_API void MonitorAddDeviceScope(std::string_view name, Int begin, Int duration);

// Begins to record. Illegal state: a recording runs.
OSTRA_API Result<void> MonitorStart();

// Ends the recording and writes it to the file `path`, which appears complete or not at all. Events that found no
// memory are missing; their number is in the file and in a diagnostic line. Illegal state: no recording runs. Illegal
// argument: the file cannot be written; the recording is lost.
OSTRA_API Result<void> MonitorStop(std::string_view path);

}  // namespace ostra
