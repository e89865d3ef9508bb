// A line on a terminal that says how far long work has come: a bar, the share, the rate and the time that is left.
// Nothing is written when standard error is no terminal or messages are turned off, and nothing before the work has
// lasted half a second.
//
//   Progress progress("running", 1000, "dispatches");
//   for (Int i = 0; i < 1000; ++i) { Work(); progress.Advance(); }     // the line goes away at the end
#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "plans/work_observer.h"

namespace ostra::tool {

class Progress final : public plans::WorkProgress {
 public:
  // `total` steps of the kind `unit`; 0 when there is only one, of unknown length, which is announced at once.
  Progress(std::string text, Int total, std::string unit = "");
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() override;

  // Thread-safe.
  void Advance(Int steps = 1) override;
  Bool IsOn() const override { return _isOn; }

  // Takes a line away that is there. May be called in a signal handler.
  static void Erase();

 private:
  using Clock = std::chrono::steady_clock;
  void Write(Clock::time_point now);

  const std::string _text;
  const Int _total;
  const std::string _unit;
  const Bool _isOn;
  const Clock::time_point _start;
  std::mutex _mutex;
  Int _done = 0;                 // guarded by _mutex
  Clock::time_point _nextWrite;  // guarded by _mutex
};

// The line without the control characters around it, at most `columns` characters: "running: [###---]  50 %  20
// dispatches/s  0:04 left". `seconds` have gone.
std::string FormatProgress(const std::string& text, Int done, Int total, const std::string& unit, Float64 seconds,
                           Int columns);

}  // namespace ostra::tool
