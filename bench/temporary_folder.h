// A folder that is removed at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace bench {

// A new folder, which goes with this object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ostra_bench_XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no folder for temporary files");
    _path = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

  const std::filesystem::path& GetPath() const { return _path; }

 private:
  std::filesystem::path _path;
};

}  // namespace bench
