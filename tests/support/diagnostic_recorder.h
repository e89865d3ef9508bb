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

namespace ostra {

class DiagnosticRecorder : public DiagnosticListener {
 public:
  DiagnosticRecorder() { SetDiagnosticStreamLevel(static_cast<DiagnosticLevel>(100)); }
  ~DiagnosticRecorder() override { SetDiagnosticStreamLevel(DiagnosticLevel::Warning); }

  void Notify(DiagnosticLevel, std::string_view text) override {
    const std::scoped_lock lock(_mutex);
    _lines.emplace_back(text);
  }
  std::vector<std::string> GetLines() const {
    const std::scoped_lock lock(_mutex);
    return _lines;
  }
  void Clear() {
    const std::scoped_lock lock(_mutex);
    _lines.clear();
  }

 private:
  mutable std::mutex _mutex;
  std::vector<std::string> _lines;
};

}  // namespace ostra
