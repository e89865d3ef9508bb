// The arguments of a macro such as `LOCALDATA(name, index, x)`: what stands after its keyword and the parenthesis, up
// to a closing parenthesis, split at ", ". Parentheses inside are not understood.
#pragma once

#include <array>

#include "parallelprogram/shaderparser/line_rules.h"

namespace ostra {

class MacroArguments {
 public:
  // Reads up to the first ")" after the keyword; false when there is none. The arguments are valid until the line is
  // touched.
  Bool Read(const RuleMatch& match);
  // Reads up to the ")" at byte `close`; a ")" before the arguments leaves one empty argument.
  void Split(const RuleMatch& match, Int close);

  // Beyond three, at least four.
  Int GetCount() const { return _count; }
  const std::array<std::string_view, 3>& GetThree() const { return _arguments; }
  Int GetClose() const { return _close; }

 private:
  std::array<std::string_view, 3> _arguments;
  Int _count = 0;
  Int _close = 0;
};

}  // namespace ostra
