// The translation of kernel files once more, as plainly as it can be said: whole strings, one search per rule. What the
// parser does in one pass over a line must come to the same.
//
// Knows kernels, inline functions, file-scope code and directives; no headers and no declarations of inputs.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ostra::test {

struct ReferenceResult {
  std::string error;  // empty on success; "endless" when a rule meets a line again and again
  std::string kernel;
  std::vector<std::string> globalCode;
  std::vector<std::pair<std::string, std::string>> functions;
  std::vector<std::string> groupShared;
};

ReferenceResult TranslatePlainly(std::string_view text, std::string_view target, const std::string& templateArgument,
                                 int multisampling);

}  // namespace ostra::test
