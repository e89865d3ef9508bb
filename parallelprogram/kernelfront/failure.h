// How the front step stops: with an exception inside the library, which becomes an error at its border.
#pragma once

#include <string>

#include "parallelprogram/kernelfront/edited_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernelfront {

using kernellanguage::Join;

struct Failure {
  std::vector<SourceMessage> messages;
  // About a line that the translation for GPUs takes for something else. Kernels that the front end of the language
  // understands need not keep such rules.
  Bool isLineRule = false;
};

// About something that the CPU alone refuses.
struct CpuFailure : Failure {};

// `position`: the byte of the text that the message is about.
[[noreturn]] inline void Fail(const SourceText& source, std::size_t position, const std::string& message) {
  throw Failure{{kernellanguage::MakeSourceMessage(source, position, message)}, false};
}
[[noreturn]] inline void FailLineRule(const SourceText& source, std::size_t position, const std::string& message) {
  throw Failure{{kernellanguage::MakeSourceMessage(source, position, message)}, true};
}
// What the front end of the language has found.
[[noreturn]] inline void Fail(const kernellanguage::SourceMap& sources, const kernellanguage::Diagnostic& diagnostic) {
  throw Failure{{kernellanguage::MakeSourceMessage(sources, diagnostic)}, false};
}
[[noreturn]] inline void Fail(const EditedText& text, const Token& token, const std::string& message) {
  Fail(text.GetSource(), token.begin, message);
}

}  // namespace ostra::kernelfront
