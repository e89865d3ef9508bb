// One run of the translator on one file, with everything it said.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra::plans {

struct TranslationOptions {
  Url file;
  Id target;                                         // GLSL, HLSL or METAL
  std::optional<std::string> templateArgument = {};  // what takes the place of TYPE
  std::optional<Int32> multisampling = {};           // samples of the framebuffer
  LineEnds lineEnds = LineEnds::LineFeeds;
  // The lines of the file itself, or `written` in their place; otherwise the plain form where the kernel needs it.
  Bool isRaw = false;
  const WrittenSource* written = nullptr;
};

struct Diagnostic {
  DiagnosticLevel level;
  std::string text;
};

struct Translation {
  std::optional<WrittenSource> plain;  // what was made and translated in place of the file
  StrongRef<ShaderParser> parser;
  Result<void> result = OK;
  std::vector<Diagnostic> diagnostics;  // what the parse wrote to the host's diagnostic output, in order
};

// Translates the file; sources on which the translator would not end are refused. What goes wrong in the file is the
// translation's own result. Error: out of memory.
// Diagnostics are those of the whole process: one translation at a time.
Result<Translation> Translate(const TranslationOptions& options);

}  // namespace ostra::plans
