// Keeps diagnostics off the standard error stream, for those who listen and say in words of their own what there is to
// say.
#pragma once

#include "ostra/core/export.h"

namespace ostra {

// While one of these lives not even critical lines are written; listeners get them as always. Several may live at once,
// in any order and in any thread; the level of SetDiagnosticStreamLevel stays as it is. Thread-safe.
class OSTRA_API SilentDiagnosticStream {
 public:
  SilentDiagnosticStream();
  SilentDiagnosticStream(const SilentDiagnosticStream&) = delete;
  SilentDiagnosticStream& operator=(const SilentDiagnosticStream&) = delete;
  ~SilentDiagnosticStream();
};

}  // namespace ostra
