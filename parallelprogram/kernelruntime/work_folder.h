// A folder for one compilation, removed at the end.
#pragma once

#include "parallelprogram/kernelruntime/cache_folder.h"

namespace ostra::kernelruntime {

class WorkFolder {
 public:
  // In the cache's folder; where that cannot be written, in the folder for temporary files (TMPDIR, else /tmp). It is
  // the owner's alone. Error: illegal state when neither can be written.
  static Result<std::shared_ptr<const WorkFolder>> Create(const CacheFolder& cache);

  explicit WorkFolder(std::string path) : _path(std::move(path)) {}
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder();

  const std::filesystem::path& GetPath() const { return _folder->GetPath(); }
  std::filesystem::path operator/(const std::string& name) const { return _folder->GetPath() / name; }
  // Why it does not lie in the cache; empty when it does.
  const std::string& GetReason() const { return _reason; }

 private:
  std::string _path;
  std::string _reason;
  std::shared_ptr<const OpenFolder> _folder;
  std::shared_ptr<const OpenFolder> _cache;  // what the path begins with
};

}  // namespace ostra::kernelruntime
