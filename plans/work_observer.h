// WorkObserver: what long work says of itself while it goes on, for those who show progress and notes. As it is, it
// shows nothing.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::plans {

// Steps of one piece of work, which ends with the object.
class WorkProgress {
 public:
  virtual ~WorkProgress() = default;
  virtual void Advance([[maybe_unused]] Int steps = 1) {}
  // Whether steps are shown: work that knows its own state only by waiting may leave that out otherwise.
  virtual Bool IsOn() const { return false; }
};

class WorkObserver {
 public:
  virtual ~WorkObserver() = default;
  // `steps` of the kind `unit`; 0 when there is only one, of unknown length. Never null.
  virtual std::unique_ptr<WorkProgress> Begin(const std::string& text, Int steps, const std::string& unit);
  // What the user should know although nothing is wrong: a sentence without its period.
  virtual void Note([[maybe_unused]] std::string_view text) {}
  // A line of the framework's diagnostics, which would be written to standard error.
  virtual void Report([[maybe_unused]] std::string_view line) {}
};

inline std::unique_ptr<WorkProgress> WorkObserver::Begin(const std::string&, Int, const std::string&) {
  return std::make_unique<WorkProgress>();
}

}  // namespace ostra::plans
