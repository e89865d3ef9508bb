// A line on a terminal that says how far long work has come. Nothing is written when the stream is no terminal, and
// nothing before the work has lasted half a second.
//
//   Progress progress("running", 1000);
//   for (Int i = 0; i < 1000; ++i) { Work(); progress.Advance(); }     // the line goes away at the end
#pragma once

#include <chrono>
#include <string>

#include "ostra/core/types.h"

namespace ostra::tool {

class Progress {
 public:
  // `total` steps; 0 when there is only one, of unknown length, which is announced at once.
  Progress(std::string text, Int total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  void Advance();

 private:
  void Write();

  using Clock = std::chrono::steady_clock;
  const std::string _text;
  const Int _total;
  const Bool _isTerminal;
  Int _done = 0;
  Bool _isShown = false;
  Clock::time_point _nextWrite;
};

}  // namespace ostra::tool
