// Parts of workloads that need a process of their own: one in which nothing was parsed, compiled or loaded before.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace bench {

// A new folder for caches, which goes with this object.
class CacheFolder {
 public:
  CacheFolder();
  CacheFolder(const CacheFolder&) = delete;
  ~CacheFolder();
  const std::filesystem::path& GetPath() const { return _path; }

 private:
  std::filesystem::path _path;
};

// Runs this program with `--part NAME` and the caches in `folder`, the program's own as well as the driver's, and
// returns the numbers that it prints. Throws when it fails.
std::vector<double> RunPart(const std::string& name, const CacheFolder& folder);

}  // namespace bench
