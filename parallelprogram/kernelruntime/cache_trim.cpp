#include "parallelprogram/kernelruntime/cache_trim.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::kernelruntime {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using Files = std::vector<std::pair<fs::file_time_type, fs::path>>;

void RemoveOldest(Files files, std::size_t maximum) {
  if (files.size() <= maximum) return;
  std::sort(files.begin(), files.end());
  files.resize(files.size() - maximum);
  std::error_code code;
  for (const auto& [time, path] : files) fs::remove(path, code);
}

// What a process that was killed while it wrote a list has left behind: KEY.headers.XXXXXX.tmp.
Bool IsTemporaryList(const fs::path& path) {
  const std::string name = path.filename().native();
  return path.extension() == ".tmp" &&
         (name.find(".headers.") != std::string::npos || name.find(".prelude.") != std::string::npos);
}

}  // namespace

void MarkCacheFileUsed(const fs::path& file) {
  std::error_code code;
  fs::last_write_time(file, fs::file_time_type::clock::now(), code);
}

void TrimCache(const fs::path& folder, std::size_t maximum) {
  Files modules, lists, precompiled, preludes;
  std::error_code code;
  const auto now = fs::file_time_type::clock::now();
  for (fs::directory_iterator entry(folder, code); !code && entry != fs::directory_iterator(); entry.increment(code)) {
    const fs::path& path = entry->path();
    std::error_code entryCode;
    const auto time = fs::last_write_time(path, entryCode);
    if (entryCode) continue;
    if (path.extension() == ".so") modules.emplace_back(time, path);
    if (path.extension() == ".headers") lists.emplace_back(time, path);
    if (path.extension() == ".pch") precompiled.emplace_back(time, path);
    if (path.extension() == ".prelude") preludes.emplace_back(time, path);
    if (path.filename().native().starts_with("work_") && time < now - 24h) fs::remove_all(path, entryCode);
    if (IsTemporaryList(path) && time < now - 1h) fs::remove(path, entryCode);
  }
  RemoveOldest(std::move(modules), maximum);
  RemoveOldest(std::move(lists), maximum);
  RemoveOldest(std::move(precompiled), kMaxPrecompiledHeaders);
  RemoveOldest(std::move(preludes), maximum);
}

}  // namespace ostra::kernelruntime
