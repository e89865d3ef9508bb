// Keeps the kernel cache from growing for ever.
#pragma once

#include <cstddef>
#include <filesystem>

namespace ostra::kernelruntime {

inline constexpr std::size_t kMaxCachedModules = 256;
// Each takes tens of megabytes: exact and fast kernels, checked or not.
inline constexpr std::size_t kMaxPrecompiledHeaders = 4;

// Says that a file of the cache is used.
void MarkCacheFileUsed(const std::filesystem::path& file);

// Removes from `folder` the modules that were used longest ago until `maximum` are left, precompiled headers and the
// lists through which all of them are found likewise, and what was left by processes that were cut off: folders of
// compilations after a day, half-written lists after an hour. What cannot be removed stays; other files are left alone.
// Several processes may do so at once.
void TrimCache(const std::filesystem::path& folder, std::size_t maximum = kMaxCachedModules);

}  // namespace ostra::kernelruntime
