// Remembers the diagnostic lines that are written while it lives, and keeps them off the terminal.
//
//   DiagnosticRecorder recorder;
//   ...
//   EXPECT_THAT(recorder.GetLines(), ElementsAre("Stop"));
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "ostra/core/diagnostics.h"
#include "ostra/core/silent_diagnostics.h"

namespace ostra {

class DiagnosticRecorder final : public DiagnosticListener {
 public:
  void Notify(DiagnosticLevel level, std::string_view text) override {
    const std::scoped_lock lock(_mutex);
    _levels.push_back(level);
    _lines.emplace_back(text);
  }
  std::vector<std::string> GetLines() const {
    const std::scoped_lock lock(_mutex);
    return _lines;
  }
  // Those of the lines, in the same order.
  std::vector<DiagnosticLevel> GetLevels() const {
    const std::scoped_lock lock(_mutex);
    return _levels;
  }
  void Clear() {
    const std::scoped_lock lock(_mutex);
    _levels.clear();
    _lines.clear();
  }

 private:
  SilentDiagnosticStream _silence;
  mutable std::mutex _mutex;
  std::vector<DiagnosticLevel> _levels;
  std::vector<std::string> _lines;
};

}  // namespace ostra
