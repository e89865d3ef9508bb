// Messages that are not errors. They go to the standard error stream and to every listener.
//
//   CriticalOutput("KernelTextureLink not set before @", name);
//
//   struct Recorder : DiagnosticListener {
//     void Notify(DiagnosticLevel level, std::string_view text) override { ... }
//   } recorder;                                    // listens from construction to destruction
//
// Thread-safe. A message that cannot be formatted for lack of memory is written with its placeholders.
#pragma once

#include "ostra/core/format.h"

namespace ostra {

enum class DiagnosticLevel : Int32 { Information = 0, Warning = 1, Critical = 2 };

// Receives every diagnostic line while it lives. Notify is called by the writing thread, with the list of listeners
// locked: it must not write diagnostics itself.
class OSTRA_API DiagnosticListener {
 public:
  DiagnosticListener();
  DiagnosticListener(const DiagnosticListener&) = delete;
  DiagnosticListener& operator=(const DiagnosticListener&) = delete;
  virtual ~DiagnosticListener();
  virtual void Notify(DiagnosticLevel level, std::string_view text) = 0;

 private:
  DiagnosticListener* _next = nullptr;
  friend struct DiagnosticList;
};

// Lines below `level` no longer go to the standard error stream (listeners still get them). Default: Warning.
OSTRA_API void SetDiagnosticStreamLevel(DiagnosticLevel level);

OSTRA_API void WriteDiagnostic(DiagnosticLevel level, std::string_view text);

template <class... Arguments>
void WriteFormatted(DiagnosticLevel level, std::string_view pattern, const Arguments&... arguments) {
  auto text = Format(pattern, arguments...);
  WriteDiagnostic(level, text ? text->GetView() : pattern);
}

template <class... Arguments>
void DiagnosticOutput(std::string_view pattern, const Arguments&... arguments) {
  WriteFormatted(DiagnosticLevel::Information, pattern, arguments...);
}

template <class... Arguments>
void WarningOutput(std::string_view pattern, const Arguments&... arguments) {
  WriteFormatted(DiagnosticLevel::Warning, pattern, arguments...);
}

// Writes a critical line, stops in the debugger when one is attached and g_enableDebugBreak is set, and returns.
OSTRA_API void DebugStop(std::string_view text);

// The same with a message that says what went wrong.
template <class... Arguments>
void CriticalOutput(std::string_view pattern, const Arguments&... arguments) {
  auto text = Format(pattern, arguments...);
  DebugStop(text ? text->GetView() : pattern);
}

}  // namespace ostra
