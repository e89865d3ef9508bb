// Keeps diagnostics off the standard error stream, for commands that say in lines of their own what they are about.
#pragma once

#include "ostra/core/diagnostics.h"

namespace ostra::tool {

// While it lives not even critical lines are written; listeners get them as always. One at a time in a process.
class SilentDiagnostics {
 public:
  SilentDiagnostics() {
    SetDiagnosticStreamLevel(static_cast<DiagnosticLevel>(static_cast<Int32>(DiagnosticLevel::Critical) + 1));
  }
  SilentDiagnostics(const SilentDiagnostics&) = delete;
  SilentDiagnostics& operator=(const SilentDiagnostics&) = delete;
  ~SilentDiagnostics() { SetDiagnosticStreamLevel(DiagnosticLevel::Warning); }
};

}  // namespace ostra::tool
