// How the front step stops: with an exception inside the library, which becomes an error at its border.
#pragma once

#include <string>

#include "parallelprogram/kernelfront/edited_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernelfront {

using kernellanguage::Join;

struct Failure {
  std::string message;  // see kernellanguage/diagnostic.h
};

// About something that the CPU alone refuses.
struct CpuFailure : Failure {};

// `position`: the byte of the text that the message is about.
[[noreturn]] inline void Fail(const SourceText& source, std::size_t position, const std::string& message) {
  throw Failure{kernellanguage::FormatError(source, position, message)};
}
[[noreturn]] inline void Fail(const EditedText& text, const Token& token, const std::string& message) {
  Fail(text.GetSource(), token.begin, message);
}

}  // namespace ostra::kernelfront
