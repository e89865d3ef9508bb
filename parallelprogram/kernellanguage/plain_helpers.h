// Functions that the plain form needs beside those of the kernel: what names a value more than once is a function of
// it. Each is written once, at its first use.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "parallelprogram/kernellanguage/plain_names.h"
#include "parallelprogram/kernellanguage/plain_output.h"

namespace ostra::kernellanguage {

class PlainHelpers {
 public:
  PlainHelpers(const PlainNames& names, const PlainOutput& out) : _names(names), _out(out) {}

  // A call of the function `name` with the parameters v0, v1, ...; defines it with this body at its first use. Bit i of
  // `changed`: it sets its argument i.
  std::string Call(const std::string& name, TypeIndex result, const std::vector<TypeIndex>& parameters,
                   const std::string& body, const std::vector<std::string>& arguments, UInt8 changed = 0);

  Bool IsDefined(const std::string& name) const { return _defined.contains(name); }
  // For functions of another form: whether the name is new. The caller then defines it.
  Bool Register(std::string name) { return _defined.insert(std::move(name)).second; }
  void Define(std::string_view definition) { _text += definition; }

  // All definitions, in the order in which they need each other.
  const std::string& GetText() const { return _text; }

 private:
  const PlainNames& _names;
  const PlainOutput& _out;
  std::set<std::string> _defined;
  std::string _text;
};

}  // namespace ostra::kernellanguage
