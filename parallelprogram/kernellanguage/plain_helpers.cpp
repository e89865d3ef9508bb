#include "parallelprogram/kernellanguage/plain_helpers.h"

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/plain_marks.h"

namespace ostra::kernellanguage {

std::string PlainHelpers::Call(const std::string& name, TypeIndex result, const std::vector<TypeIndex>& parameters,
                               const std::string& body, const std::vector<std::string>& arguments, UInt8 changed) {
  if (Register(name)) {
    std::string declared;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      const std::string_view out = (changed >> i) & 1 ? "out " : "";
      declared += Join({i == 0 ? "" : ", ", out, _names.TypeName(parameters[i]), " v", std::to_string(i)});
    }
    Define(Join({MakeMark(_out.GetPlace()), "inline ", _names.TypeName(result), " ", name, "(", declared, ")\n{\n",
                 body, "}\n\n"}));
  }
  return Join({name, "(", JoinList(arguments), ")"});
}

}  // namespace ostra::kernellanguage
