// Collects the diagnostics that are written while it lives, and keeps them off the standard error stream.
//
//   RecordedDiagnostics diagnostics;
//   type.IsEqual(&a, &b);
//   EXPECT_THAT(diagnostics.GetTexts(), testing::ElementsAre("Stop: IsEqual not defined."));
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "ostra/core/diagnostics.h"

namespace ostra {

class RecordedDiagnostics : public DiagnosticListener {
 public:
  RecordedDiagnostics() { SetDiagnosticStreamLevel(static_cast<DiagnosticLevel>(kAboveAll)); }
  ~RecordedDiagnostics() override { SetDiagnosticStreamLevel(DiagnosticLevel::Warning); }

  void Notify(DiagnosticLevel level, std::string_view text) override {
    const std::scoped_lock lock(_mutex);
    _levels.push_back(level);
    _texts.emplace_back(text);
  }
  std::vector<std::string> GetTexts() const {
    const std::scoped_lock lock(_mutex);
    return _texts;
  }
  std::vector<DiagnosticLevel> GetLevels() const {
    const std::scoped_lock lock(_mutex);
    return _levels;
  }

 private:
  static constexpr Int32 kAboveAll = static_cast<Int32>(DiagnosticLevel::Critical) + 1;
  mutable std::mutex _mutex;
  std::vector<DiagnosticLevel> _levels;
  std::vector<std::string> _texts;
};

}  // namespace ostra
