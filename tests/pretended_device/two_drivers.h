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
    for (fs::directory_iterator entry("/usr/share/vulkan/icd.d", error), end; !error && entry != end;
         entry.increment(error))
      if (entry->path().filename().native().starts_with("lvp_icd.")) found = entry->path();
    if (found.empty()) return;
    const fs::path folder = fs::temp_directory_path(error) / ("ostra_two_drivers_" + std::to_string(getpid()));
    fs::create_directories(folder, error);
    for (const char* name : {"first.json", "second.json"})
      if (!error) fs::copy_file(found, folder / name, fs::copy_options::overwrite_existing, error);
    if (error) {
      fs::remove_all(folder, error);
      return;
    }
    _folder = folder;
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
