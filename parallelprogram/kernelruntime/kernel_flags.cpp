#include "parallelprogram/kernelruntime/kernel_flags.h"

#include <sstream>

namespace ostra::kernelruntime {

std::vector<std::string> GetKernelFlags(std::string_view group) {
  std::vector<std::string> flags;
  std::istringstream lines{std::string(kKernelFlags)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string word;
    if (!(words >> word) || word != group) continue;
    while (words >> word) flags.push_back(word);
  }
  return flags;
}

}  // namespace ostra::kernelruntime
