// The language's own words for what is wrong with a kernel file that a compiler for GPUs has refused.
#pragma once

#include <optional>

#include "ostra/core/source_message.h"
#include "ostra/io/url.h"

namespace ostra {

// The mistakes that the front end of the language finds in the kernel file; nothing for one that cannot be read. Error:
// illegal argument with all of them, lines and carets; out of memory. Thread-safe.
Result<void> CheckKernelMistakes(const Url& file, std::string_view templateArgument);

// ExplainLineRules (kernelfront/kernel_source.h) of the kernel file; nothing for one that cannot be read. Error: out of
// memory. Thread-safe.
Result<std::optional<SourceMessage>> ExplainLineRules(const Url& file, std::string_view templateArgument);

// `error` is that of translating and compiling the kernel file for a GPU. When it is about lines of the source and the
// front end of the language finds mistakes, the result is the error that the CPU's way gives, all of them with lines
// and carets; otherwise it is `error`. Reads the file and its headers again. Thread-safe.
Error ExplainCompileError(const Url& file, std::string_view templateArgument, const Error& error);

}  // namespace ostra
