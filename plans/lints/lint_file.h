// All lints of a file for one target language.
#pragma once

#include <functional>

#include "plans/lints/lints.h"

namespace ostra::plans {

// A kernel file or stage file that was translated.
struct TranslatedFile {
  std::string name;
  std::string_view text;                 // as it is written
  Bool isStage = false;                  // of a graphics program
  Bool hasTemplateArgument = false;      // for the word TYPE
  const WrittenSource* plain = nullptr;  // what was translated in its place
  // The text of a header; nothing for one that cannot be read.
  std::function<std::optional<std::string>(const Url& header)> readHeader;
};

// The lints that are the same for all targets: of the file and the headers that the parser has read. Error: out of
// memory.
Result<void> LintFile(const TranslatedFile& file, const ShaderParser& parser, Findings& findings);

// The same of a file that no parser has come to the end of, as far as they need none. Error: out of memory.
Result<void> LintUntranslated(const TranslatedFile& file, Findings& findings);

// About a file from which no kernel was translated.
std::string DescribeMissingKernel();

// What keeps the file from being assembled for the parser's target. False when there is something. Error: out of
// memory.
Result<Bool> CanBeAssembled(const std::string& file, const ShaderParser& parser, DrawportStage stage,
                            Findings& findings);

}  // namespace ostra::plans
