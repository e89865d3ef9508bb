// The kernel files of the repository and their headers, as the front end reads them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/preprocessor.h"

namespace ostra::kernellanguage {

std::string ReadWholeFile(const std::filesystem::path& path);

// All of them, sorted.
std::vector<std::filesystem::path> FindKernelFiles();

// A kernel file with the headers beside it.
struct KernelSourceFile {
  explicit KernelSourceFile(const std::filesystem::path& path);
  std::filesystem::path path;
  std::string name, text;
  Source source;
};

}  // namespace ostra::kernellanguage
