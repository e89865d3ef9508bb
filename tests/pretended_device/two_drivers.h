// TwoDrivers: the software driver is there twice for the Vulkan loader, by two files that name it, as long as it lives.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace ostra::pretended {

class TwoDrivers {
 public:
  TwoDrivers() {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path found;
    for (const auto& entry : fs::directory_iterator("/usr/share/vulkan/icd.d", error))
      if (entry.path().filename().native().starts_with("lvp_icd.")) found = entry.path();
    if (found.empty()) return;
    _folder = fs::temp_directory_path() / ("ostra_two_drivers_" + std::to_string(getpid()));
    fs::create_directories(_folder);
    for (const char* name : {"first.json", "second.json"})
      fs::copy_file(found, _folder / name, fs::copy_options::overwrite_existing);
    const std::string files = (_folder / "first.json").native() + ":" + (_folder / "second.json").native();
    setenv("VK_DRIVER_FILES", files.c_str(), 1);
    setenv("VK_ICD_FILENAMES", files.c_str(), 1);  // of older loaders
  }
  TwoDrivers(const TwoDrivers&) = delete;
  ~TwoDrivers() {
    if (_folder.empty()) return;
    unsetenv("VK_DRIVER_FILES");
    unsetenv("VK_ICD_FILENAMES");
    std::error_code error;
    std::filesystem::remove_all(_folder, error);
  }
  bool AreThere() const { return !_folder.empty(); }

 private:
  std::filesystem::path _folder;
};

}  // namespace ostra::pretended
