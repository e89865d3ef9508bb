// A folder of its own for a test, removed afterwards.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "ostra/io/url.h"

namespace ostra {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ostra_test_XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    _path = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

  const std::filesystem::path& GetPath() const { return _path; }
  std::string operator/(std::string_view name) const { return (_path / name).string(); }
  Url MakeUrl(std::string_view name) const { return Url::Create((_path / name).string()).GetValue(); }

  std::string Write(std::string_view name, std::string_view contents) const {
    std::ofstream(_path / name, std::ios::binary) << contents;
    return (_path / name).string();
  }
  std::string Read(std::string_view name) const {
    std::ifstream stream(_path / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::filesystem::path _path;
};

}  // namespace ostra
