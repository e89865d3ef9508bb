// WorkObserver: what long work says of itself while it goes on, for those who show progress and notes. The class itself
// writes diagnostics to standard error and shows nothing else. Its functions are called by the thread that does the
// work.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "ostra/core/printable_text.h"

namespace ostra::plans {

// Steps of one piece of work, which ends with the object.
class WorkProgress {
 public:
  virtual ~WorkProgress() = default;
  virtual void Advance([[maybe_unused]] Int steps = 1) {}
  // Whether steps are shown, or the work may be stopped between them: work that knows its own state only by waiting may
  // leave that out otherwise.
  virtual Bool IsOn() const { return false; }
};

class WorkObserver {
 public:
  virtual ~WorkObserver() = default;
  // `steps` of the kind `unit`; 0 when there is only one, of unknown length. Never null.
  virtual std::unique_ptr<WorkProgress> Begin(const std::string& text, Int steps, const std::string& unit);
  // Whether the work is to end with an error. Asked before each dispatch and each pass.
  virtual Bool IsStopped() const { return false; }
  // What the user should know although nothing is wrong: a sentence without its period.
  virtual void Note([[maybe_unused]] std::string_view text) {}
  // A line of the framework's diagnostics, which is kept off standard error otherwise.
  virtual void Report(std::string_view line);
};

inline std::unique_ptr<WorkProgress> WorkObserver::Begin(const std::string&, Int, const std::string&) {
  return std::make_unique<WorkProgress>();
}

inline void WorkObserver::Report(std::string_view line) {
  WriteMessage(stderr, line);
  std::fputc('\n', stderr);
}

}  // namespace ostra::plans
