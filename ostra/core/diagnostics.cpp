#include "ostra/core/diagnostics.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "ostra/core/host_flags.h"
#include "ostra/core/printable_text.h"
#include "ostra/core/silent_diagnostics.h"

namespace ostra {

Bool g_trackSpinlocks = false;
Bool g_trackCpuYield = false;
Bool g_enableDebugBreak = true;
Bool g_inCrashhandler = false;
Bool g_metalPointCircleAAWorkaround = true;

struct DiagnosticList {
  std::mutex mutex;
  DiagnosticListener* first = nullptr;
  std::atomic<DiagnosticLevel> streamLevel{DiagnosticLevel::Warning};
  std::atomic<Int32> silences{0};  // how many keep everything off the stream

  static DiagnosticList& Get() {
    static auto* list = new DiagnosticList;  // outlives every listener
    return *list;
  }

  void Add(DiagnosticListener& listener) {
    const std::scoped_lock lock(mutex);
    listener._next = first;
    first = &listener;
  }

  void Remove(DiagnosticListener& listener) {
    const std::scoped_lock lock(mutex);
    DiagnosticListener** link = &first;
    while (*link != &listener) link = &(*link)->_next;
    *link = listener._next;
  }

  void Write(DiagnosticLevel level, std::string_view text) {
    const std::scoped_lock lock(mutex);
    if (silences.load(std::memory_order_relaxed) == 0 && level >= streamLevel.load(std::memory_order_relaxed)) {
      WriteMessage(stderr, text);
      std::fputc('\n', stderr);
    }
    for (DiagnosticListener* listener = first; listener; listener = listener->_next) listener->Notify(level, text);
  }
};

DiagnosticListener::DiagnosticListener() { DiagnosticList::Get().Add(*this); }
DiagnosticListener::~DiagnosticListener() { DiagnosticList::Get().Remove(*this); }

SilentDiagnosticStream::SilentDiagnosticStream() { ++DiagnosticList::Get().silences; }
SilentDiagnosticStream::~SilentDiagnosticStream() { --DiagnosticList::Get().silences; }

void SetDiagnosticStreamLevel(DiagnosticLevel level) { DiagnosticList::Get().streamLevel = level; }
void WriteDiagnostic(DiagnosticLevel level, std::string_view text) { DiagnosticList::Get().Write(level, text); }

namespace {

Bool IsDebuggerAttached() {
  std::FILE* status = std::fopen("/proc/self/status", "r");
  if (!status) return false;
  char line[256];
  Bool attached = false;
  while (std::fgets(line, sizeof(line), status)) {
    if (std::strncmp(line, "TracerPid:", 10) == 0) attached = std::strtol(line + 10, nullptr, 10) != 0;
  }
  std::fclose(status);
  return attached;
}

}  // namespace

void DebugStop(std::string_view text) {
  WriteDiagnostic(DiagnosticLevel::Critical, text);
  if (g_enableDebugBreak && IsDebuggerAttached()) std::raise(SIGTRAP);
}

}  // namespace ostra
