// Writes events in the JSON form that trace viewers read. Internal to this folder.
#pragma once

#include <cstdio>

#include "ostra/core/string.h"
#include "ostra/monitor/monitor_event.h"

namespace ostra {

// The file is written beside its place and moved there by Finish; without that nothing stays.
class TraceFile {
 public:
  TraceFile() = default;
  TraceFile(const TraceFile&) = delete;
  TraceFile& operator=(const TraceFile&) = delete;
  ~TraceFile();

  // Errors: illegal argument when no file can be made beside `path`; out of memory.
  Result<void> Open(std::string_view path);
  void Write(Int threadNumber, const MonitorEvent& event);
  // Illegal argument: something could not be written.
  Result<void> Finish(Int lostEventCount);

 private:
  static constexpr Int kDeviceTrack = 0;  // threads begin with 1

  Error MakeError() const;
  void BeginEvent(std::string_view name, Int track);
  void NameDeviceTrack();

  CString _path;
  CString _temporaryPath;
  std::FILE* _file = nullptr;
  Bool _isFirst = true;
  Bool _hasDeviceTrack = false;
};

}  // namespace ostra
