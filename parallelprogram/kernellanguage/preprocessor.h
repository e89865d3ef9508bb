// The tokens of a kernel with its headers put in and its macros expanded.
//
// What the text depends on beyond itself (macros and headers of the host or the compiler) is not understood. Of
// #define KERNELINPUTS the declarations are kept between kInputsBegin and kInputsEnd.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/tokens.h"

namespace ostra::kernellanguage {

struct Header {
  std::string path;  // two headers with the same path are the same header
  std::string text;
  Bool isHidden = false;  // see SourceMap::File
};

struct Source {
  std::string_view fileName = "kernel.krn";
  std::string_view text;
  // What TYPE stands for in words; empty: TYPE stays.
  std::string_view templateArgument = {};
  Bool isHidden = false;                               // see SourceMap::File
  std::shared_ptr<const TextOrigin> origin = nullptr;  // of a text that was written anew
  // Finds the header that `includingFile` names in quotes; nothing for one that only the compiler can find.
  std::function<std::optional<Header>(const std::string& name, const std::string& includingFile)> readHeader = {};
};

// Beyond these a kernel is not understood.
inline constexpr Int kMaxIncludeDepth = 64, kMaxHeaders = 1000, kMaxMacroDepth = 200, kMaxExpansions = 200'000;

struct TokenStream {
  std::vector<Token> tokens;          // ends with a kEnd
  std::deque<std::string> spellings;  // texts that no file has
  std::vector<Diagnostic> errors;
  std::optional<NotUnderstood> notUnderstood;
  // Whether they come from what the translation for GPUs passes over: macros of the kernel file itself or with
  // arguments, conditions, and headers that do not have the name of the kernel file.
  Bool isCpuOnly = false;
  // Whether they depend on a name being defined that no file defines.
  Bool isRewritten = false;
};

// Adds the files to `sources`, which must outlive the tokens. Never fails otherwise than with std::bad_alloc.
TokenStream Preprocess(const Source& source, SourceMap& sources);

}  // namespace ostra::kernellanguage
