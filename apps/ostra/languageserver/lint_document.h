// What `ostra check` finds in a file while it is edited, without running a compiler.
#pragma once

#include "apps/ostra/languageserver/kernel_document.h"

namespace ostra::tool {

// Whether the name is that of a stage of a graphics program: ".vert", ".frag", ".tsc", ".tse".
Bool IsStageFile(std::string_view path);

// The text of an open file; null for one that is not open.
using OpenText = std::function<const std::string*(std::string_view path)>;

// What the translation to each language of GPUs and the lints have to say about the kernel file or stage file, which
// keeps the rules for lines where it needs to. Headers are those of `openText` and of the disk. What is wrong in a
// header is told at the top. Errors: those of the path; out of memory.
Result<std::vector<Problem>> LintDocument(const std::string& path, const std::string& text,
                                          const KernelDocument::HeaderLookup& readHeader, const OpenText& openText);

}  // namespace ostra::tool
