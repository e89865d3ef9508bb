// Text of small stage files for tests.
#pragma once

#include <string>
#include <vector>

namespace ostra::test {

// A stage file: its inputs, one "(type) name" each, and its body. The first line of the body is line N + 6 of the file,
// with N inputs.
inline std::string MakeStageText(const std::vector<std::string>& inputs, const std::string& body) {
  std::string text = "#define KERNELINPUTS \\\n";
  for (std::size_t i = 0; i < inputs.size(); ++i) text += inputs[i] + (i + 1 < inputs.size() ? ", \\\n" : "\n");
  return text + "\nOSTRA_PARALLEL_KERNEL(Stage, KERNELINPUTS)\n{\n" + body + "}\nOSTRA_PARALLEL_KERNEL_END\n";
}

}  // namespace ostra::test
