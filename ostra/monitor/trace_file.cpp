#include "ostra/monitor/trace_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstring>

#include "ostra/core/format.h"

OSTRA_UNIT("monitor");

namespace ostra {
namespace {

void WriteText(std::FILE* file, std::string_view text) {
  std::fputc('"', file);
  for (const char character : text) {
    if (static_cast<Byte>(character) < 0x20) {
      std::fprintf(file, "\\u%04x", static_cast<unsigned>(character));
    } else {
      if (character == '"' || character == '\\') std::fputc('\\', file);
      std::fputc(character, file);
    }
  }
  std::fputc('"', file);
}

// Trace files count in microseconds. Written as integers, as decimal points depend on the locale.
void WriteTime(std::FILE* file, const char* key, Int nanoseconds) {
  std::fprintf(file, ",\"%s\":%" PRId64 ".%03d", key, nanoseconds / 1000, static_cast<int>(nanoseconds % 1000));
}

}  // namespace

TraceFile::~TraceFile() {
  if (!_file) return;
  (void)std::fclose(_file);
  (void)std::remove(_temporaryPath.GetCString());
}

Error TraceFile::MakeError() const {
  return OSTRA_ILLEGAL_ARGUMENT("The trace file '@' could not be written: @.", _path, std::strerror(errno));
}

Result<void> TraceFile::Open(std::string_view path) {
  OSTRA_ASSIGN_OR_RETURN(_path, CString::Create(path));
  OSTRA_ASSIGN_OR_RETURN(const String temporaryPath, Format("@.@.part", path, static_cast<Int>(getpid())));
  OSTRA_ASSIGN_OR_RETURN(_temporaryPath, CString::Create(temporaryPath));
  const int descriptor = open(_temporaryPath.GetCString(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor < 0) return MakeError();
  _file = fdopen(descriptor, "w");
  if (!_file) {
    (void)close(descriptor);
    (void)std::remove(_temporaryPath.GetCString());
    return OSTRA_OUT_OF_MEMORY();
  }
  std::fputs("{\"displayTimeUnit\":\"ns\",\"traceEvents\":[", _file);
  return OK;
}

void TraceFile::BeginEvent(std::string_view name, Int track) {
  std::fputs(std::exchange(_isFirst, false) ? "\n{\"name\":" : ",\n{\"name\":", _file);
  WriteText(_file, name);
  std::fprintf(_file, ",\"pid\":%d,\"tid\":%" PRId64, static_cast<int>(getpid()), track);
}

void TraceFile::NameDeviceTrack() {
  if (std::exchange(_hasDeviceTrack, true)) return;
  BeginEvent("thread_name", kDeviceTrack);
  std::fputs(",\"ph\":\"M\",\"args\":{\"name\":\"GPU\"}}", _file);
}

void TraceFile::Write(Int threadNumber, const MonitorEvent& event) {
  const Bool isOfDevice = event.kind == MonitorEvent::Kind::DeviceScope;
  if (isOfDevice) NameDeviceTrack();
  BeginEvent(event.GetName(), isOfDevice ? kDeviceTrack : threadNumber);
  WriteTime(_file, "ts", event.time);
  if (event.kind != MonitorEvent::Kind::Counter) {
    WriteTime(_file, "dur", event.value);
    std::fputs(",\"ph\":\"X\"}", _file);
  } else {
    std::fprintf(_file, ",\"ph\":\"C\",\"args\":{\"sum\":%" PRId64 "}}", event.value);
  }
}

Result<void> TraceFile::Finish(Int lostEventCount) {
  std::fprintf(_file, "\n],\"otherData\":{\"lostEvents\":%" PRId64 "}}\n", lostEventCount);
  errno = 0;
  const Bool failed = std::ferror(_file) != 0;
  const Bool closed = std::fclose(std::exchange(_file, nullptr)) == 0;
  if (!failed && closed && std::rename(_temporaryPath.GetCString(), _path.GetCString()) == 0) return OK;
  Error error = MakeError();
  (void)std::remove(_temporaryPath.GetCString());
  return error;
}

}  // namespace ostra
