// Lists of files: those that compilers write for make, and the cache's own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostra::kernelruntime {

// The prerequisites of the one rule in a dependency file, in order and without its line ends and escapes.
std::vector<std::string> ParseDependencies(std::string_view text);

// The lines that are not empty.
std::vector<std::string> SplitLines(std::string_view text);

}  // namespace ostra::kernelruntime
