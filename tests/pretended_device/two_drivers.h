// TwoDrivers: as long as it lives, the Vulkan loader finds the software driver twice.
//
//   ... an instance runs, so that the loader has chosen the driver file of this machine and architecture ...
//   const TwoDrivers drivers;
//   ... new instances have two software devices ...
//
// Not thread-safe: changes the environment.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace ostra::pretended {

class TwoDrivers {
 public:
  TwoDrivers() {
    namespace fs = std::filesystem;
    const std::string library = FindLoadedDriver();
    if (library.empty()) return;
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error) / ("ostra_two_drivers_" + std::to_string(getpid()));
    fs::create_directories(folder, error);
    const std::string first = (folder / "first.json").native();
    const std::string second = (folder / "second.json").native();
    if (error || !Write(first, library) || !Write(second, library)) {
      fs::remove_all(folder, error);
      return;
    }
    _folder = folder;
    for (Variable& variable : _variables) {
      if (const char* const value = std::getenv(variable.name)) variable.before = value;
      setenv(variable.name, (first + ":" + second).c_str(), 1);
    }
  }
  TwoDrivers(const TwoDrivers&) = delete;
  ~TwoDrivers() {
    if (_folder.empty()) return;
    for (const Variable& variable : _variables) {
      if (variable.before)
        setenv(variable.name, variable.before->c_str(), 1);
      else
        unsetenv(variable.name);
    }
    std::error_code error;
    std::filesystem::remove_all(_folder, error);
  }
  // False if no software driver is loaded.
  bool AreThere() const { return !_folder.empty(); }

 private:
  struct Variable {
    const char* name = nullptr;
    std::optional<std::string> before;
  };

  // The absolute path of the software driver that this process has loaded; empty without one.
  static std::string FindLoadedDriver() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
      const std::size_t begin = line.find('/');
      if (begin == std::string::npos) continue;
      const std::filesystem::path path = line.substr(begin);
      if (path.filename().native().starts_with("libvulkan_lvp.so")) return path.native();
    }
    return "";
  }
  static bool Write(const std::string& file, const std::string& library) {
    std::ofstream stream(file);
    stream << R"({"file_format_version": "1.0.0", "ICD": {"api_version": "1.3.0", "library_path": ")" << library
           << "\"}}\n";
    return static_cast<bool>(stream.flush());
  }

  std::filesystem::path _folder;
  Variable _variables[2] = {{"VK_DRIVER_FILES", {}}, {"VK_ICD_FILENAMES", {}}};  // the second is of older loaders
};

}  // namespace ostra::pretended
