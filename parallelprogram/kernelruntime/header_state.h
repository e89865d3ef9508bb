// What a compiled kernel depends on beside its source: the environment of the compiler and the headers that it read.
#pragma once

#include <string>
#include <vector>

#include "parallelprogram/kernelruntime/cache_key.h"

namespace ostra::kernelruntime {

// Adds the environment variables that change what compilers and linkers make: the folders that they search, their
// options and their parts. Where one of these or a word of `command` may mean something else in another folder, the
// current folder, too.
void AddCompilerEnvironment(CacheKey& key, const std::vector<std::string>& command);

// Adds headers as they are now: the framework's by content, others by size and modification time, and which of the
// folders that the environment lets the compiler search first have a file in place of one of them. Error: a header is
// gone.
Result<void> AddHeaderState(CacheKey& key, const std::vector<std::string>& headers, const std::string& frameworkFolder);

// When a file was written, in nanoseconds since 1970; 0 for a missing one.
Int GetModificationTime(const std::string& file);

// Whether a header was written after `start`, in nanoseconds since 1970, so that the compiler may have read an earlier
// text.
Bool HasChangedSince(const std::vector<std::string>& headers, Int start);

}  // namespace ostra::kernelruntime
