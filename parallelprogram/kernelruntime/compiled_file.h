// Files in the cache that compilers made: modules of kernels and precompiled headers.
//
// A file is found through a list beside it, by what it was made from, and used only as it was written: its size and
// checksum stand in the list. Several processes may use one cache at once: files and lists are written beside and
// renamed.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "parallelprogram/kernelruntime/cache_folder.h"
#include "parallelprogram/kernelruntime/cache_key.h"

namespace ostra::kernelruntime {

// What a file is made from, as far as it is known before a compiler has read its headers.
struct CompiledFileKey {
  std::shared_ptr<const OpenFolder> folder;  // the cache; null: there is none
  CacheKey key;
  std::string headerFolder;  // the framework's
  std::string fileSuffix, listSuffix;

  // Only with a cache.
  std::filesystem::path GetListPath() const;
};

struct CompiledFile {
  std::filesystem::path path;
  std::vector<std::string> headers;  // those that the compiler has read
};

// Nothing when there is no such file, when a header is another one by now, or when the file is not as it was written.
// Error: others may have written it or its list.
Result<std::optional<CompiledFile>> FindCompiledFile(const CompiledFileKey& key);

// Moves `file`, which is in the file system of the cache, to its place, and then writes the list through which it is
// found. `start`: when the compiler was started (GetModificationTime). Errors: illegal state when it cannot be written
// or a header has changed since; `file` is then still there.
Result<std::filesystem::path> KeepCompiledFile(const CompiledFileKey& key, const std::filesystem::path& file,
                                               std::vector<std::string> headers, Int start);

// The headers in the dependency file of a compiler that read its source from standard input; none without the file.
// Files in `workFolder` are none of them.
std::vector<std::string> ReadHeaderList(const std::filesystem::path& dependencyFile,
                                        const std::filesystem::path& workFolder);

}  // namespace ostra::kernelruntime
