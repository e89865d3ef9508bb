#include "kernel_source_files.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace ostra::kernellanguage {

std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::filesystem::path> FindKernelFiles() {
  std::vector<std::filesystem::path> paths;
  for (const char* folder : {"kernels", "conformance/kernels", "scripts/demo", "bench/kernels", "tests"}) {
    const auto root = std::filesystem::path(OSTRA_SOURCE_FOLDER) / folder;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      if (entry.path().extension() == ".krn") paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

KernelSourceFile::KernelSourceFile(const std::filesystem::path& file)
    : path(file), name(file.filename().string()), text(ReadWholeFile(file)) {
  source = {.fileName = name, .text = text};
  // The one kernel for any type is compiled for this one.
  if (name == "net.ostra.test.templated.krn") source.templateArgument = "Vector2d32";
  source.readHeader = [folder = file.parent_path()](const std::string& header,
                                                    const std::string&) -> std::optional<Header> {
    const auto found = folder / header;
    if (!std::filesystem::exists(found)) return std::nullopt;
    return Header{found.string(), ReadWholeFile(found)};
  };
}

}  // namespace ostra::kernellanguage
